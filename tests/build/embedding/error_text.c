/* Prints the text of a message number. */
#include <q32comm.h>
#include <stdio.h>

int main(void) {
    char text[C32_ERR_TEXT_SIZE];
    if (!c32GetErrText(1001, text, sizeof text))
        return 1;
    puts(text);
    return 0;
}
