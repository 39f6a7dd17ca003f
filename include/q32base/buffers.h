/*
 * Q32BASE: image buffers.
 *
 * A buffer is an image of up to 32000 x 32000 pixels at 1 to 64 bits per pixel. Its pixels lie in
 * cells (tiles) of at most 128 x 128 pixels, in virtual memory or in a swap file that is mapped
 * whole into the address space; or it is linear, or lies over a bitmap: one cell of the whole
 * image.
 *
 * Cells. Cell (column c, band r) covers the pixels from x = c x 128 and y = r x 128; its index is
 * r x cell columns + c. Inside a cell, rows lie top to bottom without gaps, each packed to the
 * byte: (pixels x bits per pixel + 7) / 8 bytes. At 1, 2 and 4 bits the leftmost pixel is the
 * highest. Pixels keep the channel order in which they were written.
 *
 * Locks. One function wants its buffer locked: buf32Line, in any mode, whatever its direction. All
 * others take locked buffers and unlocked ones, but for those that free (a locked buffer stays) and
 * those that unlock; so do the functions of merge.h, resample.h and bars.h. Locks are for
 * addresses: take a read lock before reading at one, a write lock before writing there, which gives
 * the buffer pixels that are its own. A lock does not keep other calls from moving them (see
 * buf32CellLock), nor other threads out.
 *
 * Threads. Nothing here waits for another thread. Each buffer is used by one thread at a time;
 * buffers that share pixels (buf32DupBuf) count as one, unless all of them are only read. Callers
 * serialise, by one lock of their own, what changes the list of buffers and the counters of
 * storage:
 *
 *     buffers   whatever makes or frees one: buf32Alloc, buf32Free, buf32DIBBufAlloc,
 *               buf32DIBMemBufAlloc, buf32DIBBufFree, and buf32GetBuf, buf32DupBuf,
 *               q32BufferResample and the bars where they make one
 *     storage   buf32FillOneColor, buf32FillPattern, buf32DupBuf, buf32VMData; whatever first locks
 *               or writes to a buffer of one colour or of a pattern, or first writes to one that
 *               shares pixels
 *
 * What looks a handle up or reads those counters may run beside other such calls, not beside the
 * above, which change what it reads (it may end the process): buf32GetInfo, buf32GetWHU,
 * buf32CountBuf, buf32GetVMDataExt; in other headers the i32Merge functions that are given buffers,
 * q32InitResampleTable, q32BufferResample and the bars. Everything else on different buffers may
 * run at once.
 *
 * Results. 1 is success and 0 failure unless stated otherwise. Reports are listed as
 * "message, severity, module, point" (see errors.h).
 *
 * Handles. buf32Free, buf32DIBBufFree, buf32GetInfo and buf32GetWHU check that a handle is a live
 * buffer; the other functions trust every handle but 0.
 */
#ifndef Q32BASE_BUFFERS_H
#define Q32BASE_BUFFERS_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* --- types and blocks ------------------------------------------------------------------------ */

/*
 * Buffer types: the type argument of buf32Alloc. The values are bits.
 *
 * A buffer over caller memory can be locked as a whole for reading, read by rows and rectangles, be
 * the source of buf32GetBuf and an overlay of the merge functions; everything else is refused. A
 * buffer of one colour or of a pattern is read without storage; whatever writes pixels into it
 * first makes an ordinary tiled buffer of it.
 */
#define BUF32_TILED         0u          /* cells, in memory or in a swap file */
#define BUF32_ONE_COLOUR    1u          /* every pixel has one colour; no pixel storage */
#define BUF32_LINEAR        2u          /* one cell of the whole image */
#define BUF32_LINEAR_MEMORY 4u          /* linear, in virtual memory only; height can shrink */
#define BUF32_DIB           8u          /* over a Windows device-independent bitmap */
#define BUF32_LINEAR_SHRINK 16u         /* linear; height can shrink */
#define BUF32_CALLER_MEMORY 32u         /* over the caller's packed rows, read only */
#define BUF32_PATTERN       128u        /* a small pattern, repeated */
#define BUF32_TILED_FILE    0x80000000u /* cells, kept out of memory (unless below 129 x 129) */

/* Lock modes of buf32Lock. Any other value is a read lock that records that value. */
#define BUF32_READ      1
#define BUF32_WRITE     2
#define BUF32_WRITE_3   3 /* as BUF32_WRITE */
#define BUF32_OVERWRITE 4 /* write, and the caller will overwrite every pixel */

/* Row modes of buf32Line. */
#define BUF32_LINE_READ       1 /* buffer to memory, as stored */
#define BUF32_LINE_WRITE      2 /* memory to buffer, as stored */
#define BUF32_LINE_READ_BITS  3 /* stored 1 bit, memory one byte per pixel (0 or 255) */
#define BUF32_LINE_WRITE_BITS 4 /* memory one byte per pixel, stored 1 bit (set above 127) */
#define BUF32_LINE_READ_565   5 /* stored 5-6-5 words, memory 24-bit pixels */
#define BUF32_LINE_WRITE_565  6 /* memory 24-bit pixels, stored 5-6-5 words */
#define BUF32_LINE_READ_555   7 /* stored 5-5-5 words, memory 24-bit pixels */
#define BUF32_LINE_WRITE_555  8 /* memory 24-bit pixels, stored 5-5-5 words */

/* What buf32GetInfo copies out: the beginning of the buffer's record. */
typedef struct BUF32INFO {
    uint32_t type;           /* buffer type; reported as 0 for BUF32_CALLER_MEMORY */
    HGLOBAL data_handle;     /* BUF32_DIB: the bitmap's memory handle; else 0 */
    int32_t bits_per_pixel;  /* 1 to 64 */
    int32_t bytes_per_pixel; /* bits / 8, truncated: 0 under 8 bits */
    int32_t width;           /* pixels */
    int32_t height;          /* pixels: rows in use */
    int32_t capacity_rows;   /* the height at allocation */
    size_t image_bytes;      /* height x row bytes ((size_t)-1 when that is more than a size_t
                                holds) */
    size_t reserved_bytes;   /* capacity rows x row bytes, likewise */
    int32_t format_depth;    /* BUF32_DIB: bit count, 15 for a 16-bit "R565" bitmap; else 0 */
    int32_t one_colour;      /* 1 for one-colour buffers and after a pattern fill, else 0 */
    uintptr_t colour[2];     /* one colour: its bytes, from the first on; pattern: width |
                                height << 16 and the library's copy; caller memory: first word and
                                pixel pointer; BUF32_DIB: the byte of the last buf32FillOneColor */
    int32_t cell_count;      /* cell columns x cell rows */
    int32_t cell_columns;
    int32_t cell_rows;         /* bands */
    int32_t cell_width;        /* pixels: min(width, 128), or the width when linear */
    int32_t cell_height;       /* pixels: min(height, 128), or the height when linear */
    int32_t last_column_width; /* pixels */
    int32_t last_row_height;   /* pixels */
    size_t band_bytes;         /* bytes of one full band of cells */
    size_t cell_bytes;         /* bytes of one full cell */
    int32_t lock_count;        /* outstanding locks */
    int32_t access_mode;       /* mode of the last whole-buffer lock */
} BUF32INFO;

/* What buf32CellLock tells about the cell that it locked. */
typedef struct BUF32CELL {
    int32_t index;           /* as passed in */
    int32_t x;               /* the cell's first column in the image */
    int32_t y;               /* the cell's first row in the image */
    int32_t width;           /* pixels of this cell */
    int32_t height;          /* rows of this cell */
    int32_t bits_per_pixel;  /* of the buffer */
    int32_t bytes_per_pixel; /* of the buffer, truncated */
    int32_t row_bytes;       /* bytes of one row of this cell */
    size_t bytes;            /* height x row_bytes */
    int32_t pixels;          /* width x height */
} BUF32CELL;

/* The extra argument of buf32Alloc for BUF32_PATTERN. */
typedef struct BUF32PATTERN {
    uint16_t width;     /* pixels, at least 1 */
    uint16_t height;    /* rows, at least 1 */
    const void *pixels; /* rows of (width x bits + 7) / 8 bytes, top row first; copied */
} BUF32PATTERN;

/* The extra argument of buf32Alloc for BUF32_CALLER_MEMORY. */
typedef struct BUF32MEMORY {
    uint32_t first_word; /* kept in the record, not used */
    void *pixels;        /* rows packed to the byte, top row first; stays the caller's and must
                            outlive the buffer */
} BUF32MEMORY;

/* The swap directories that buf32VMData exchanges. Directories are tried in this order. */
typedef struct BUF32DIRECTORIES {
    char path[4][260];   /* zero-terminated; empty: not used */
    uint32_t enabled[4]; /* 0: not used */
} BUF32DIRECTORIES;

Q32_RECORD_BYTES(BUF32INFO, 96, 136);
Q32_RECORD_BYTES(BUF32CELL, 40, 48);
Q32_RECORD_BYTES(BUF32PATTERN, 8, 16);
Q32_RECORD_BYTES(BUF32MEMORY, 8, 16);
Q32_RECORD_BYTES(BUF32DIRECTORIES, 1056, 1056);

/* --- allocation ------------------------------------------------------------------------------ */

/*
 * Creates a buffer and stores its handle in *handle.
 *
 *   handle          receives the new handle; must not be null (a null pointer fails with
 *                   3200, 0, 4, 7). Unchanged when the call fails.
 *   bits_per_pixel  1 to 64
 *   width, height   pixels, 1 to 32000
 *   type            a BUF32_ value
 *   extra           BUF32_ONE_COLOUR: pointer to the colour's (bits + 7) / 8 bytes, required.
 *                   BUF32_DIB: the bitmap's memory handle. BUF32_PATTERN: BUF32PATTERN pointer.
 *                   BUF32_CALLER_MEMORY: BUF32MEMORY pointer. Other types: ignored.
 *
 * Memory or swap file: both sides below 129, or BUF32_LINEAR_MEMORY: memory. BUF32_TILED_FILE:
 * file. Otherwise memory within the limits set by buf32VMData, else a file. The pixels of a new
 * buffer are not initialised (they read as zero while the system has just provided them).
 * The caller owns the buffer and gives it back with buf32Free.
 *
 * Reports, in the order of the checks:
 *   1001, 0, 4, 9    less than 128 KB of memory is left, or the record cannot be had
 *   5402, 0, 4, 71   width over 32000
 *   5403, 0, 4, 72   height over 32000
 *   3200, 0, 4, 7    bits, width or height below 1, bits over 64, or a null handle pointer
 *   3200, 0, 4, 8    a type with bit 0 set and no colour; a pattern or caller memory without extra
 *                    or without pixels, a pattern of width or height 0; type 0xFFFFFFFF, which
 *                    marks freed buffers
 *   1001, 0, 4, 10   one colour, pattern: the record or the pattern's copy cannot be had
 *   BUF32_DIB        after the checks of the sides: as buf32DIBBufAlloc(handle, extra)
 *   1001, 0, 4, 2    the swap file cannot be made, sized or mapped
 *   1001, 0, 4, 3    the swap file is over the file limit, or no directory can hold it
 *   1001, 0, 4, 4    BUF32_LINEAR_MEMORY: no virtual memory
 *   4010, 0, 9, 5    the process's record of swap files cannot be created or written
 *   4010, 0, 9, 6    that record cannot be entered in the master record file
 *   4010, 0, 9, 7    the master record file has no free slot
 *   1004, 0, 9, 10   no memory for the record's slot map
 *   1004, 0, 9, 11   no memory for enlarging the slot map
 */
Q32_API int Q32_CALL buf32Alloc(HBUF32 *handle, int bits_per_pixel, int width, int height,
                                uint32_t type, const void *extra);

/*
 * Releases the buffer's storage (a swap file is deleted) and its record.
 *
 * A handle that is not a live buffer (never made, already freed, 0): 0 without a report.
 *   5804, 1, 4, 12   the buffer is locked; nothing is released, except that a pattern buffer has
 *                    lost its pattern's copy (its pixels then read as zero)
 *   1001, 0, 1, 5    a bitmap that others share: the first of them cannot get a block of its own
 *                    (see the bitmaps below); nothing is released
 *   1001, 0, 1, 7    likewise: that block cannot be locked; nothing is released
 *   3200, 0, 4, 6    the record was freed during the call
 */
Q32_API int Q32_CALL buf32Free(HBUF32 buffer);

/*
 * Changes the height of a linear buffer of type BUF32_LINEAR_MEMORY or BUF32_LINEAR_SHRINK to
 * rows, at most its height at allocation. Kept rows keep their pixels. Whole pages of memory that
 * are given up go back to the system; the pixels of rows that come back are not initialised.
 *
 * A failed system call and a handle of 0: 0 without a report.
 *   3200, 0, 4, 11   another type, rows below 1 or over the height at allocation
 *   as buf32Alloc    the buffer shares pixels (buf32DupBuf), and there is no storage for a copy
 */
Q32_API int Q32_CALL buf32ReAlloc(HBUF32 buffer, int rows);

/*
 * Copies the buffer's information block to *info. A null info only checks the handle.
 * A handle that is not a live buffer: 0 without a report.
 */
Q32_API int Q32_CALL buf32GetInfo(HBUF32 buffer, BUF32INFO *info);

/*
 * Stores width, height (pixels) and bytes per pixel (0 under 8 bits). Any pointer may be null.
 * A handle that is not a live buffer: 0 without a report, nothing stored.
 */
Q32_API int Q32_CALL buf32GetWHU(HBUF32 buffer, int *width, int *height, int *bytes_per_pixel);

/* Always 0. */
Q32_API int Q32_CALL IsBufClean(void);

/*
 * Returns the number of live buffers and, when handles is not null, stores their handles there in
 * the order of allocation. The caller provides the room: call with null first.
 */
Q32_API int Q32_CALL buf32CountBuf(HBUF32 *handles);

/* --- locks, rows, addresses ------------------------------------------------------------------ */

/*
 * Locks the whole buffer in a mode (BUF32_READ ...), records the mode, and stores the address of
 * its storage (of the source's storage while a duplicate shares it) in *base. base may be null. The
 * address stays valid as long as that of a cell (buf32CellLock).
 * The first write lock gives a duplicate pixels of its own, and turns a one-colour or pattern
 * buffer into an ordinary tiled one (type 0). A buffer that has lost its pixels (see
 * buf32FillOneColor) is locked like any other, and *base is null.
 *
 * A handle of 0: 0 without a report. On failure *base is 0.
 *   1001, 0, 2, 5    one colour, reading: no memory for its block (pattern: 1001, 1, 4, 21)
 *   1001, 0, 2, 4    one colour, writing: no storage (after the storage's own report)
 *   as buf32Alloc    other types, writing: no storage for a duplicate's own pixels, or for those
 *                    of a buffer whose pixels others share, or for a pattern's
 * A write lock of a buffer over caller memory: 0 without a report.
 */
Q32_API int Q32_CALL buf32Lock(HBUF32 buffer, int mode, void **base);

/*
 * Takes back one lock.
 *   5804, 1, 3, 4   the buffer is not locked (one colour: 5804, 0, 2, 6); the count stays 0
 */
Q32_API int Q32_CALL buf32Unlock(HBUF32 buffer);

/*
 * Locks one cell: counts one more lock, stores the cell's address in *address and, when cell is
 * not null, its description in *cell. Either pointer may be null. A last whole-buffer lock in mode
 * 2 or 3 makes this a write lock. The address stays valid until the buffer, or the one whose pixels
 * it shares, is freed, filled, duplicated into or given pixels of its own. All cells of a
 * one-colour buffer share one block; so do those of a pattern buffer, where the address is good
 * until the next call on the buffer.
 *
 * A handle of 0, and a buffer over caller memory: 0 without a report. On failure *address is 0.
 *   5804, 0, 3, 1   index below 0 or not below the cell count (one colour: 5805, 0, 2, 1)
 *   1001, 0, 2, 2   one colour: no memory for its block (pattern: 1001, 1, 4, 21)
 *   as buf32Lock    a write lock without storage
 */
Q32_API int Q32_CALL buf32CellLock(HBUF32 buffer, int index, void **address, BUF32CELL *cell);

/*
 * Takes back one lock; which cell is not looked at.
 *   5804, 0, 3, 2   the buffer is not locked (one colour: 5804, 0, 2, 3)
 */
Q32_API int Q32_CALL buf32CellUnlock(HBUF32 buffer, int index);

/*
 * Copies one image row between the buffer and memory, converting as the mode says (BUF32_LINE_).
 *
 *   row      clamped into 0 .. height - 1
 *   mode     1 to 8; any other value takes and gives back a write lock and changes no pixel
 *   memory   as stored: (width x bits + 7) / 8 bytes; modes 3 and 4: width bytes; modes 5 to 8:
 *            3 x width bytes; not the buffer's own storage. The modes that write into the buffer
 *            only read it: constant memory may be given there, its const cast away
 *
 * The buffer must be locked by the caller (in any way). Modes 3 and 4 are meant for buffers of 1
 * bit per pixel, modes 5 to 8 for 16 bits. On other depths they convert the row's bytes as they
 * stand, with zeros for bytes that the row does not have.
 *
 * A handle of 0, and no memory for a staged row: 0 without a report.
 *   3200, 0, 4, 6   memory is null (tested before the handle)
 *   5804, 1, 3, 3   the buffer is not locked
 */
Q32_API int Q32_CALL buf32Line(HBUF32 buffer, int row, int mode, void *memory);

/*
 * Returns the address of pixel (x, y), clamped into the image, without keeping a lock; under 8
 * bits the address of the byte that holds it. Types 0, 1, 2, 4, 8 and 16 only. Null on failure:
 *   3200, 1, 4, 181   handle 0
 *   3200, 1, 4, 182   type 0 without storage, or another type
 *   3200, 1, 4, 183   one colour, and its block has not been made by a lock yet
 *   3200, 1, 4, 184   linear, without storage
 */
Q32_API void *Q32_CALL buf32PointAddr(HBUF32 buffer, int x, int y);

/*
 * Finds pixel (x, y) of a tiled buffer without keeping a lock: returns the cell's index and stores
 * the cell's address, the pixel's address and the pixel's place in the cell. Any pointer may be
 * null. Returns -1 without a report for a handle of 0, a pixel outside the image or a cell without
 * storage.
 */
Q32_API int Q32_CALL buf32PointAddEx(HBUF32 buffer, int x, int y, void **cell_address,
                                     void **pixel_address, int *x_in_cell, int *y_in_cell);

/* --- rectangles ------------------------------------------------------------------------------ */

/*
 * Rectangles of pixels between a buffer and plain memory, between two buffers, and over a whole
 * buffer. The functions from here to buf32FillPattern run at THREAD_PRIORITY_ABOVE_NORMAL and give
 * the thread its own priority back when they return.
 *
 * Rectangles are x, y, width, height in pixels and may reach beyond the image: what lies outside
 * is clipped away, and nothing is left to do when width or height is below 1.
 *
 * Memory. The block always stands for the whole rectangle, clipped or not: rows of
 * width x bytes per pixel bytes, top row first, without gaps; under 8 bits per pixel, rows of
 * (width x bits + 7) / 8 bytes, the leftmost pixel in the highest bits. Pixels are copied as they
 * are stored. The memory must not be the storage of one of the buffers, nor a pattern's copy.
 *
 * Sharing. A duplicate reads the pixels of its source until one of the two is written: then the
 * duplicate gets pixels of its own first. A failure to get them (with the report of the storage,
 * see buf32Alloc) fails the call, with all pixels as they were.
 *
 * A buffer handle of 0: 0 without a report.
 */

/*
 * Copies a rectangle of the buffer into memory. Memory of pixels outside the image stays as it is,
 * as do the bits behind the last pixel of a row; a one-colour buffer fills the whole block.
 *
 *   3200, 0, 4, 6    memory is null (tested before the handle)
 *   3200, 1, 3, 13   the rectangle lies outside the image (one colour: 3200, 0, 2, 10)
 */
Q32_API int Q32_CALL buf32GetMem(HBUF32 buffer, int x, int y, int width, int height, void *memory);

/*
 * The same, and pixels of the rectangle that lie outside the image become the background.
 *
 *   background   the colour's bytes per pixel bytes; under 8 bits one byte of pixels, which is
 *                repeated over every byte of a row and also fills the bits behind its last pixel
 *
 *   3200, 0, 4, 6   memory is null (tested before the handle)
 * A null background: 0 without a report.
 */
Q32_API int Q32_CALL buf32GetMemWithBC(HBUF32 buffer, int x, int y, int width, int height,
                                       void *memory, const void *background);

/*
 * Copies memory over a rectangle of the buffer. Mind the order: memory comes before the size here.
 *
 *   3200, 0, 4, 6     memory is null (tested before the handle)
 *   3200, 1, 3, 14    the rectangle lies outside the image
 *   5800, 0, 50, 64   the buffer lies over caller memory
 */
Q32_API int Q32_CALL buf32MergeMem(HBUF32 buffer, int x, int y, const void *memory, int width,
                                   int height);

/*
 * Copies a rectangle of the source into another buffer, whose (0, 0) stands for (x, y).
 *
 *   destination   *destination is a buffer of the same bits per pixel, or 0: then a buffer of the
 *                 rectangle's size and the source's type is made (type 0 where the source is a
 *                 bitmap, lies over caller memory, or has a type that is no BUF32_ value), which
 *                 the caller gives back with buf32Free. On failure *destination is as it was. A
 *                 null pointer: 0 without a report.
 *
 * The whole source in a new buffer, or in one of the same type and size, is a duplicate
 * (buf32DupBuf), which takes microseconds whatever the size; from a bitmap it is a copy. A
 * rectangle outside the source, or outside the destination, copies nothing and succeeds: the
 * pixels of a new buffer are then not initialised.
 *
 *   3200, 1, 4, 18    the two differ in bits per pixel. All of a one-colour buffer into another of
 *                     its size: after 3200, 0, 2, 8
 *   1001, 1, 4, 19    no memory for one row
 *   1001, 0, 1, 9     from a bitmap: the new buffer cannot be made (after its own report)
 *   as buf32Alloc     other sources: the new buffer cannot be made
 *   5800, 0, 50, 64   the destination lies over caller memory
 */
Q32_API int Q32_CALL buf32GetBuf(HBUF32 source, int x, int y, int width, int height,
                                 HBUF32 *destination);

/*
 * Copies a rectangle of the source to (destination_x, destination_y) of the destination. What lies
 * outside either image is clipped away; nothing left is a success.
 *
 *   3200, 1, 4, 18    the two differ in bits per pixel
 *   1001, 1, 4, 19    no memory for one row
 *   5800, 0, 50, 63   the source lies over caller memory: buf32GetMem and buf32MergeMem do instead
 *   5800, 0, 50, 64   the destination lies over caller memory
 * A destination of 0: 0 without a report.
 */
Q32_API int Q32_CALL buf32MergeBuf(HBUF32 source, int x, int y, int width, int height,
                                   HBUF32 destination, int destination_x, int destination_y);

/*
 * Makes *destination a duplicate of the source: it shares the source's pixels until either is
 * written. A duplicate of a duplicate shares with the first source. One-colour and pattern buffers
 * share nothing: the duplicate gets the colour (all but its first byte when *destination is a
 * buffer already) or a copy of the pattern.
 *
 *   destination   *destination is a buffer of the source's type, size and bits per pixel, whose
 *                 pixels are given up, or 0: then it receives a new buffer, which the caller gives
 *                 back with buf32Free. On failure *destination is as it was. A null pointer: 0
 *                 without a report.
 *
 * A new duplicate is not locked, and its access mode is 0.
 *
 * A destination that already shares this source, or is the source, and a source over caller memory:
 * 0 without a report. A one-colour buffer may be its own destination: nothing changes then. The
 * block of a one-colour destination is filled anew.
 *   4026, 1, 3, 6     the types differ
 *   4026, 1, 3, 7     size or bits per pixel differ
 *   1001, 1, 3, 8     no memory for the record
 *   1001, 1, 3, 9     no memory for its cells
 *   1001, 1, 70, 23   no memory for the pattern's copy
 *   1001, 1, 4, 19    *destination's cells differ from the source's (a linear buffer that was
 *                     filled and then written still has one cell), and there is no memory to copy
 *                     instead
 * The first three, from a one-colour buffer: 3200, 0, 2, 7; 3200, 0, 2, 8; 1001, 0, 2, 9.
 * The first four, from a bitmap: 3200, 0, 1, 3; 3200, 0, 1, 4; 1001, 1, 1, 8; 1001, 1, 1, 9.
 */
Q32_API int Q32_CALL buf32DupBuf(HBUF32 source, HBUF32 *destination);

/*
 * Makes every pixel one colour. The buffer becomes a one-colour buffer (type 1): it gives up its
 * storage first, and then gets one block of a cell. A bitmap stays a bitmap and is filled, and
 * takes only the first byte of the colour; the other bytes are zero. Under 8 bits per pixel the
 * fill of a bitmap covers (width + 7) / 8 x height bytes from its first row on, which is all of the
 * image at 1 bit, half of it at 2 and a quarter at 4.
 *
 *   colour   the colour's bytes per pixel bytes; under 8 bits one byte of pixels
 *
 *   3200, 0, 4, 6     colour is null (tested before the handle)
 *   1001, 1, 4, 21    no memory for the block; the buffer is of the type that it was, and has no
 *                     pixels any more: cells have a null address, rows and rectangles fail without
 *                     a report, until the buffer is filled. One colour and patterns get a block
 *                     when they next need one; the pattern's copy is gone, and reads as zero
 *   5800, 0, 50, 62   the buffer lies over caller memory
 */
Q32_API int Q32_CALL buf32FillOneColor(HBUF32 buffer, const void *colour);

/*
 * Fills the buffer with a pattern, repeated from its top left corner: it becomes a pattern buffer
 * (type 128), which gives up its storage first and then gets a block of the pattern's rows. A
 * bitmap stays a bitmap and is filled.
 *
 *   pattern   copied with its pixels, which may lie in the buffer's own storage
 *
 *   3200, 0, 4, 6     pattern is null (tested before the handle), or the buffer lies over caller
 *                     memory
 *   3200, 0, 70, 22   the pattern has no width, height or pixels (bitmap: 3200, 0, 1, 1)
 *   1001, 1, 4, 21    no memory for the block; the buffer is left as by buf32FillOneColor, but for
 *                     a pattern that it had
 *   1001, 1, 70, 23   no memory for the pattern's copy, which comes after the block; likewise
 */
Q32_API int Q32_CALL buf32FillPattern(HBUF32 buffer, const BUF32PATTERN *pattern);

/* --- bitmaps --------------------------------------------------------------------------------- */

/*
 * A bitmap buffer (BUF32_DIB) keeps its pixels where the caller has them: in a packed Windows
 * device-independent bitmap (a global memory block of header, colour table and pixels) or in a bare
 * block of pixels. Allocation rearranges them in place, from bitmap layout (bottom row first, rows
 * padded to 4 bytes, 24-bit pixels blue first) to buffer layout (top row first, rows packed to the
 * byte, 24-bit pixels red first); buf32DIBBufFree rearranges them back and returns the bitmap. In
 * between all functions apply; the image is one cell. Padding bytes keep whatever they hold.
 *
 * Accepted bitmaps: a header of 20 bytes or more that is no core header (12 bytes), compression 0
 * (BI_RGB) or the characters "R565"; width and height 1 to 32000, bottom row first (a negative
 * height is refused), 1 to 64 bits; the block holds all rows. The pixels lie behind the header and
 * a colour table of biClrUsed entries (when the header has that field and it is not 0), else
 * 2 ^ biBitCount entries under 16 bits, else none.
 *
 * A duplicate of a bitmap buffer that gets pixels of its own gets a moveable block of its own: the
 * source's whole block, with the pixels behind a colour table of biClrUsed entries (when the header
 * has that field and it is not 0), else none at 24 bits, else 2 ^ (biBitCount modulo 32) entries.
 * Mind 16, 32 and 64 bits: there the pixels lie farther back than the header says. From a bare
 * block the duplicate gets a header of 40 bytes and a colour table of zeros. Any function that
 * has to make such a block fails with one of these when it cannot:
 *
 *   1001, 0, 1, 5   there is no memory for the block
 *   1001, 0, 1, 7   it cannot be locked
 */

/*
 * Makes a buffer over a packed bitmap. The block is locked once and stays locked.
 *
 *   handle   receives the buffer's handle; 0 on failure. A null pointer: 3200, 0, 4, 7
 *   bitmap   memory handle of the block; the buffer owns it until buf32DIBBufFree gives it back
 *            (buf32Free frees it). On failure it stays the caller's, unlocked and unchanged.
 *
 *   1001, 1, 4, 14   the record cannot be had
 *   1001, 1, 4, 15   not a bitmap as above
 *   5402, 0, 4, 71; 5403, 0, 4, 72   wider, higher than 32000
 * No memory for the row table: 0 without a report.
 */
Q32_API int Q32_CALL buf32DIBBufAlloc(HBUF32 *handle, HGLOBAL bitmap);

/*
 * Makes a buffer over a block of pixels in bitmap layout without a header. The block stays the
 * caller's and must outlive the buffer.
 *
 *   handle           receives the buffer's handle; 0 on failure
 *   bits_per_pixel   1 to 64
 *   width, height    pixels, 1 to 32000
 *   pixels           height rows of (width x bits + 7) / 8 bytes, each padded to 4
 *
 *   5402, 0, 4, 71; 5403, 0, 4, 72   width, height over 32000
 *   3200, 0, 4, 7    bits, width or height below 1, bits over 64, or a null handle pointer
 *   3200, 0, 4, 8    pixels is null, or the rows do not fit between it and the end of the address
 *                    space
 *   1001, 1, 4, 14   the record cannot be had
 * No memory for the row table: 0 without a report.
 */
Q32_API int Q32_CALL buf32DIBMemBufAlloc(HBUF32 *handle, int bits_per_pixel, int width, int height,
                                         void *pixels);

/*
 * Rearranges the pixels of a bitmap buffer in place: to buffer layout, and back to bitmap layout.
 * After buf32DIBBufToDIB the buffer must be freed with buf32Free or go back through
 * buf32DIBToDIBBuf before anything else is done with it. Both write: sharers get pixels of their
 * own first (see above for the reports), and so does a duplicate.
 *
 * buf32DIBToDIBBuf returns 1, buf32DIBBufToDIB the bitmap's memory handle (null for a block of
 * pixels). A handle of 0, another type of buffer, no storage: 0 without a report.
 */
Q32_API int Q32_CALL buf32DIBToDIBBuf(HBUF32 buffer);
Q32_API HGLOBAL Q32_CALL buf32DIBBufToDIB(HBUF32 buffer);

/*
 * Returns the pixels to bitmap layout, stores the bitmap's memory handle (0 for a block of pixels,
 * and for a duplicate that has no pixels of its own), unlocks it once and frees the buffer. The
 * bitmap is the caller's again. Buffers that share its pixels get their own first.
 *
 *   bitmap   receives the handle; may be null
 *
 * A locked buffer: 1, but the buffer stays, in buffer layout, and *bitmap is not written; a locked
 * duplicate goes on sharing.
 * A handle that is not a live buffer: 0 without a report.
 *   3200, 0, 4, 16   the buffer is no bitmap
 *   3200, 0, 4, 6    the record was freed during the call
 *   1001, 0, 1, 5    a sharer's own block cannot be had (or, 1001, 0, 1, 7, locked); nothing is
 *                    freed
 */
Q32_API int Q32_CALL buf32DIBBufFree(HBUF32 buffer, HGLOBAL *bitmap);

/* --- memory, swap files ---------------------------------------------------------------------- */

/* As a limit of buf32VMData. */
#define BUF32_NO_LIMIT (sizeof(char) - 2) /* all bits of a size_t, without a cast */

/*
 * Reads (set = 0) or changes (set not 0) the settings that decide between memory and swap files.
 * Each pointer may be null: that setting is left alone. Always returns 1.
 *
 * At the start they are what the settings file in the Windows directory says, which counts limits
 * in kilobytes. A directory that it does not name, or that cannot be used, is written back there as
 * empty and switched off; to the 32-bit edition limits from 4 GB up are none. The first directory
 * is the system's temporary one.
 *
 *   memory_limit   bytes that buffers over 128 x 128 may take in virtual memory; BUF32_NO_LIMIT:
 *                  the physical memory size; 0: never in memory. Looked at while *memory_switch is
 *                  not 0. The comparison is signed: in the 32-bit edition limits from 2 GB up never
 *                  admit.
 *   file_limit     bytes of all swap files; BUF32_NO_LIMIT: unlimited; 0: none. Looked at while
 *                  *file_switch is not 0.
 *   directories    where swap files go. A directory is used when its switch is not 0, its volume is
 *                  not compressed and has room.
 */
Q32_API int Q32_CALL buf32VMData(int set, size_t *memory_limit, size_t *file_limit,
                                 BUF32DIRECTORIES *directories, uint32_t *memory_switch,
                                 uint32_t *file_switch);

/*
 * Stores the bytes of virtual memory that buffers have reserved and the bytes of swap files that
 * are mapped. Either pointer may be null. Returns its second argument (not a status).
 */
Q32_API size_t *Q32_CALL buf32GetVMDataExt(size_t *memory_in_use, size_t *mapped_bytes);

/*
 * Allocates a block to stage pixels of the buffer in: count cells (kind 1) or count rows (kind 2),
 * and 4 bytes more. Any other kind does nothing and returns 1.
 *
 *   moveable   not 0: a locked GMEM_MOVEABLE block (free with GlobalFree of its GlobalHandle);
 *              0: fixed and zeroed (free with GlobalFree)
 *   block      receives the address; null or a count below 1: nothing is allocated
 *   unit       receives the bytes of one cell or row; may be null
 *
 * The block is the caller's. A buffer of 0: 0 without a report.
 *   1001, 1, 4, 17   no memory
 */
Q32_API int Q32_CALL buf32GetMemSpace(HBUF32 buffer, int kind, int count, int moveable,
                                      void **block, size_t *unit);

Q32_END_DECLS

#endif
