/*
 * Q32BASE: resampling (scaling) to any size.
 *
 * Scales whole buffers (q32BufferResample, q32BufferResampleEx) and frames of plain memory
 * (vcResample, vcResampleEx), by nearest neighbour, bilinear or bicubic interpolation. No method
 * averages: when a picture is reduced, source pixels between the taps are passed over.
 *
 * Positions. For each destination column and row a table says which source pixel to read (index)
 * and how far towards the next one the place lies (fraction). For S source and D destination
 * pixels, destination pixel i lies at
 *
 *     i / (D - 1) x (S - 1)     reducing (D < S): the ends meet; with D = 1 at 0
 *     i / D x S                 enlarging: the last destination pixel lies short of the last source
 *                               pixel. Cells (see q32BufferResampleEx) also reduce so when bilinear
 *                               or bicubic
 *
 * computed in double precision from left to right and then held in single precision, but for the
 * cells that interpolate. index is the position truncated, fraction the rest. A position at S or
 * beyond is S - 1 with fraction 0.
 *
 * Methods, on 8-bit samples, channel by channel. Source pixels outside the image are those of the
 * nearest edge. All shifts are arithmetic.
 *
 * Nearest neighbour copies whole pixels. Cells (see q32BufferResampleEx) take the pixel at position
 * + 0.5; rows of bits take the one at the index or, from a fraction of 1/2 on, the next one; all
 * others take the one at the index.
 *
 * Bilinear, with 16-bit fractions fx and fy, p00 the sample at the index, p10 its right neighbour,
 * p01 the one below and p11 the fourth:
 *
 *     p00 + ((fy x b) >> 15) + ((fx x c) >> 15) + ((f x d) >> 14)     limited to 0..255
 *     b = (p01 - p00) >> 1    c = (p10 - p00) >> 1    d = (p00 - p01 - p10 + p11) >> 2
 *     f = (fx x fy) >> 16
 *
 * Bicubic is cubic convolution with a = -0.5 (R. G. Keys, "Cubic convolution interpolation for
 * digital image processing", 1981) at one of 16 phases: (f + 8) / 17 of the fraction's upper 8 bits
 * f. With t = 17 x phase, T = 64 t, T2 = (t t + 1) >> 2, T3 = (t t t + 512) >> 10 and divisions
 * truncating, the weights of the samples at -1, 0, 1 and 2 from the index are, in units of 1/16384,
 *
 *     T2 - T3/2 - T/2    3 T3/2 - 5 T2/2 + 16384    2 T2 - 3 T3/2 + T/2    T3/2 - T2/2
 *
 * The four rows around the index are weighed across first, giving h of each. A negative h counts as
 * 0; the others are weighed as (h + 32) >> 6 down the column. The sum is shifted right by 22 and
 * limited to 0..255.
 *
 * Threads. Calls of q32BufferResample and q32BufferResampleEx wait for each other while pixels are
 * resampled, and for the dispatch queue (queues.h), whose lock is the same; but they make, look up
 * and lock their buffers as buffers.h says, outside that lock. q32InitResampleTable looks buffers
 * up as well. The functions on tables and frames may run at once with different tables, records and
 * memory, but for vcResample and calls of vcResampleEx without a record: those share one set of
 * tables inside the library.
 *
 * Results. 1 is success; 0 is failure, reported as listed ("message, severity, module, point", see
 * errors.h) or not reported where that is said. A null pointer where one is needed is a failure
 * without a report, unless one is named.
 */
#ifndef Q32BASE_RESAMPLE_H
#define Q32BASE_RESAMPLE_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* Methods. */
#define RESAMPLE_NEAREST  1
#define RESAMPLE_BILINEAR 2
#define RESAMPLE_BICUBIC  4

/* --- position tables ------------------------------------------------------------------------- */

/*
 * Makes the position tables from one buffer's size to another's: for each destination column
 * (row) a source column (row) and a fraction. Each is a locked GMEM_MOVEABLE block of the entries
 * and 8 bytes more, the caller's, to be given back with q32FreeResampleTable.
 *
 *   source, destination   live buffers; only their widths and heights are looked at
 *   fraction_mode         0: 16-bit fractions (0 to 65535). 1: 8-bit fractions (0 to 255). Any
 *                         other value: 16-bit fractions of columns, 8-bit fractions of rows
 *   column_index, column_fraction, row_index, row_fraction
 *                         receive the tables; not written when the call fails. Null: 0, no report
 *
 *   3200, 1, 8, 13   the destination is not a live buffer (tested first)
 *   3200, 1, 8, 14   the source is not a live buffer
 *   3200, 1, 8, 15   a side is below 1
 *   1001, 1, 8, 16   no memory; nothing is left allocated
 */
Q32_API int Q32_CALL q32InitResampleTable(HBUF32 source, HBUF32 destination, int fraction_mode,
                                          int32_t **column_index, int32_t **column_fraction,
                                          int32_t **row_index, int32_t **row_fraction);

/*
 * Frees tables of q32InitResampleTable. Each may be null. The result means nothing.
 */
Q32_API int Q32_CALL q32FreeResampleTable(int32_t *column_index, int32_t *column_fraction,
                                          int32_t *row_index, int32_t *row_fraction);

/*
 * Frees the bicubic coefficient table of the process, 64 KB that the first bicubic call allocates.
 * The library does this itself when it is unloaded. Once the table has been made and freed, bicubic
 * calls still work and do not make it again. Must not run beside a bicubic call. Returns 1.
 */
Q32_API int Q32_CALL q32FreeBiCubicTable(void);

/* --- buffers --------------------------------------------------------------------------------- */

/* Messages to a progress callback, in the order in which they come. */
#define RESAMPLE_BEGIN    1 /* value: the record's start */
#define RESAMPLE_PROGRESS 2 /* value: from start to end */
#define RESAMPLE_END      4 /* value: the record's end; the reply is ignored */

/*
 * A progress callback. Not 0: go on; 0: stop. It is called on the thread that resamples; between
 * RESAMPLE_BEGIN and RESAMPLE_END that thread holds the library's lock. It may call the library,
 * also for the buffers at work, but must not free, unlock or shrink those. Of a source that shrinks
 * all the same, only what is left is read.
 */
typedef int(__stdcall RESAMPLECALLBACK)(int message, int value, int zero, uintptr_t user_data);

/* How a buffer's resampling is watched and cancelled. The library reads it once, at the start. */
typedef struct RESAMPLEPROGRESS {
    int32_t poll_esc;           /* not 0: row paths look for the Esc key before each progress
                                   message (q32IsEscPressed) */
    RESAMPLECALLBACK *callback; /* null: none, and no Esc key */
    uintptr_t user_data;        /* handed to the callback */
    int32_t start;              /* value of RESAMPLE_BEGIN */
    int32_t end;                /* value of RESAMPLE_END; may be below start */
} RESAMPLEPROGRESS;

/*
 * Scales a buffer to a new size, by the method that its pixels allow best: 1-bit buffers (and all
 * others under 8 bits) by nearest neighbour, all others bilinear. The same as q32BufferResampleEx
 * with row_path 0 and RESAMPLE_BILINEAR, except that a refused RESAMPLE_BEGIN is
 *   5808, 2, 8, 23
 */
Q32_API int Q32_CALL q32BufferResample(const SIZE *size, HBUF32 source, HBUF32 *destination,
                                       const RESAMPLEPROGRESS *progress);

/*
 * Scales a buffer to a new size by a method.
 *
 *   size          width and height of the new buffer in pixels; neither may be 0
 *   source        the buffer to scale; locked for reading meanwhile
 *   destination   points at 0: receives a new buffer of that size and the source's bits per pixel,
 *                 the caller's, to be freed with buf32Free; when the call fails it is freed again
 *                 and 0 stored.
 *                 Points at a buffer: that one is filled, at its own size; when the call fails it
 *                 keeps the rows or cells that were finished
 *   progress      null: unwatched
 *   row_path      not 0: by rows and nearest neighbour, whatever the method
 *   method        RESAMPLE_ value; any other counts as RESAMPLE_BICUBIC (or, where the coefficient
 *                 table has not been made by a bicubic call yet and pixels have 8 or 24 bits, as
 *                 RESAMPLE_BILINEAR)
 *
 * A one-colour source with a new destination gives a one-colour buffer at once, without messages.
 *
 * How the work is done depends on the source's pixels:
 *
 *     under 8 bits   rows of bits: a destination pixel is the source pixel at the index, or the
 *                    next one from a fraction of 1/2 on
 *     16 bits        rows: nearest neighbour copies the words; the other methods widen 5-5-5
 *                    pixels to 24 bits, and the result is truncated back to 5-5-5
 *     row_path       rows: nearest neighbour on pixels of any size
 *     8, 24 bits     cells of the destination, one after another, at raised thread priority
 *                    (THREAD_PRIORITY_ABOVE_NORMAL). Other depths are refused, but for a given
 *                    destination of 8 bits: it receives the first byte of each pixel, resampled
 *
 * Values of RESAMPLE_PROGRESS are start + (end - start) x done / total in 32-bit arithmetic. Rows
 * send one before each row if it differs from the last value sent; cells send one before each cell.
 * RESAMPLE_END is sent after a failure too, but not after a refused RESAMPLE_BEGIN.
 *
 * Memory used meanwhile: tables of at most 8 bytes per column and per row; a few rows, or a cell
 * and the source pixels under it.
 *
 * Reports:
 *   3200, 1, 8, 14   size null, its width or height 0, or destination null
 *                    (a source that is not a live buffer: 0 without a report; what buf32Alloc
 *                    and buf32Lock report comes as it is, and nothing is added but by cells)
 *   5808, 2, 8, 24   RESAMPLE_BEGIN was refused
 *   1001, 0, 8, 17   no memory for the bicubic coefficient table
 * by rows:
 *   3200, 1, 8, 13   a given destination is not a live buffer
 *   1001, 1, 8, 16   no memory for the position tables
 *   1001, 0, 8, 18   no memory for work rows (and 1001, 1, 4, 17 for the row of the source)
 *   5200, 2, 8, 19   the Esc key
 *   5808, 2, 8, 20   a refused RESAMPLE_PROGRESS
 * by rows of bits:
 *   3200, 1, 8, 13 and 1001, 1, 8, 16 and 1001, 0, 8, 18   as above
 *   not reported     no memory for buf32Line to stage a row of the destination in
 *   5200, 2, 8, 21   the Esc key
 *   5808, 2, 8, 22   a refused RESAMPLE_PROGRESS
 * by cells (nearest neighbour, bilinear, bicubic):
 *   5206, 1, 12, 643 / 918 / 1627     pixels of other sizes than 8 and 24 bits; a destination that
 *                                     is not live or cannot be locked
 *   1001, 1, 12, 741 / 961 / 1741     no memory for tables
 *   5200, 2, 12, 687 / 1019 / 1680    a refused RESAMPLE_PROGRESS
 *   1001, 1, 12, 741 / 1100 / 1741    no memory for source pixels
 *   1001, 1, 12, 748 / 1107 / 1748    source pixels cannot be read
 *   1001, 1, 12, 755 / 1114 / 1756    no memory for destination pixels
 *   1001, 1, 12, 844 / 1551 / 1901    destination pixels cannot be written
 */
Q32_API int Q32_CALL q32BufferResampleEx(const SIZE *size, HBUF32 source, HBUF32 *destination,
                                         const RESAMPLEPROGRESS *progress, int row_path,
                                         int method);

/* --- frames of plain memory ------------------------------------------------------------------ */

/* BITMAPINFOHEADER by its other name: where NOGDI is defined <windows.h> has neither. */
struct tagBITMAPINFOHEADER;

/*
 * What frames of one size have in common. The caller fills the first four fields, vcResampleInit
 * the tables, vcResampleEnd frees them. Tables may be the caller's own instead: vcResampleEx only
 * reads them, and vcResampleEnd must not be given them.
 */
typedef struct VCRESAMPLE {
    const struct tagBITMAPINFOHEADER *source; /* biWidth, biHeight and biBitCount are read */
    int32_t width;                            /* of the destination, pixels */
    int32_t height;
    int32_t method;        /* RESAMPLE_ value */
    int32_t *column_index; /* position tables, see q32InitResampleTable */
    int32_t *column_fraction;
    int32_t *row_index;
    int32_t *row_fraction;
} VCRESAMPLE;

/*
 * Makes the position tables of a record: 8-bit fractions for RESAMPLE_BICUBIC, 16-bit fractions for
 * all other methods. The record's tables are not written when the call fails.
 *
 *   3200, 1, 8, 15   a side of the source or of the destination is below 1
 *   1001, 1, 8, 16   no memory; nothing is left allocated
 */
Q32_API int Q32_CALL vcResampleInit(VCRESAMPLE *record);

/*
 * Frees a record's tables. Does nothing when the record or its first table is null. The fields keep
 * their values: they must not be used, or freed, again. The result means nothing.
 */
Q32_API int Q32_CALL vcResampleEnd(VCRESAMPLE *record);

/*
 * Scales one frame.
 *
 *   nearest       1: RESAMPLE_NEAREST, whatever the method
 *   source        biHeight rows of biWidth pixels, in the order of memory. Rows of source and
 *                 destination are padded to 4 bytes
 *   header        of the source: biWidth, biHeight and biBitCount are read. 8, 16 (5-5-5), 24 or
 *                 32 bits; others fail without a report. While frames of 16 bits are interpolated
 *                 biBitCount says 24: threads need headers of their own
 *   destination   height rows of width pixels of the same bit count, outside the source. The
 *                 padding of its rows is not written
 *   width, height pixels
 *   method        RESAMPLE_ value; any other counts as RESAMPLE_BICUBIC
 *   record        with the tables to use. Null: tables are made for this call, and kept until the
 *                 next such call or the end of the library
 *
 * Of a record only the tables are looked at; sizes and method are those of the call. The caller
 * sees to it that they have an entry for each column and row of the destination. An index outside
 * the source counts as the nearest one inside. Fractions have 8 bits for RESAMPLE_BICUBIC and 16
 * for all other methods; bits above are ignored. Nearest neighbour reads no fractions: those tables
 * may be null. A null table that is read fails without a report. With a record, a width or height
 * below 1 is a success, and nothing is done.
 *
 * Frames of 16 bits and methods other than nearest neighbour go through 24 bits, row by row; when
 * there is no memory for two such rows the call fails without a report. That takes bit 15 off, also
 * where `nearest` then has its way. All four bytes of 32-bit pixels are resampled alike.
 *
 *   3200, 1, 8, 15   a side is below 1 (without a record; with one a source without pixels fails
 *                    without a report)
 *   1001, 1, 8, 16   no memory for tables (without a record)
 *   1001, 0, 8, 17   no memory for the bicubic coefficient table
 *   1001, 0, 8, 18   no memory for work rows
 */
Q32_API int Q32_CALL vcResampleEx(int nearest, const void *source,
                                  struct tagBITMAPINFOHEADER *header, void *destination, int width,
                                  int height, int method, VCRESAMPLE *record);

/* vcResampleEx without a record. */
Q32_API int Q32_CALL vcResample(int nearest, const void *source, struct tagBITMAPINFOHEADER *header,
                                void *destination, int width, int height, int method);

Q32_RECORD_BYTES(RESAMPLEPROGRESS, 20, 32);
Q32_RECORD_BYTES(VCRESAMPLE, 32, 56);

Q32_END_DECLS

#endif
