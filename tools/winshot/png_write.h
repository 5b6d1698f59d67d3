/*
 * Screenshots of windows as PNG files, for the tests and the main job.
 */
#ifndef PELNOR_PNG_WRITE_H
#define PELNOR_PNG_WRITE_H

#include <windows.h>

/* Writes 24-bit RGB pixels (rows top-down, 3 bytes each, no padding) as a
 * PNG file with uncompressed deflate blocks. Returns 1, or 0 with the last
 * error set. */
int WritePngFile(const wchar_t *path, int width, int height, const unsigned char *rgb);

/* Copies what the screen shows of a window (frame and children) into a PNG
 * file. Returns 1, or 0 with the last error set. */
int CaptureWindowPng(HWND window, const wchar_t *path);

#endif
