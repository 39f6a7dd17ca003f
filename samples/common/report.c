/* A report in words: its own text, or that of its number and where in the library it was made. */
#include "report.h"

#include <q32base.h>
#include <q32comm.h>
#include <stdio.h>
#include <stdlib.h>

int report(const char *subject, const char *what) {
    char text[C32_ERR_TEXT_SIZE];
    snprintf(text, sizeof text, "%s: %s", subject, what);
    c32SetDLLErrInfo(text, 0, 0, 0, 0, 0);
    return 0;
}

int end_program(const char *program, int done) {
    C32ERRINFO info;
    char sentence[C32_ERR_TEXT_SIZE];
    if (done)
        return EXIT_SUCCESS;
    if (!c32GetDLLErrInfo(&info)) /* a few functions fail without a report; their comments say so */
        fprintf(stderr, "%s: a call failed without a report\n", program);
    else if (info.library != Q32_LIBRARY_NUMBER)
        fprintf(stderr, "%s: %s\n", program, info.text);
    else {
        c32GetErrText(info.message, sentence, sizeof sentence);
        fprintf(stderr, "%s: %s (error %d, module %d, point %d)\n", program, sentence, info.message,
                info.module, info.point);
    }
    return EXIT_FAILURE;
}
