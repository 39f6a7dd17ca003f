/*
 * Q32BASE: the display: showing pictures, palettes, gamma, dithering, device types, and colour
 * management.
 *
 * The library keeps one description of the display for the process: its colour class (the device
 * type), its gamma, and the palettes and tables that pictures are shown with. It detects the
 * display when it is loaded; programs may force another type, to see what a user of such a display
 * would see.
 *
 * Palettes are GDI palettes of version 0x300 whose entries have no flags. Those that functions here
 * create are the caller's, to be deleted with DeleteObject; the library's own are not handed out.
 *
 * Realizing is the library's part. Whenever it draws rows through a palette (the program's, or one
 * of its own) it selects that into the run's device context, realizes it, and selects what was
 * there before; disp32ShowInit does neither. A program answers WM_QUERYNEWPALETTE, and
 * WM_PALETTECHANGED of another window, by painting again. As realizing sends that message, windows
 * may paint inside disp32ShowData and disp32ShowEnd.
 *
 * Threads. The state is one for the process and not locked: use it from the one thread that paints,
 * and change the device type while no display run is open. disp32PalDuplicate and disp32PalSize
 * know nothing but their palette, and may be called by any thread.
 *
 * Results. 1 is success; 0 is failure, reported as listed ("message, severity, module, point", see
 * errors.h) or not reported where that is said.
 */
#ifndef Q32BASE_DISPLAY_H
#define Q32BASE_DISPLAY_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/* --- showing pictures ------------------------------------------------------------------------ */

/*
 * Handle of a display run: rows of pixels on their way to a rectangle of a device context. 0 means
 * none. Made by disp32ShowInit or disp32ShowInitEx, given back by disp32ShowEnd; trusted, so that a
 * run must not be used once it has ended.
 *
 * One call opens the run, any number of disp32ShowData bring its rows, and one disp32ShowEnd draws
 * what is still held and closes it. A run belongs to the thread that opened it, and its device
 * context must live until it has ended. While a run is open the device type must not be changed,
 * and no other thread may show anything. The gamma may be changed: see disp32NewScreenGamma.
 *
 * Rows are held in a strip of up to 48 KiB (24 KiB of bits) and drawn together with one call of the
 * graphics interface when it is full. Strips of rows wider than that hold two. A row takes, by what
 * it is drawn as:
 *
 *     24 bits             3 bytes a pixel, rounded up to a multiple of 4 bytes
 *     through a palette   a byte a pixel, rounded up likewise
 *     black and white     (width + 15) / 16 x 2 bytes
 *     16 colours          four times as much
 */
typedef uintptr_t HDISPRUN;

/*
 * Opens a run.
 *
 *   run        receives the handle; 0 on failure
 *   dc         window or memory device context
 *   depth      bits of a source pixel:
 *                24   red, green, blue, a byte each
 *                16   little-endian word: red in bits 14-10, green 9-5, blue 4-0; bit 15 ignored.
 *                     A field f counts as the byte (f << 3) | 7
 *                8    index into palette; without a palette, a grey from black to white
 *                1    eight pixels a byte, bit 7 first; a set bit is shown white, a clear one black
 *   left, top, right, bottom
 *              where to draw, in the context's coordinates; right and bottom exclusive. An empty
 *              rectangle takes no rows and draws nothing
 *   palette    of pixels of 8 bits; null: they are greys. Must live until the run has ended.
 *              Indices beyond its entries are black; more entries than 256 are not used
 *   palette_option
 *              concerns 8 bits on devices of 256 colours and less (but 16):
 *                with a palette      not 0: its colours are dithered into the library's cube of
 *                                    6 x 6 x 6 colours. 0: they are shown through the palette
 *                without             not 0: 16 levels of grey. 0: 128
 *   force_background
 *              the last argument of SelectPalette
 *
 * What is drawn follows from the device type (disp32SetDevType):
 *
 *     source      device                  drawn as
 *     1 bit       any                     black and white
 *     24, 16      16 colours              red, green, blue each on or off by an 8 x 8 matrix of
 *                                         thresholds, and a fourth plane where any is on
 *     8           16 colours              with a palette as 24 bits; without, black and white by
 *                                         the same matrix
 *     24, 16      256 colours and less    the cube of 6 x 6 x 6, dithered by an 8 x 8 matrix
 *     8           256 colours and less    see palette_option
 *     24, 16      true colour             24 bits, corrected for gamma
 *     24, 16      high colour             the same in samples of 0 to 248, dithered to 5 bits by a
 *                                         4 x 4 matrix unless disp32BeHiColorDither says no
 *     8           true, high colour       with a palette through it, whatever palette_option says;
 *                                         without as 24 bits
 *
 * Matrices are anchored at the context's origin: a picture that is drawn in pieces has no seams.
 *
 * Returns 0 without a report, and stores 0 where run is not null, when run or dc is null, for any
 * other depth, and when memory or something of the graphics interface cannot be had.
 */
Q32_API int Q32_CALL disp32ShowInit(HDISPRUN *run, HDC dc, int depth, int left, int top, int right,
                                    int bottom, HPALETTE palette, int palette_option,
                                    int force_background);

/*
 * Opens a run whose matrices are anchored elsewhere: pixel (left, top) takes its threshold from
 * column origin_x and row origin_y of the matrix, modulo its side. A picture that scrolls keeps its
 * pattern when these are coordinates within the picture.
 */
Q32_API int Q32_CALL disp32ShowInitEx(HDISPRUN *run, HDC dc, int depth, int left, int top,
                                      int right, int bottom, HPALETTE palette, int palette_option,
                                      int force_background, int origin_x, int origin_y);

/*
 * Brings rows. They are drawn below those that came before, or above in the other direction (see
 * disp32SetAttrib); rows beyond the end of the rectangle are ignored.
 *
 *   image          row k begins at image + k x stride
 *   first_column   source column of the left edge; as many columns are drawn as the rectangle has
 *   first_row      k of the first row to bring: where to read in the image, not where to draw
 *   rows           how many follow, in ascending order; 0 and below: none
 *   stride         bytes from one row to the next; negative: the image lies bottom up; 0: all rows
 *                  are the one at image
 *
 * Returns 0 without a report for a handle of 0 or a null image, and when a full strip could not be
 * drawn: rows of this call from there on are lost, the next call tries to draw it again.
 */
Q32_API int Q32_CALL disp32ShowData(HDISPRUN run, const void *image, int first_column,
                                    int first_row, int rows, int stride);

/*
 * Draws what is still held, and gives everything back. Returns 0 without a report for a handle of
 * 0; else 1, also when it could not be drawn.
 */
Q32_API int Q32_CALL disp32ShowEnd(HDISPRUN run);

/* Attributes of a run. */
#define DISP32_DIRECTION  1 /* 1: rows come from the top down. -1: from the bottom up */
#define DISP32_STRIP_ROWS 2 /* rows that a strip holds */

/*
 * Changes a run that has taken no rows yet; rows that it holds are lost, but count as taken.
 *
 *   DISP32_DIRECTION    1 (as runs are opened) or -1; anything else returns 0. The run's value:
 *                       nothing happens. The first row that comes still takes the thresholds of the
 *                       rectangle's top row, the next one those of the row below
 *   DISP32_STRIP_ROWS   taken only from 1 to below what the strip holds, and up to 49152 bytes
 *   any other           nothing happens
 *
 * Returns 0 without a report for a handle of 0, else 1; also when the strip could not be locked
 * anew: disp32ShowData returns 0 then.
 */
Q32_API int Q32_CALL disp32SetAttrib(HDISPRUN run, int attribute, int value);

/* --- device types ---------------------------------------------------------------------------- */

/* Colour classes, by bits per pixel x planes of "DISPLAY". */
#define DISP32_MONOCHROME      0 /* 1, 2, 5 to 7 */
#define DISP32_EIGHT_COLOURS   1 /* 3 */
#define DISP32_SIXTEEN_COLOURS 2 /* 4 */
#define DISP32_PALETTE         3 /* 8: 256 colours through a palette */
#define DISP32_TRUE_COLOUR     4 /* 9 and more, but for 16; 15, too */
#define DISP32_HIGH_COLOUR     5 /* 16 */

#define DISP32_DETECT (-1)

/*
 * Changes the device type, and with it the palettes and tables of the library.
 *
 *   type   DISP32_DETECT: detects the display, and reads gamma and the high-colour dither switch
 *          from the settings file, as at the start of the library. A DISP32_ type: forces it (its
 *          bits per pixel are then 1, 4, 4, 8, 24, 16, its planes 1). Any other value: what was
 *          detected last, without looking again.
 *
 * The type that the library has already: 1, nothing happens. Returns 0 without a report when a
 * palette cannot be made: the type is then changed all the same, and that palette missing. The
 * gamma stays as it is, but for DISP32_DETECT.
 */
Q32_API int Q32_CALL disp32SetDevType(int type);

/*
 * The display as the library sees it. Sizes are what GetDeviceCaps said of "DISPLAY" when it was
 * detected, whatever type is forced.
 */
typedef struct DispDevInfo {
    int32_t type;           /* DISP32_ */
    int32_t width_mm;       /* HORZSIZE */
    int32_t height_mm;      /* VERTSIZE */
    int32_t dpi_x;          /* LOGPIXELSX */
    int32_t dpi_y;          /* LOGPIXELSY */
    int32_t width;          /* HORZRES, pixels */
    int32_t height;         /* VERTRES, pixels */
    int32_t bits_per_pixel; /* of the type, when it is forced */
    int32_t planes;         /* 1, when it is forced */
    int32_t red_gamma;      /* percent, see disp32NewScreenGamma */
    int32_t green_gamma;
    int32_t blue_gamma;
} DispDevInfo;

/* Fills a record. Returns 0 without a report for a null pointer. */
Q32_API int Q32_CALL disp32GetDevInfo(DispDevInfo *info);

/* --- gamma ----------------------------------------------------------------------------------- */

/*
 * Corrects what is shown for the screen's gamma: the palettes of the library and the tables of
 * true- and high-colour displays. On displays of up to sixteen colours the library's palettes
 * follow at the next change of the device type.
 *
 * Runs that are open follow at once. On true- and high-colour displays rows are corrected as the
 * gamma is when disp32ShowData brings them; what the run holds by then stays. On displays of 256
 * colours it is the palette that is corrected: what the run holds is drawn in the new colours.
 *
 *   red, green, blue   hundredths of an exponent; 180 corrects nothing. The percentage p = gamma /
 *                      1.8, truncated, is what disp32GetDevInfo tells; level v of 0 to 255 becomes
 *                      255 x (v / 255) to the power of 100 / p, truncated (p below 1 counts as 1)
 *
 * Returns 1.
 */
Q32_API int Q32_CALL disp32NewScreenGamma(int red, int green, int blue);

/* --- palettes -------------------------------------------------------------------------------- */

/*
 * A ramp of greys from black to white: level i is i x 255 / (levels - 1), truncated.
 *
 *   palette     null: a new palette is created. Otherwise its entries are rewritten from 0 on, as
 *               far as it has them
 *   levels      2 to 256; values below count as 2, above as 256
 *   with_gamma  not 0: each channel is corrected
 *
 * Returns the palette, a given one also when the system does not take the entries; null without a
 * report, the palette unchanged, when there is no memory or a new one cannot be created.
 */
Q32_API HPALETTE Q32_CALL disp32CreateGrayPalette(HPALETTE palette, int levels, int with_gamma);

/* Colour cubes: levels of red, green and blue; entry (r x greens + g) x blues + b. */
#define DISP32_CUBE_676 2 /* 252 colours */
#define DISP32_CUBE_666 3 /* 216 colours */
/* any other: 8 x 8 x 4, 256 colours */

/*
 * A palette of colours.
 *
 *   palette     as above
 *   mode        a DISP32_CUBE_ value; for 256 entries and more
 *   entries     2: black and white, never corrected. 8: the colours of eight-colour displays. 256
 *               to 65535: a colour cube, then white up to entry 255, then black. Others: the first
 *               of the colours of sixteen-colour displays, black beyond 16. Below 1: nothing is
 *               written
 *   with_gamma  not 0: each channel is corrected
 *
 * Returns the palette; null without a report in the same cases, for more than 65535 entries, and
 * for a new palette of less than 1.
 */
Q32_API HPALETTE Q32_CALL disp32CreateColorPalette(HPALETTE palette, int mode, int entries,
                                                   int with_gamma);

/*
 * A copy of a palette, its colours corrected for the screen's gamma and its entries' flags 0.
 *
 *   info   receives the display as disp32GetDevInfo tells it; may be null
 *
 * Returns the new palette; null without a report, the record unchanged, when the palette cannot be
 * read, or for a lack of memory.
 */
Q32_API HPALETTE Q32_CALL disp32GammaColorPalette(HPALETTE palette, DispDevInfo *info);

/*
 * A copy of a palette, with the flags of its entries. Returns null when
 *   3200, 0, 5, 1   the palette cannot be read
 *   3200, 1, 5, 2   the copy cannot be created
 *   not reported    there is no memory
 */
Q32_API HPALETTE Q32_CALL disp32PalDuplicate(HPALETTE palette);

/*
 * The number of a palette's entries (low 16 bits), or -1 when
 *   3200, 1, 5, 3   the palette cannot be read
 */
Q32_API int Q32_CALL disp32PalSize(HPALETTE palette);

/* --- dithering ------------------------------------------------------------------------------- */

/*
 * Switches dithering on high-colour displays on (not 0) or off (0). Until a program says otherwise
 * it is what the settings file says, and on (1) without a setting. Concerns what is opened
 * afterwards. Returns the switch as it was set before.
 */
Q32_API int Q32_CALL disp32BeHiColorDither(int on);

/* --- colour management ----------------------------------------------------------------------- */

/* Flags of DispIcmMode. */
#define DISP32_ICM_DISPLAY_PROFILE 1 /* apply the display profile to what is shown */
#define DISP32_ICM_MATCH_TARGET    2 /* and match it to the target profile */

/*
 * Settings of colour management. Texts are zero-terminated; the library keeps copies of its own,
 * and hands those out in disp32GetICMMode. A copy is good until disp32SetICMMode sets another text
 * in its place.
 */
typedef struct DispIcmMode {
    int32_t value;               /* kept for the caller, as all that has no comment */
    const char *text1;           /* texts may be null */
    const char *display_profile; /* file name in the folder of the display's profile */
    const char *text3;
    const char *text4;
    const char *target_profile; /* file name in the same folder */
    uint32_t flags;             /* DISP32_ICM_; one that the system refuses to follow is cleared */
    int32_t value2;
    int32_t value3;
} DispIcmMode;

/*
 * Sets colour management. The first call asks the system for the display's profile and remembers
 * its folder; without one, profiles are looked for under their names alone. Returns 0 without a
 * report, nothing changed, for a null pointer or a lack of memory.
 *
 * While DISP32_ICM_DISPLAY_PROFILE is set, opening a run gives its device context the display
 * profile and turns colour management on, and ending it turns that off. With
 * DISP32_ICM_MATCH_TARGET and a target profile it is matched in between to a context on the
 * display, made once, that every run tells the target profile. Whatever the system refuses, the run
 * opens. A display profile that it refuses is tried again by the next run; any other refusal clears
 * its flag until this function sets it again.
 */
Q32_API int Q32_CALL disp32SetICMMode(const DispIcmMode *settings);

/*
 * Fills a record with the settings. Returns 0 without a report, the record filled with zeros, when
 * none have been set; 0 for a null pointer.
 */
Q32_API int Q32_CALL disp32GetICMMode(DispIcmMode *settings);

Q32_RECORD_BYTES(DispDevInfo, 48, 48);
Q32_RECORD_BYTES(DispIcmMode, 36, 64);

Q32_END_DECLS

#endif
