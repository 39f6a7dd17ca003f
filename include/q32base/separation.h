/*
 * Q32BASE: colour separation, between red, green, blue and the inks of a press.
 *
 * Cyan, magenta and yellow are the complements of red, green and blue. What the three have in
 * common becomes black by a curve (black amount 30: BG[v] = 255 (v / 255)^(10 / 3)); 10 % of that
 * black is taken out of each of the three; and when all four together exceed the ink limit (350 %,
 * 893 of 1020), the three give up a third of the excess each. The way back adds the grey that the
 * black stands for, and does not put back what was taken out: there and back is not exact.
 *
 * RGB pixels are three bytes, CMYK pixels four: cyan, magenta, yellow, black, 255 being full ink.
 *
 * Nothing is checked or reported. Threads: qfdCalcBGCurve must have returned before another thread
 * converts; conversions may then run at once.
 */
#ifndef Q32BASE_SEPARATION_H
#define Q32BASE_SEPARATION_H

#include <q32base/types.h>

Q32_BEGIN_DECLS

/*
 * Makes the tables of the process; does nothing when they are there. Until it has been called there
 * is no black and no ink limit, and CMYK pixels give what their three inks say.
 */
Q32_API void Q32_CALL qfdCalcBGCurve(void);

/*
 * Separates one pixel. Returns cmyk.
 *
 *   rgb    3 bytes; may be cmyk
 *   cmyk   receives 4 bytes
 */
Q32_API uint8_t *Q32_CALL qfdClrRgbToCmyk(const uint8_t *rgb, uint8_t *cmyk);

/*
 * Puts one pixel together again.
 *
 *   cmyk   4 bytes; may be rgb
 *   rgb    receives 3 bytes
 */
Q32_API void Q32_CALL qfdClrCmykToRgb(const uint8_t *cmyk, uint8_t *rgb);

Q32_END_DECLS

#endif
