/*
 * Q32BASE: merging (compositing), colour filters and colour spaces.
 *
 * Puts an overlay onto a base, pixel by pixel, in one of sixteen modes, weighed by a mask and by a
 * transparency: a run of pixels (i32Merge), rectangles of plain memory (i32MergeEx,
 * i32MergeRamToRam), and rectangles into and out of buffers (i32MergeBufToBuf, i32MergeRamToBuf,
 * i32MergeBufToRam). Beside them, masks from ranges of colours (i32ColorFilter) and rows in other
 * colour spaces (i32ColorspaceConvert).
 *
 * Pixels are 8-bit samples: 1 byte per pixel (grey), or 3 bytes in the order red, green, blue. Rows
 * of plain memory are packed, top row first. Pixels of 2 and of 4 to 8 bytes are merged sample by
 * sample as well; the luminance of MERGE_LIGHTEN and MERGE_DARKEN is then that of the first three
 * samples, or the first sample of two. Other sizes are refused.
 *
 * Mask. One byte per pixel: 0 keeps the base, 255 takes the mode's result, values between blend.
 *
 * Transparency. Percent of the overlay's transparency; values below 0 count as 0, above 100 as 100.
 *
 * Weights. With p = 100 - transparency, m the pixel's mask byte and all divisions truncating, the
 * mode's result r replaces the base sample b by
 *
 *     (r x w + b x (255 - w)) / 255       w = m x p / 100, without a mask w = p x 255 / 100
 *
 * Where the common library says that the processor has MMX (IsSupportMMX), some calls on pixels of
 * 3 bytes round in another way, which programs know and rely on:
 *
 *     (X >> 8) + (X != 0)                 X = r x w + b x (255 - w),
 *                                         w = m, under 100 percent (m x a) >> 8, without a mask a
 *
 * These are i32Merge in modes 1 and 9 to 13, where MERGE_MULTIPLY and MERGE_SCREEN then truncate
 * instead of rounding (a = p x 255 / 100); the rectangle functions in mode 1 (a = p x 256 / 100);
 * and, in all of them, the normal merge inside modes 2 to 5 (a = p x 255 / 100). The rectangle
 * functions' MERGE_LIGHTEN then compares sums that have not been divided by 100.
 *
 * Memory. All memory is the caller's and may begin anywhere. A function reads and writes no byte
 * outside the runs and rectangles that its arguments name.
 *
 * Overlap. What is merged may overlap in any way. Rows go from top to bottom and pixels from left
 * to right, each from what memory holds when its turn comes: an image merged onto itself one pixel
 * to the right meets, from its second pixel on, pixels that have been merged already.
 *
 *     i32Merge           begins with copies of whole runs (as by memmove): the overlay aside, where
 *                        it is at the result's own address; the base into the result; and, where
 *                        that is all that the mode does (see there), the overlay into the result
 *     modes 2 to 5       in all functions read base, mask and overlay of a row, in i32Merge of the
 *                        run, before any of its pixels is written
 *     buffer functions   go piece by piece: the destination's cells band by band and left to right,
 *                        for each of them the overlay's in the same way
 *
 * A pixel that begins inside its own overlay is merged sample after sample; the MMX way has read
 * the overlay's three before it writes one. The mask of i32ColorFilter, too, may lie over its
 * pixels: one is tested as the mask bytes cleared before it have left it. Runs of
 * i32ColorspaceConvert may begin at the same address where the arguments say so; overlapping in
 * another way, they give pixels that are not defined.
 *
 * Threads. Nothing here keeps state; any number of threads may merge at once as long as no two of
 * them write the same memory or use the same buffer. Functions that are given buffers look them up,
 * and may be the first to write to one: see buffers.h. i32Merge, i32MergeEx and i32MergeRamToRam
 * raise the calling thread to THREAD_PRIORITY_ABOVE_NORMAL while they work and then give it back
 * the priority that it had.
 *
 * Results. 1 is success; 0 is failure, reported as listed ("message, severity, module, point", see
 * errors.h) or not reported where that is said. A null pointer where memory is needed is a failure
 * without a report, and nothing is written.
 */
#ifndef Q32BASE_MERGE_H
#define Q32BASE_MERGE_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* --- modes ----------------------------------------------------------------------------------- */

/*
 * Merge modes: what an overlay sample s makes of a base sample b. Quotients are truncated unless
 * rounded is said, which means one more from a remainder of 127 on.
 *
 * Modes 2 to 5 work on pixels of 3 bytes only. They take the named fields of the pixel that a
 * normal merge gives, the other fields of the base, both as HSV records (see i32ColorspaceConvert).
 *
 * Modes 6 and 7 compare luminances, (30 red + 59 green + 11 blue) / 100, and take the overlay's
 * pixel or leave the base's.
 *
 * Modes 14 and 15 undo the premultiplication by the mask byte m; without a mask they are mode 1.
 */
#define MERGE_NORMAL        1  /* s */
#define MERGE_COLOR         2  /* hue and saturation */
#define MERGE_HUE           3  /* hue */
#define MERGE_SATURATION    4  /* saturation */
#define MERGE_VALUE         5  /* value */
#define MERGE_LIGHTEN       6  /* s where the overlay's luminance is greater */
#define MERGE_DARKEN        7  /* s where the overlay's luminance is less */
#define MERGE_RELIEF        8  /* b moved up or down by the distance of s from mid-grey */
#define MERGE_DIFFERENCE    9  /* |s - b| */
#define MERGE_ADD           10 /* min(s + b, 255) */
#define MERGE_SUBTRACT      11 /* max(s - b, 0) */
#define MERGE_MULTIPLY      12 /* s x b / 255, rounded */
#define MERGE_SCREEN        13 /* 255 - (255 - s) x (255 - b) / 255, the quotient rounded */
#define MERGE_PREMUL_BLACK  14 /* min(s x 255 / m, 255) */
#define MERGE_PREMUL_WHITE  15 /* min(max(s + m - 255, 0) x 255 / m, 255) */
#define MERGE_MASK_SUBTRACT 16 /* b less s weighed by mask and opacity; i32Merge only */

/* --- runs ------------------------------------------------------------------------------------ */

/*
 * Merges a run of pixels onto a base, both of which stay as they are, into a third run.
 *
 *   result            pixels x bytes_per_pixel bytes; may be or overlap any of the others
 *   base              as many bytes; not read by MERGE_RELIEF (it may then be null), which works
 *                     on what the result holds
 *   mask              one byte per pixel, or null; MERGE_RELIEF needs one
 *   overlay           as many bytes as the result
 *   bytes_per_pixel   1 or 3 (or another size up to 8, see above)
 *   pixels            at least 1
 *   mode              1 to 16
 *   transparency      percent
 *
 * At transparency 100 the base is copied to the result and nothing else is looked at, the mode
 * neither: MERGE_RELIEF, too, then needs a base and replaces the result by it. Without a mask, at
 * transparency 0, modes 1 and 9 to 15 copy the overlay, except where they round the MMX way (see
 * above): mode 1 then gives the same, but pixel by pixel, and modes 9 to 13 what they are.
 *
 * MERGE_MASK_SUBTRACT, with p = 100 - transparency:
 *   transparency 0, no mask      max(b - s, 0)
 *   transparency 0, with mask    max(b - s x m / 255, 0)
 *   above 0, no mask             max(b - s x p / 100, 0)
 *   above 0, with mask           max(b - s x m x p / 25500, 0), m being the first byte of the mask
 *                                for every pixel of the run
 *
 * MERGE_RELIEF, with f = 127 - 127 x transparency / 99, where the pixel's mask byte is not 0:
 *   s > 127                      min(b + (s - 128) x f / 127, 255)
 *   s <= 127                     max(b - (127 - s) x f / 127, 0)
 *
 * Returns 0 on failure, with the result as it was:
 *   not reported    pixels or bytes_per_pixel below 1, or a null pointer; below transparency 100
 *                   also bytes_per_pixel above 8, mode outside 1 to 16, modes 2 to 5 with other
 *                   than 3 bytes per pixel, or MERGE_RELIEF without a mask
 *   not reported    modes 2 to 5: no memory for the first of three work rows
 *   1001, 2, 61, 1  modes 2 to 5: no memory for the second or third
 *   not reported    modes 6 and 7 without a mask: no memory for one; the thread's priority then
 *                   stays raised
 *   result and overlay are the same, and there is no memory for a copy of the overlay:
 *   1001, 2, 61, 50  MERGE_NORMAL           1001, 2, 61, 56  MERGE_ADD
 *   1001, 2, 61, 51  MERGE_LIGHTEN          1001, 2, 61, 57  MERGE_SUBTRACT
 *   1001, 2, 61, 52  MERGE_DARKEN           1001, 2, 61, 58  MERGE_MASK_SUBTRACT
 *   1001, 2, 61, 53  MERGE_DIFFERENCE       1001, 2, 61, 59  MERGE_MULTIPLY, MERGE_RELIEF
 *   1001, 2, 61, 54  MERGE_PREMUL_BLACK     1001, 2, 61, 61  MERGE_SCREEN
 *   1001, 2, 61, 55  MERGE_PREMUL_WHITE
 */
Q32_API int Q32_CALL i32Merge(void *result, const void *base, const void *mask, const void *overlay,
                              int bytes_per_pixel, int pixels, unsigned mode, int transparency);

/* --- rectangles of plain memory -------------------------------------------------------------- */

/*
 * Merges a rectangle of an overlay into an image, which is also the base. All rectangles are in
 * coordinates of the image, right and bottom exclusive; what lies outside the image, the mask's or
 * the overlay's rectangle stays as it was.
 *
 *   image               height rows of width pixels
 *   width, height       pixels of the image
 *   mask                one byte per pixel, rows of the mask rectangle's width, or null: full
 *                       strength (modes 2 and 3 then weigh as i32Merge does without a mask)
 *   mask_rectangle      what the mask covers; needed without a mask too, as it bounds the merge
 *   overlay             rows of the overlay rectangle's width; may overlap the image
 *   overlay_rectangle   what the overlay covers
 *   bytes_per_pixel     1 or 3 (or another size up to 8, see above)
 *   mode                1 to 15
 *   transparency        percent
 *
 * At transparency 100 the modes run as at any other: modes 2 to 5 still take the base to HSV and
 * back.
 *
 * Returns 0 on failure, with the image as it was:
 *   4026, 2, 61, 3  the mask's rectangle does not meet the image, or is null
 *   4026, 2, 61, 4  the overlay's rectangle does not meet what these two share, or is null
 *   1001, 2, 61, 2  modes 2 to 5: no memory for one of three work rows
 *   not reported    bytes_per_pixel below 1 or above 8, mode outside 1 to 15, modes 2 to 5 with
 *                   other than 3 bytes per pixel, a null image or overlay, or no memory for the
 *                   mask that stands in for a null one
 */
Q32_API int Q32_CALL i32MergeEx(void *image, int width, int height, const void *mask,
                                const RECT *mask_rectangle, const void *overlay,
                                const RECT *overlay_rectangle, int bytes_per_pixel, int mode,
                                int transparency);

/*
 * Merges a rectangle of an overlay image into an image at (x, y). The mask covers the whole overlay
 * image, pixel for pixel.
 *
 *   image                  height rows of width pixels
 *   width, height          pixels of the image
 *   bytes_per_pixel        of both images, as in i32MergeEx
 *   x, y                   where the rectangle's top left corner goes
 *   overlay                overlay_height rows of overlay_width pixels; may overlap the image
 *   mask                   overlay_height rows of overlay_width bytes, or null as in i32MergeEx
 *   overlay_width          pixels of the overlay image
 *   overlay_height
 *   rectangle              what to merge, in coordinates of the overlay image; by value
 *   mode, transparency     as in i32MergeEx
 *
 * Returns 0 on failure, with the image as it was:
 *   4026, 2, 61, 3  the placed rectangle does not meet the image
 *   4026, 2, 61, 4  the placed overlay image does not meet what these two share
 *   otherwise as i32MergeEx
 */
Q32_API int Q32_CALL i32MergeRamToRam(void *image, int width, int height, int bytes_per_pixel,
                                      int x, int y, const void *overlay, const void *mask,
                                      int overlay_width, int overlay_height, RECT rectangle,
                                      int mode, int transparency);

/* --- buffers --------------------------------------------------------------------------------- */

/*
 * The buffer forms. A rectangle in coordinates of the overlay image is cut to that image and goes
 * to (x, y) of the destination, which is also the base; what falls outside the destination is left
 * out. Modes and rounding are those of i32MergeEx, except that a missing mask is full strength in
 * modes 2 and 3 as well. The thread's priority stays as it is.
 *
 * The destination is locked for writing (BUF32_WRITE_3) and the other buffers for reading: their
 * lock counts come back to what they were, their access modes do not, and a destination of one
 * colour, of a pattern or sharing pixels gets pixels of its own. Reports are those of the buffer
 * calls and, in modes 2 to 5, 1001, 2, 61, 2 (no memory for work rows); a failure in the middle
 * leaves the pieces that were merged before it.
 */

/*
 * Merges a rectangle of a buffer into another buffer of the same bytes per pixel.
 *
 *   destination, x, y     the buffer, and where the rectangle's top left corner goes
 *   mask                  8-bit buffer as large as the overlay, in the same cells, or 0: tiled, of
 *                         one colour or of a pattern where the overlay is; where that is one cell,
 *                         as a bitmap or a linear buffer, a bitmap, linear, or tiled without a side
 *                         over 128. A buffer over caller memory has no cells and does not fit
 *   overlay               buffer; may be the destination
 *   rectangle             what to merge, in coordinates of the overlay
 *   mode                  1 to 15
 *   transparency          percent
 *
 * Returns 1 when everything was merged, or when nothing was left after clipping against the
 * destination. Returns 0, not reported by itself, for a handle of 0, a destination without whole
 * bytes per pixel, different bytes per pixel, a rectangle (or null) that does not meet the overlay,
 * a handle that is no buffer (of the mask: where something is left to merge), a mask whose cells do
 * not cover the overlay's, a lock that fails, and a piece that fails, as in i32MergeEx.
 */
Q32_API int Q32_CALL i32MergeBufToBuf(HBUF32 destination, int x, int y, HBUF32 mask, HBUF32 overlay,
                                      const RECT *rectangle, int mode, int transparency);

/*
 * Refuses every destination with whole bytes per pixel, and cannot merge into any other: it returns
 * 1 when nothing is left after clipping (with whole bytes per pixel only when the rectangle lies
 * beyond the left or the upper edge and does not even touch it), and otherwise 0. Nothing is
 * reported or changed. Kept for the programs that call it. To do what its name says, bring the
 * overlay into a buffer (buf32MergeMem) and call i32MergeBufToBuf; buffers over caller memory have
 * no cells to merge.
 *
 *   destination, x, y     the buffer, and where the rectangle's top left corner goes
 *   mask                  as in i32MergeRamToRam, or null
 *   overlay               overlay_height rows of overlay_width pixels
 *   rectangle             what to merge, in coordinates of the overlay image
 *   overlay_width         pixels of the overlay image
 *   overlay_height
 *   mode, transparency    as in i32MergeRamToRam
 *
 * A handle of 0, a null overlay and a rectangle (or null) that does not meet the overlay give 0.
 */
Q32_API int Q32_CALL i32MergeRamToBuf(HBUF32 destination, int x, int y, const void *mask,
                                      const void *overlay, const RECT *rectangle, int overlay_width,
                                      int overlay_height, int mode, int transparency);

/*
 * Merges a rectangle of a buffer into an image in plain memory.
 *
 *   image                 height rows of width pixels; receives the rectangle at (x, y)
 *   bytes_per_pixel       that of the overlay buffer
 *   mask, overlay, rectangle, mode, transparency   as in i32MergeBufToBuf
 *
 * Returns 1 when everything was merged, or when nothing was left after clipping. Returns 0, not
 * reported by itself, for a null image, an overlay of 0, other bytes per pixel than the overlay's,
 * a rectangle (or null) that does not meet the overlay, a handle that is no buffer (of the mask:
 * where something is left to merge), an image that reaches beyond all memory, a lock or a piece
 * that fails.
 *
 * Lock counts. Cells that the rectangle covers to the right of the image or below it are unlocked
 * once too often on the overlay when there is a mask, and not at all on the mask: the overlay's
 * lock count falls short by one for each (an unlock at 0 reports 5804, 0, 3, 2) and the mask's
 * stays up by one. Callers keep clear of it by cutting the rectangle to the image.
 */
Q32_API int Q32_CALL i32MergeBufToRam(void *image, int x, int y, int width, int height,
                                      int bytes_per_pixel, HBUF32 mask, HBUF32 overlay,
                                      const RECT *rectangle, int mode, int transparency);

/* --- colour filter --------------------------------------------------------------------------- */

/* One range of colours: each sample within its tolerance of the colour's, cut to 0..255. */
typedef struct I32COLORRANGE {
    uint8_t colour[4];    /* samples that the filter's type does not test are ignored */
    int32_t tolerance[4]; /* a negative one matches nothing, but see the fourth */
} I32COLORRANGE;

/* A filter: a count, and that many ranges right behind it. */
typedef struct I32COLORFILTER {
    uint32_t count;
    I32COLORRANGE ranges[1];
} I32COLORFILTER;

/* Types of filter: bytes of a pixel, and the samples that are tested. */
#define I32_FILTER_GREY 1 /* 1 byte */
#define I32_FILTER_NONE 2 /* no test: the mask is copied or filled, and that is all */
#define I32_FILTER_RGB  3 /* 3 bytes */
#define I32_FILTER_RGBX 4 /* 4 bytes; see below for the fourth */

/*
 * Builds a selection mask: starts from a mask, or from a full one, and clears the bytes of pixels
 * whose colour lies in none of the ranges (inside not 0) or in one of them (inside 0). Bytes are
 * cleared, never raised.
 *
 *   mask_out   pixels bytes; receives the mask
 *   mask_in    pixels bytes, which are first copied as one block, or null: every pixel begins at
 *              255; may be mask_out
 *   source     the run of pixels, of the type's size; not read by I32_FILTER_NONE (may be null)
 *   type       I32_FILTER_*
 *   pixels     0 does nothing and returns 1
 *   filter     the ranges. An empty list matches no pixel
 *   inside     keep what lies inside the ranges (not 0), or what lies outside (0)
 *
 * The fourth sample of I32_FILTER_RGBX must equal the upper end of its range, with a negative
 * tolerance too, which takes it below 0 where no sample is; the lower end, which is
 * colour[0] - tolerance[3], is not tested.
 *
 * Returns 0, not reported, for a null mask_out, another type, a null filter, a null source that is
 * needed, and when there is no memory for the ranges (8 bytes each).
 */
Q32_API int Q32_CALL i32ColorFilter(void *mask_out, const void *mask_in, const void *source,
                                    int type, unsigned pixels, const I32COLORFILTER *filter,
                                    int inside);

/* --- colour spaces --------------------------------------------------------------------------- */

#define I32_NO_HUE 32767 /* hue of grey pixels */

/* Pixel of an HSV row. */
typedef struct I32HSV {
    int32_t hue;        /* 0 to 359, or I32_NO_HUE */
    int32_t saturation; /* 0 to 255 */
    int32_t value;      /* 0 to 255 */
} I32HSV;

/* Pixel of an HLS row. */
typedef struct I32HLS {
    int32_t hue;        /* 0 to 359, or I32_NO_HUE */
    int32_t lightness;  /* 0 to 255 */
    int32_t saturation; /* 0 to 255 */
} I32HLS;

/* Conversions of i32ColorspaceConvert. */
#define I32_RGB_TO_GREY 0 /* 3 bytes to 1: (299 red + 587 green + 114 blue) / 1000, truncated */
#define I32_GREY_TO_RGB 1 /* 1 byte to 3 */
#define I32_RGB_TO_HSV  2 /* 3 bytes to I32HSV */
#define I32_HSV_TO_RGB  3
#define I32_RGB_TO_HLS  4 /* 3 bytes to I32HLS */
#define I32_HLS_TO_RGB  5

/*
 * Converts a run of pixels to another colour space, in integers. Hexcone models: A. R. Smith,
 * "Color Gamut Transform Pairs", 1978 (HSV); J. D. Foley et al., "Computer Graphics: Principles and
 * Practice", chapter 13 (HLS).
 *
 *   destination   pixels of the one kind; may be the source where pixels do not grow (0, 3, 5)
 *   source        pixels of the other
 *   pixels        below 1 converts nothing
 *   conversion    I32_*_TO_*; anything else converts nothing
 *
 * Back to RGB, fields within the ranges above give what they say. A hue from 360 to 720, or below 0
 * by up to 360, counts as turned by a full circle. Records with fields beyond that give some pixel.
 *
 * Always returns 1. Null pointers convert nothing.
 */
Q32_API int Q32_CALL i32ColorspaceConvert(void *destination, const void *source, int pixels,
                                          unsigned conversion);

Q32_RECORD_BYTES(I32COLORRANGE, 20, 20);
Q32_RECORD_BYTES(I32COLORFILTER, 24, 24);
Q32_RECORD_BYTES(I32HSV, 12, 12);
Q32_RECORD_BYTES(I32HLS, 12, 12);

Q32_END_DECLS

#endif
