/*
 * How the samples end: with nothing to say, or with one line that says what failed.
 *
 * Every function of the library that fails leaves a numbered report for the calling thread, and
 * q32comm has a sentence for each number. The samples put what fails outside the library into the
 * same place, so that one line of code ends every program.
 */
#ifndef SAMPLES_REPORT_H
#define SAMPLES_REPORT_H

#ifdef __cplusplus
extern "C" {
#endif

/* Makes a report of the program's own, in words, about a file or another subject. Returns 0. */
int report(const char *subject, const char *what);

/* Prints the last report unless all is done, and returns the program's exit code. */
int end_program(const char *program, int done);

#ifdef __cplusplus
}
#endif

#endif
