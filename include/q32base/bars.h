/*
 * Q32BASE: colour bars, the ramps that a colour picker shows.
 *
 * Three pictures, each into a buffer or straight onto a device context:
 *
 *     grey bar     from one grey to another
 *     colour bar   from one colour to another, channel by channel, or once around the colour circle
 *     hue field    all hues along one side, saturation and brightness across
 *
 * Ramps. A ramp of n steps from a to b is a + i x (b - a) / n + 0.5, truncated, at step i = 0 to
 * n - 1: it stops one step before b. A grey bar of 256 columns from 0 to 255 ends at 254. The value
 * runs in double precision, the step being added once for each.
 *
 * Colours are COLORREF values: 0x00bbggrr; the upper 8 bits are ignored.
 *
 * Buffers. Of 8 bits for the grey bar and 24 for the others. *buffer 0: one of width x height is
 * made, the caller's, to be freed with buf32Free; when the call fails it is freed again and 0
 * stored. Otherwise the buffer that *buffer names is filled at its own size, width and height are
 * not looked at, and when the call fails it stays the caller's.
 *
 * Device contexts. The picture is shown through a display run (display.h) from the top down, within
 * the rectangle. When a row cannot be drawn the run is left open and the result is 0.
 *
 * Threads. Buffers are made, looked up and used as buffers.h says; device contexts are used by the
 * one thread that paints (display.h).
 *
 * Results. 1 is success; 0 is failure, reported as listed ("message, severity, module, point", see
 * errors.h) or not reported where that is said. A buffer that cannot be made, locked, written or
 * unlocked adds the reports of buf32Alloc, buf32Lock, buf32Line and buf32Unlock, those first. A
 * null pointer (buffer, rectangle), a null device context, and a handle that is not a live buffer:
 * 0 without a report of their own.
 */
#ifndef Q32BASE_BARS_H
#define Q32BASE_BARS_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/*
 * The grey bar.
 *
 *   from, to     greys, 0 to 255 (low 8 bits)
 *   horizontal   not 0: the ramp runs from left to right; 0: from the top down
 *
 *   1001, 1, 8, 1    q32CreateGrayBarImage: the buffer cannot be made
 *   3200, 1, 8, 2    q32CreateGrayBarImage: its pixels have not 1 byte
 *   1001, 1, 8, 3    q32CreateGrayBarImage: no memory for a row
 *   1001, 1, 8, 10   q32RectDrawGrayBar: no memory for a row
 *   not reported     q32RectDrawGrayBar: the run cannot be opened, or a row not drawn
 */
Q32_API int Q32_CALL q32CreateGrayBarImage(HBUF32 *buffer, int width, int height, int from, int to,
                                           int horizontal);
Q32_API int Q32_CALL q32RectDrawGrayBar(HDC dc, const RECT *rectangle, int from, int to,
                                        int horizontal);

/* Styles of the hue field. */
#define BAR_HUE_ACROSS      1 /* hue from left to right; rows black - colour - white */
#define BAR_HUE_ACROSS_BACK 2 /* the same from right to left */
#define BAR_HUE_DOWN        3 /* hue from the top down; columns black - colour - white */
#define BAR_HUE_DOWN_BACK   4 /* hue from the bottom up; columns white - colour - black */

/*
 * The hue field: hue from 0 to 359 degrees along one side, n steps across. The first (n + 1) / 2
 * of those ramp brightness from 0 to 255 at saturation 255, the other n / 2 saturation from 255 to
 * 0 at brightness 255; in BAR_HUE_DOWN_BACK the first ramp saturation from 0 to 255, the others
 * brightness from 255 to 0.
 *
 * Hue H, saturation S and brightness V become red, green and blue in whole numbers:
 * d = (V S + 127) / 255, m = V - d, f = ((H mod 60) d + 30) / 60, up = m + f, down = V - f, and by
 * H / 60: (V, up, m), (down, V, m), (m, V, up), (m, down, V), (up, m, V), (V, m, down).
 *
 *   style   BAR_ value; for any other nothing is drawn and the result is 1
 *
 *   1001, 1, 8, 4    q32CreateHSBBarImage: the buffer cannot be made
 *   3200, 1, 8, 5    q32CreateHSBBarImage: its pixels have not 3 bytes
 *   1001, 1, 8, 6    q32CreateHSBBarImage: no memory for a row
 *   1001, 1, 8, 11   q32RectDrawHSBBar: no memory for a row
 *   not reported     q32RectDrawHSBBar: as above
 */
Q32_API int Q32_CALL q32CreateHSBBarImage(HBUF32 *buffer, int style, int width, int height);
Q32_API int Q32_CALL q32RectDrawHSBBar(HDC dc, const RECT *rectangle, int style);

/*
 * The colour bar.
 *
 *   from, to     colours
 *   horizontal   not 0: the ramp runs from left to right; 0: from the top down
 *   rainbow      not 0: hues from 0 to 359 degrees, saturation and brightness 255, instead of from
 *                and to
 *
 *   1001, 1, 8, 7    q32CreateColorBarImage: the buffer cannot be made
 *   3200, 1, 8, 8    q32CreateColorBarImage: its pixels have not 3 bytes
 *   1001, 1, 8, 9    q32CreateColorBarImage: no memory for a row
 *   1001, 1, 8, 12   q32RectDrawColorBar: no memory for a row
 *   not reported     q32RectDrawColorBar: as above
 */
Q32_API int Q32_CALL q32CreateColorBarImage(HBUF32 *buffer, int width, int height, COLORREF from,
                                            COLORREF to, int horizontal, int rainbow);
Q32_API int Q32_CALL q32RectDrawColorBar(HDC dc, const RECT *rectangle, COLORREF from, COLORREF to,
                                         int horizontal, int rainbow);

Q32_END_DECLS

#endif
