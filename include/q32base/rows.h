/*
 * Q32BASE: row conversions, scaling of rows by whole factors, rectangles of plain images.
 *
 * Fills, swaps, inverts, converts, maps and scales pixels in plain memory. The functions know
 * nothing of buffers and keep no state.
 *
 * Threads. Any number of threads may call anything here at once, as long as no two of them write
 * the same memory.
 *
 * Pixels. Rows are packed without gaps; no pointer needs any alignment.
 *
 *     1-bit     eight pixels a byte; bit 7 of the first byte is pixel 0
 *     8-bit     one byte
 *     5-5-5     little-endian word: bits 14-10 first channel, 9-5 second, 4-0 third; bit 15 is
 *               written as 0 and ignored when read
 *     5-6-5     little-endian word: bits 15-11 first channel, 10-5 second, 4-0 third
 *     24-bit    three bytes: first, second, third channel (red, green, blue in this library)
 *     16-bit    one little-endian 16-bit sample
 *     48-bit    three such samples, in the order of 24-bit
 *
 * Memory. All memory is the caller's. A function reads no byte outside the runs named at its
 * arguments and writes none outside the destination's. Where a function may work in place, source
 * and destination begin at the same address; runs that overlap in another way are not allowed
 * anywhere. Pointers are only tested for null.
 *
 * Counts count pixels unless stated otherwise. A negative count writes nothing, reports nothing and
 * returns 1.
 *
 * Results. 1 is success; 0 is failure, reported as listed ("message, severity, module, point", see
 * errors.h), with nothing written.
 */
#ifndef Q32BASE_ROWS_H
#define Q32BASE_ROWS_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* --- memory ---------------------------------------------------------------------------------- */

/*
 * Copies a block of the global heap into a new moveable one (GMEM_MOVEABLE) of its size + 2 bytes
 * and returns its handle, unlocked. The last two bytes are not initialised. The new block is the
 * caller's, to be freed with GlobalFree; the old one is left as it was.
 *
 *   memory   handle from GlobalAlloc; a block whose flags say nothing but discarded is refused
 *
 * Returns 0 on failure:
 *   1005, 0, 7, 1   the block was discarded
 *   3200, 0, 7, 2   its size is 0, or the handle is none
 *   1001, 0, 7, 3   the new block cannot be allocated, or one of the two cannot be locked
 */
Q32_API HGLOBAL Q32_CALL mem32DuplicateHandle(HGLOBAL memory);

/*
 * Writes count copies of a pixel one after another.
 *
 *   destination       bytes_per_pixel x count bytes
 *   pattern           the pixel's bytes_per_pixel bytes, outside the destination
 *   bytes_per_pixel   1 to 4; 0 and below write nothing and return 1
 *   count             pixels; not 0
 *
 *   3200, 0, 7, 4   destination null, bytes_per_pixel 5 or more, or count 0 (tested first); or
 *                   pattern null with something to write
 */
Q32_API int Q32_CALL mem32Fill(void *destination, const void *pattern, int bytes_per_pixel,
                               int count);

/*
 * Swaps the contents of two blocks. The blocks must be disjoint, or the same.
 *
 *   a, b   blocks of size bytes
 *   size   bytes; not 0
 *
 * The result is not a status and must not be tested: after a success it can be any value, 0 too.
 * Only the report tells a failure.
 *   3200, 0, 7, 5   a or b null, or size 0
 */
Q32_API int Q32_CALL mem32Exchange(void *a, void *b, int size);

/*
 * Writes 255 - value for each byte.
 *
 *   destination   size bytes; null or the source itself: the source is inverted in place
 *   source        size bytes
 *   size          bytes; not 0
 *
 *   3200, 0, 7, 6   source null, or size 0
 */
Q32_API int Q32_CALL mem32ByteInvert(void *destination, void *source, int size);

/* --- one bit and eight ----------------------------------------------------------------------- */

/*
 * Widens 1-bit pixels to bytes: a set bit becomes 255 (mem32BitToByte) or 1 (mem32BitToByteExt), a
 * clear bit 0. Not in place.
 *
 *   destination   count bytes
 *   source        (count + 7) / 8 bytes
 *   count         pixels; not 0
 *
 *   3200, 0, 7, 7   mem32BitToByte: destination or source null, or count 0
 *   3200, 0, 7, 8   mem32BitToByteExt: destination or source null, or count 0
 */
Q32_API int Q32_CALL mem32BitToByte(void *destination, const void *source, int count);
Q32_API int Q32_CALL mem32BitToByteExt(void *destination, const void *source, int count);

/*
 * Narrows bytes to 1-bit pixels: a byte above the threshold becomes a set bit; a byte equal to it
 * or below, a clear one. Bits of the last byte that belong to no pixel are cleared. May work in
 * place.
 *
 *   destination   (count + 7) / 8 bytes
 *   source        count bytes
 *   count         pixels; not 0
 *   threshold     0 to 255; only the low 8 bits are looked at
 *
 *   3200, 0, 7, 9   destination or source null, or count 0
 */
Q32_API int Q32_CALL mem32ByteToBit(void *destination, const void *source, int count,
                                    int threshold);

/* --- 16 bits and 24 -------------------------------------------------------------------------- */

/*
 * Narrows 24-bit pixels to words. Each channel loses its low bits: no rounding, no dither. May work
 * in place.
 *
 *   destination   2 x count bytes
 *   source        3 x count bytes
 *   count         pixels; not 0
 *
 *   3200, 0, 7, 10   mem32_888To555: destination or source null, or count 0
 *   3200, 0, 7, 12   mem32_888To565: destination or source null, or count 0
 */
Q32_API int Q32_CALL mem32_888To555(void *destination, const void *source, int count);
Q32_API int Q32_CALL mem32_888To565(void *destination, const void *source, int count);

/*
 * Widens words to 24-bit pixels. The field becomes the top bits of the channel's byte and all bits
 * below are set: a field of 0 gives 7 (3 for the six-bit field), its largest value 255. Not in
 * place.
 *
 *   destination   3 x count bytes
 *   source        2 x count bytes
 *   count         pixels; not 0
 *
 *   3200, 0, 7, 11   mem32_555To888: destination or source null, or count 0
 *   3200, 0, 7, 13   mem32_565To888: destination or source null, or count 0
 */
Q32_API int Q32_CALL mem32_555To888(void *destination, const void *source, int count);
Q32_API int Q32_CALL mem32_565To888(void *destination, const void *source, int count);

/*
 * Copies 24-bit pixels with their first and third byte swapped. May work in place. Checks nothing,
 * reports nothing; a count of 0 or below does nothing.
 *
 *   destination, source   3 x count bytes each; not null
 *   count                 pixels
 */
Q32_API void Q32_CALL RGBToBGR(void *destination, const void *source, int count);

/* --- tables ---------------------------------------------------------------------------------- */

/* Pixel types of mem32Map. */
#define MEM32_MAP_8  1 /* bytes, one table */
#define MEM32_MAP_16 2 /* 16-bit samples, one table, interpolated */
#define MEM32_MAP_24 3 /* 24-bit pixels, three tables */
#define MEM32_MAP_48 6 /* 48-bit pixels, three tables, interpolated */

/*
 * Sends every sample through a lookup table of 256 bytes: channel k through table k, which begins
 * at byte 256 x k. May work in place. Checks nothing, reports nothing, always returns 1.
 *
 * A byte v becomes table[v]. A 16-bit sample is interpolated: with h its high and l its low byte
 * and n = min(h + 1, 255), it becomes (table[h] - table[n]) x l + table[n] x 256, of which the low
 * 16 bits are kept. Mind the weights: a sample with l = 0 gives table[n] x 256.
 *
 *   destination, source   type x count bytes each; not null
 *   table                 256 bytes (types 1 and 2) or 768 (types 3 and 6), outside the
 *                         destination; not null
 *   type                  MEM32_MAP_ value; any other does nothing
 *   count                 pixels; 0 or below does nothing
 */
Q32_API int Q32_CALL mem32Map(void *destination, const void *source, const void *table, int type,
                              int count);

/* --- whole factors --------------------------------------------------------------------------- */

/*
 * Enlarging repeats pixels, reducing takes one pixel of each group: nothing is averaged. None of
 * these functions checks a pointer or reports anything. Source and destination never overlap.
 *
 * bytes_per_pixel is 1, 3 or 4; anything else counts as 2, also in strides and results. swap, not
 * 0, exchanges the first and third byte of pixels of 3 bytes; others it does not concern. Rows of a
 * block follow one another without gaps; rows of bits begin at a byte each.
 */

/*
 * Enlarges a row of bits.
 *
 *   destination   (count x factor + 7) / 8 bytes, and one more where count x factor is a multiple
 *                 of 8: that byte is written with 0. With factor 0 or 1 just (count + 7) / 8
 *   source        (count + 7) / 8 bytes
 *   count         pixels; below 1: the first byte of the destination is cleared (with factor 0 or
 *                 1: nothing is written)
 *   factor        how often each bit is written; 0 and 1 copy the bytes of the row as they are
 */
Q32_API void Q32_CALL mem32BitEnlarge(void *destination, const void *source, int count,
                                      unsigned factor);

/*
 * Enlarges a block of bits: each row by mem32BitEnlarge with its byte beyond the row, and then
 * vertical - 1 copies of the row below it.
 *
 *   destination   rows x vertical rows of (width x horizontal + 7) / 8 bytes, and the byte beyond
 *                 the last row where mem32BitEnlarge writes one there: with vertical 0 or 1
 *   source        rows of (width + 7) / 8 bytes
 *   width         pixels of a source row
 *   rows          source rows; 0 and below: nothing is written
 *   vertical      0 and 1 write each row once
 *
 * Returns the bytes of a source row; 0 when rows is 0 or below.
 */
Q32_API int Q32_CALL mem32BitEnlargeExt(void *destination, const void *source, int width, int rows,
                                        unsigned horizontal, unsigned vertical);

/*
 * Enlarges a row of pixels. count and factor below 1 count as 1.
 *
 *   destination   bytes_per_pixel x count x factor bytes
 *   source        bytes_per_pixel x count bytes
 */
Q32_API void Q32_CALL mem32Enlarge(void *destination, const void *source, int count, int factor,
                                   int bytes_per_pixel, int swap);

/*
 * Enlarges a block of pixels: each row by mem32Enlarge, and vertical - 1 copies of it below.
 *
 *   destination   rows x vertical rows of bytes_per_pixel x width x horizontal bytes
 *   source        rows of bytes_per_pixel x width bytes
 *   rows          source rows; 0 and below: nothing is written
 *   width, horizontal, vertical
 *                 below 1 count as 1
 *
 * Returns the bytes of a source row; 0 when rows is 0 or below.
 */
Q32_API int Q32_CALL mem32EnlargeExt(void *destination, const void *source, int width, int rows,
                                     int horizontal, int vertical, int bytes_per_pixel, int swap);

/*
 * Reduces a row of bits to n = (count + factor - 1) / factor: bit k is source bit k x factor.
 *
 *   destination   (n + 7) / 8 bytes; bits that belong to no pixel are cleared
 *   source        (count + 7) / 8 bytes
 *   count         pixels; below 1: nothing is written
 *   factor        1 and below copy the bytes of the row as they are
 */
Q32_API void Q32_CALL mem32BitReduce(void *destination, const void *source, int count, int factor);

/*
 * Reduces a block of bits: rows 0, step, 2 step and so on below `rows`, each by mem32BitReduce.
 *
 *   destination   rows of (n + 7) / 8 bytes, n as above, one for each row taken
 *   source        rows of (width + 7) / 8 bytes
 *   step          below 1 counts as 1
 *
 * Returns the number of the first row not taken, a multiple of step; when rows is 0 or below,
 * step x ((width + 7) / 8), with the step as it was given.
 */
Q32_API int Q32_CALL mem32BitReduceExt(void *destination, const void *source, int width, int rows,
                                       int factor, int step);

/*
 * Reduces a row of pixels to n = (count + factor - 1) / factor: pixel k is source pixel k x factor.
 *
 * Pixels of 3 bytes with swap are mixed of two: pixel k has bytes 2 and 1 of the last pixel of its
 * group, source pixel k x factor + factor - 1, and as its third byte 0 of the first, k x factor.
 * With factor 1 that is a swap. The last group is read whole, also where count ends within it.
 *
 *   destination   bytes_per_pixel x n bytes
 *   source        bytes_per_pixel x count bytes; with swap 3 x n x factor
 *   count         pixels; below 1: nothing is written
 *   factor        below 1 counts as 1
 */
Q32_API void Q32_CALL mem32Reduce(void *destination, const void *source, int count, int factor,
                                  int bytes_per_pixel, int swap);

/*
 * Reduces a block of pixels: rows 0, step, 2 step and so on below `rows`, each by mem32Reduce.
 *
 *   destination   rows of bytes_per_pixel x n bytes, n as above, one for each row taken
 *   source        rows of bytes_per_pixel x width bytes; with swap readable to the end of the last
 *                 group of the last row taken
 *   step          below 1 counts as 1
 *
 * Returns the number of the first row not taken, a multiple of step; when rows is 0 or below,
 * bytes_per_pixel x step x width, with the step as it was given.
 */
Q32_API int Q32_CALL mem32ReduceExt(void *destination, const void *source, int width, int rows,
                                    int factor, int step, int bytes_per_pixel, int swap);

/* --- rectangles ------------------------------------------------------------------------------ */

/*
 * Copies a rectangle of a plain image into a block of packed rows (mem32GetMem), or such a block
 * into the image (mem32MergeMem). Checks nothing, reports nothing, always returns 1.
 *
 *   image             first row
 *   x, y              left upper corner, pixels. May be negative where the rectangle's memory is
 *                     the caller's: bit -1 of a row is the lowest of the byte before it
 *   width, height     pixels; below 1: nothing is copied
 *   bytes_per_pixel   any from 1 on; 0: pixels are bits. Below 0 nothing is copied
 *   stride            bytes from one image row to the next; may be negative
 *   block             height rows of bytes_per_pixel x width bytes, or (width + 7) / 8 for bits,
 *                     outside the image. mem32GetMem clears the bits after the last of each row;
 *                     mem32MergeMem does not look at them, and keeps what is around the rectangle
 */
Q32_API int Q32_CALL mem32GetMem(const void *image, int x, int y, int width, int height,
                                 int bytes_per_pixel, int stride, void *block);
Q32_API int Q32_CALL mem32MergeMem(void *image, int x, int y, const void *block, int width,
                                   int height, int bytes_per_pixel, int stride);

Q32_END_DECLS

#endif
