/* Makes a call fail and prints the report that says so, read back through the common library. */
#include <q32base.h>
#include <q32comm.h>
#include <stdio.h>

int main(void) {
    HBUF32 buffer = 0;
    C32ERRINFO report;
    if (buf32Alloc(&buffer, 24, 0, 10, BUF32_TILED, NULL) || !c32GetDLLErrInfo(&report))
        return 1;
    printf("%d %d %d %d %d\n", report.message, report.severity, report.library, report.module,
           report.point);
    return 0;
}
