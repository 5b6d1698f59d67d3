/*
 * Desktop stand-in for the Pocket PC menu bar (aygshell's SHCreateMenuBar).
 * The bar is built from a SHMENUBAR RCDATA resource and the MENU resource of
 * the same id: image buttons from a bitmap strip, text buttons from the
 * string table, drop-down buttons that open a popup of that menu. On the
 * desktop it is a child window drawn along the bottom of its parent.
 */
#ifndef PELNOR_MENUBAR_H
#define PELNOR_MENUBAR_H

#include <windows.h>

#ifndef SHCMBM_GETSUBMENU
#define SHCMBM_GETSUBMENU (WM_USER + 401) /* lParam: the button's command id */
#endif

struct SHMENUBARINFO {
    DWORD cbSize;
    HWND hwndParent;
    DWORD dwFlags;
    UINT nToolBarId;   /* SHMENUBAR and MENU resource id */
    HINSTANCE hInstRes;
    int nBmpId;        /* bitmap strip of 16 x 16 images, or 0 */
    int cBmpImages;
    HWND hwndMB;       /* out: the menu bar */
    COLORREF clrBk;
};

/* Creates the bar (visible) at the bottom of hwndParent. Returns TRUE and
 * the window in hwndMB, or FALSE with the last error set. */
BOOL SHCreateMenuBar(SHMENUBARINFO *info);

/* Moves a bar to the bottom of its parent's client area, full width, and has
 * it drawn whole there. */
void PlaceMenuBar(HWND bar);

/* Screen rectangle of the button with this command id, for tests to find
 * where a user taps it. Returns FALSE when there is no such button. */
BOOL GetMenuBarButtonRect(HWND bar, UINT command, RECT *rect);

#endif
