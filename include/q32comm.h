/*
 * q32comm: the common library of the family, as far as Q32BASE and its callers need it: the error
 * channel, texts by number, the processor, the family's temporary directory, path helpers, Esc.
 *
 * Flat C for 32-bit Windows: cdecl, undecorated. Unless stated otherwise any thread may call any
 * function at any time.
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

/* --- the error channel ------------------------------------------------------------------------ */

/* Largest text of a report, its terminator included; longer ones are cut. */
#define C32_MAX_TEXT 512

/* One report. */
typedef struct C32ERRINFO {
    char text[C32_MAX_TEXT]; /* the reporter's own text; empty: the message's text says it */
    int message;             /* number of the message; c32GetErrText gives its text */
    int severity;            /* 0, 1, 2 */
    int library;             /* number of the reporting library */
    int module;              /* number of the source module within the library */
    int point;               /* number of the failure point within the module */
} C32ERRINFO;

/*
 * Reports a failure: it becomes the last report of the calling thread. text may be null; it is
 * copied. Returns 1, or 0 when the report could not be kept for lack of memory.
 */
Q32COMM_API int Q32COMM_CALL c32SetDLLErrInfo(const char *text, int message, int severity,
                                              int library, int module, int point);

/*
 * Copies the calling thread's last report to *info (which may be null) and returns 1; returns 0
 * and changes nothing when there is none. The report stays until the thread clears it or reports
 * again.
 */
Q32COMM_API int Q32COMM_CALL c32GetDLLErrInfo(C32ERRINFO *info);

/* Forgets the calling thread's last report. */
Q32COMM_API void Q32COMM_CALL c32ClearDLLErrInfo(void);

/*
 * Copies the text of a message number: at most size - 1 characters and a terminator. Returns the
 * number of characters copied; 0 when there is no such message, the buffer is null or size is
 * below 1 (an existing buffer of at least 1 then holds an empty text).
 */
Q32COMM_API int Q32COMM_CALL c32GetErrText(int message, char *buffer, int size);

/* --- texts and message boxes ------------------------------------------------------------------ */

/*
 * Copies a text by number, with the rules of c32GetErrText: configuration names (settings file,
 * sections, keys: 10000 onward) and message texts. Text 4700 is a wsprintf format with one %s.
 */
Q32COMM_API int Q32COMM_CALL c32GetString(int id, char *buffer, int size);

/* Shows a message box with an OK button and returns when it is closed: the message box's result. */
Q32COMM_API int Q32COMM_CALL c32ShowMb(const char *text, const char *title);

/* --- the processor ---------------------------------------------------------------------------- */

/* 1 when the processor has MMX, else 0. */
Q32COMM_API int Q32COMM_CALL IsSupportMMX(void);

/* Copies the processor's name, with the rules and result of c32GetErrText. */
Q32COMM_API int Q32COMM_CALL GetCPUName(char *buffer, int size);

/* --- files ------------------------------------------------------------------------------------ */

/*
 * Copies the family's temporary directory, with a path separator at the end, and returns its
 * length. The directory is made when it is missing. It is "Q32" in the system's temporary
 * directory, or what the environment variable Q32COMM_TEMPDIR names. Returns 0 (and an empty text
 * where there is room for one) when the buffer is null or too small for the whole path, or the
 * directory cannot be made.
 */
Q32COMM_API int Q32COMM_CALL q32GetQuillTempDir(char *buffer, int size);

/*
 * Splits a path into drive ("C:"), directory ("\a\b\", with both separators), name and extension
 * (".ext"). Each output may be null and otherwise has room for 260 characters. Missing pieces are
 * empty. "/" counts as a separator. A null path has only missing pieces.
 */
Q32COMM_API void Q32COMM_CALL qfdSplitPathname(const char *path, char *drive, char *directory,
                                               char *name, char *extension);

/* Removes one path separator from the end of a path, if there is one. path may be null. */
Q32COMM_API void Q32COMM_CALL qfdDelSlash(char *path);

/* --- keyboard --------------------------------------------------------------------------------- */

/* 1 while the Esc key is down or has been pressed since the last call, else 0. */
Q32COMM_API int Q32COMM_CALL q32IsEscPressed(void);

#ifdef __cplusplus
}
#endif

#endif
