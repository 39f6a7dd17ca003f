/*
 * Pictures for the samples, in buffers of 24 bits a pixel: red, green, blue. All functions return
 * 1, or 0 after a report.
 */
#ifndef SAMPLES_PICTURE_H
#define SAMPLES_PICTURE_H

#include <q32base.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Makes a buffer with the picture of a file: PNG, JPEG, TIFF, BMP, whatever the Windows Imaging
 * Component reads. Without a path the library draws one. The buffer is the caller's.
 */
int picture_load(HBUF32 *picture, const char *path);

/* Saves a picture as PNG. A file that could not be finished is removed. */
int picture_save(HBUF32 picture, const char *path);

/* Fills a rectangle with a colour; what lies outside the picture is left out. */
int picture_fill(HBUF32 picture, int x, int y, int width, int height, COLORREF colour);

#ifdef __cplusplus
}
#endif

#endif
