/*
 * The frame's size on the desktop: the device's 240 x 320 client area by
 * default, a resizable border, and the panes laid out above the visible
 * menu bar whenever the frame is resized.
 */
#ifndef PELNOR_FRAME_SIZE_H
#define PELNOR_FRAME_SIZE_H

#include <windows.h>

enum { kDeviceClientWidth = 240, kDeviceClientHeight = 320 };

/* Gives the frame a sizing border and a client area of 240 x 320. */
void SetDeviceFrameSize(HWND frame);

/* On WM_SIZE: puts every menu bar along the bottom and sizes each pane to the
 * client area above the visible bar. */
void LayoutFramePanes(HWND frame, const HWND *menu_bars, int bar_count, const HWND *panes, int pane_count);

/* Height of a menu bar from its window rectangle (0 for none). */
int MenuBarHeight(HWND bar);

#endif
