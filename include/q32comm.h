/*
 * q32comm: the common library of the family: error reports, texts, processor, directories, paths.
 *
 * The interface is flat C for 32-bit Windows: cdecl, undecorated, imported by name. It can be used
 * from C and C++ with any Windows compiler. Every function may be called by any thread at any time
 * between load and unload, and stands null pointers and buffers of any size.
 *
 * Texts going out. Functions that fill `buffer` write at most `size` bytes, terminator included,
 * and return the number of characters written, without the terminator. They return 0, and leave an
 * empty text where `buffer` and `size` allow one, when there is nothing to write. `size` counts
 * bytes; a negative one counts as 0. Texts are in the ANSI code page.
 */
#ifndef Q32COMM_H
#define Q32COMM_H

#if defined(Q32COMM_BUILDING)
#define Q32COMM_API
#else
#define Q32COMM_API __declspec(dllimport)
#endif
#define Q32COMM_CALL __cdecl

#ifdef __cplusplus
extern "C" {
#endif

/* --- error reports --------------------------------------------------------------------------- */

/* Room for the text of a report, terminator included. */
#define C32_ERR_TEXT_SIZE 1024

/* One report, as c32GetDLLErrInfo gives it back. */
typedef struct C32ERRINFO {
    char text[C32_ERR_TEXT_SIZE]; /* empty for a report without a text of its own */
    int message;                  /* what went wrong; c32GetErrText gives its text */
    int severity;                 /* 0, 1 or 2 */
    int library;                  /* number of the reporting library */
    int module;                   /* number of the reporting source module */
    int point;                    /* number of the failure point within the module */
} C32ERRINFO;

/*
 * Makes a report: it becomes the calling thread's last one and replaces the one before.
 * text: a ready text, or null when the text of `message` says all; it is copied, and cut after
 * C32_ERR_TEXT_SIZE - 1 characters.
 * Returns 1; 0 when the thread's first report finds no memory. GetLastError keeps its value.
 */
Q32COMM_API int Q32COMM_CALL c32SetDLLErrInfo(const char *text, int message, int severity,
                                              int library, int module, int point);

/*
 * Copies the last report of the calling thread. Reading does not clear it.
 * info: receives the report; null asks only whether there is one. Unchanged when there is none.
 * Returns 1 when there is a report, else 0.
 */
Q32COMM_API int Q32COMM_CALL c32GetDLLErrInfo(C32ERRINFO *info);

/*
 * Forgets the last report of the calling thread. A caller that wants to know whether a call has
 * reported clears before the call. Returns 1 when there was a report, else 0.
 */
Q32COMM_API int Q32COMM_CALL c32ClearDLLErrInfo(void);

/*
 * The text of a message number, in English, one sentence. 4700 is a format for wsprintf with one
 * %s: the file name of the library that refuses to start.
 * Returns the number of characters written, 0 for a number that is no message.
 */
Q32COMM_API int Q32COMM_CALL c32GetErrText(int message, char *buffer, int size);

/* --- texts and dialogue ---------------------------------------------------------------------- */

/*
 * The text of a number: a message (as c32GetErrText) or a name in the settings file:
 *
 *     10000                 file in the Windows directory
 *     10001                 section of the swap settings; with the digit 1, 2 or 3 at character
 *                           position 10 also the key of a swap directory
 *     10003                 with the digit at position 6: the key of that directory's switch
 *     10006, 10007          keys of the switches of the file limit and the memory limit
 *     10008, 10009          keys of the file limit and the memory limit, in kilobytes
 *     12002                 section of the display settings
 *     12003, 12004, 12005   keys of the screen gamma of red, green and blue, in hundredths
 *     12010, 12011          keys of the gamma switch and of the high-colour dither switch
 *
 * Returns the number of characters written, 0 when there is no such text.
 */
Q32COMM_API int Q32COMM_CALL c32GetString(int id, char *buffer, int size);

/*
 * Shows a message box with an OK button and waits for it.
 * text: a null one shows nothing. title: null is an empty one.
 * Returns 1 when the user has closed it, 0 when it could not be shown.
 */
Q32COMM_API int Q32COMM_CALL c32ShowMb(const char *text, const char *title);

/* Returns 1 while the Esc key is down or when it was pressed since the last call, else 0. */
Q32COMM_API int Q32COMM_CALL q32IsEscPressed(void);

/* --- processor ------------------------------------------------------------------------------- */

/* Returns 1 when the processor has MMX instructions, else 0. */
Q32COMM_API int Q32COMM_CALL IsSupportMMX(void);

/*
 * The processor's name as it gives it itself, without blanks at the ends; its maker's name when it
 * has none. Returns the number of characters written.
 */
Q32COMM_API int Q32COMM_CALL GetCPUName(char *buffer, int size);

/* --- directories and paths ------------------------------------------------------------------- */

/*
 * The family's temporary directory, with a backslash at the end: "Quill" in the system's temporary
 * directory, or the directory that the environment variable Q32COMM_TEMPDIR names. It is created
 * when missing (its parent is not).
 * Returns the number of characters written; 0, with an empty text, when `buffer` is too small for
 * the whole path or the directory cannot be made.
 */
Q32COMM_API int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size);

/*
 * Splits a path into drive "C:", directory "\a\b\" with both separators, name, and extension
 * ".ext" from the last dot of the name on. Backslash and slash separate. A part that the path does
 * not have is empty; a null path has none. The drive of a network path is empty.
 * Each output may be null. Room: 3 bytes for the drive, 260 for each of the others; a longer part
 * is cut to that.
 */
Q32COMM_API void Q32COMM_CALL qfdSplitPathname(const char *path, char *drive, char *directory,
                                               char *name, char *extension);

/* Removes one backslash or slash from the end of the path, if there is one. */
Q32COMM_API void Q32COMM_CALL qfdDelSlash(char *path);

#ifdef __cplusplus
}
#endif

#endif
