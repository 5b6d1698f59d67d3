/*
 * Windows that keep one record of their own (a view, the frame): the
 * record's address comes as CreateWindowEx's last argument, is kept in the
 * window's extra bytes from WM_CREATE on and read back with every message.
 *
 *   LRESULT CALLBACK ViewProc(HWND window, UINT msg, WPARAM wp, LPARAM lp)
 *   {
 *       View *view = WindowRecord<View>(window, msg, lp);  // null before WM_CREATE
 */
#ifndef PELNOR_RECORD_WINDOW_H
#define PELNOR_RECORD_WINDOW_H

#include <windows.h>

template <typename Record> Record *WindowRecord(HWND window, UINT msg = 0, LPARAM lp = 0)
{
    if (msg == WM_CREATE) {
        Record *record = (Record *)((CREATESTRUCTW *)lp)->lpCreateParams;
        SetWindowLongPtrW(window, 0, (LONG_PTR)record);
        return record;
    }
    return (Record *)GetWindowLongPtrW(window, 0);
}

/* Registers a class of such windows on a white background; 0 with the last
 * error when the system refuses it. */
inline int RegisterRecordWindowClass(HINSTANCE instance, const wchar_t *name, WNDPROC procedure, UINT style)
{
    WNDCLASSW wc = {};
    wc.style = style;
    wc.lpfnWndProc = procedure;
    wc.cbWndExtra = sizeof(void *);
    wc.hInstance = instance;
    wc.hbrBackground = (HBRUSH)GetStockObject(WHITE_BRUSH);
    wc.lpszClassName = name;
    return RegisterClassW(&wc) != 0;
}

/* A control's notification to its parent, as the system's controls send
 * theirs: WM_COMMAND with the control's id and the code. */
inline void NotifyParent(HWND parent, UINT control_id, UINT code, HWND control)
{
    SendMessageW(parent, WM_COMMAND, MAKEWPARAM(control_id, code), (LPARAM)control);
}

#endif
