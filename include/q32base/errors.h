/*
 * Q32BASE: numbered error reports.
 *
 * A function that fails reports once, where the failure is detected, through c32SetDLLErrInfo of
 * the family's common library (q32comm.h), and returns 0:
 *
 *     message    what went wrong, one of the numbers below
 *     severity   0, 1 or 2 (2: cancelled by the user, and all reports of merging)
 *     library    always Q32_LIBRARY_NUMBER
 *     module     number of the reporting source module
 *     point      number of the failure point within the module
 *
 * Each function's comment lists its reports as "message, severity, module, point". The report
 * belongs to the calling thread; c32GetDLLErrInfo reads it back, c32GetErrText gives the text of a
 * message number.
 *
 * What stands. A report stands until the next one, or until c32ClearDLLErrInfo. Functions that fail
 * without a report say so ("not reported", "0 without a report"): they leave the one before
 * standing, as success nearly always does. The result tells whether a call has failed; to learn
 * why, clear before the call: when there is no report afterwards, it was one of the failures that
 * are not reported. Where a call inside a function reports first, the function's own replaces that.
 */
#ifndef Q32BASE_ERRORS_H
#define Q32BASE_ERRORS_H

enum Q32Message {
    Q32_MSG_NO_MEMORY = 1001,             /* memory could not be obtained */
    Q32_MSG_NO_RECORD_MEMORY = 1004,      /* no work memory for the record-file bookkeeping */
    Q32_MSG_HANDLE_DISCARDED = 1005,      /* a global memory handle was discarded */
    Q32_MSG_INVALID_ARGUMENT = 3200,      /* null pointer, size 0, value out of range */
    Q32_MSG_RECORD_FILE = 4010,           /* a record file could not be created or opened */
    Q32_MSG_MISMATCH = 4026,              /* buffers or rectangles do not match or do not meet */
    Q32_MSG_SIXTEEN_COLOURS = 4700,       /* the display is a 16-colour device: load refused */
    Q32_MSG_SIXTEEN_COLOURS_TITLE = 4701, /* title of the message box for 4700 */
    Q32_MSG_CANCELLED_BY_ESC = 5200,      /* cancelled by Esc or by a refused progress message */
    Q32_MSG_FORMAT_REFUSED = 5206,        /* resampling of this pixel format refused */
    Q32_MSG_TOO_WIDE = 5402,              /* width over Q32_MAX_SIDE */
    Q32_MSG_TOO_HIGH = 5403,              /* height over Q32_MAX_SIDE */
    Q32_MSG_NOT_FOR_THIS_TYPE = 5800,     /* operation not available for this buffer type */
    Q32_MSG_LOCK_STATE = 5804,            /* freeing a locked buffer, unlocking an unlocked one,
                                             a cell index out of range */
    Q32_MSG_ONE_COLOUR_CELL = 5805,       /* a cell index of a one-colour buffer out of range */
    Q32_MSG_CANCELLED_BY_CALLBACK = 5808  /* cancelled by the progress callback */
};

/*
 * Reports of the start of the library, while a program loads it. All but the last refuse the load:
 *
 *   4700, 0, 4, 0   the display has 16 colours; the report's text is shown in a message box, too
 *   4010, 0, 9, 1   the master record file of swap files cannot be made or opened
 *   1004, 0, 9, 2   no memory for its empty slots
 *   1004, 0, 9, 8   no memory to read the record files that dead processes have left
 *   4010, 0, 9, 9   the master record file could not be opened again; it is tried once more
 */

/*
 * Reports of the functions in a buffer's record, which other parts of the family call directly,
 * past the checks of the exports; or of an export whose buffer's record has been written over:
 *
 *   3200, 0, 3, 5    filling with one colour: the colour is null
 *   5800, 0, 4, 20   filling: the buffer is a bitmap or lies over caller memory, the function is
 *                    another buffer's
 *   5800, 0, 50, 61  the address of a pixel: the buffer lies over caller memory
 *   5800, 0, 4, 1    storage for a buffer whose pixels are the caller's
 *   5800, 0, 4, 5    cells for a buffer that has become one of one colour while it was made
 */

#endif
