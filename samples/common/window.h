/* The part of a window that is the same in every program. */
#ifndef SAMPLES_WINDOW_H
#define SAMPLES_WINDOW_H

#include <q32base.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Opens a window whose client area has a size in pixels. Returns null after a report. */
HWND window_open(const char *title, int width, int height, WNDPROC handle);

/* Hands messages to the windows until one has called PostQuitMessage. Returns 1. */
int window_loop(void);

/*
 * Has the client area painted and puts what it shows into a picture at (x, y). Returns 1, or 0
 * after a report.
 */
int window_copy(HWND window, HBUF32 picture, int x, int y);

#ifdef __cplusplus
}
#endif

#endif
