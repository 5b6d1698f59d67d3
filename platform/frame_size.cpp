#include "frame_size.h"

#include "menubar.h"

void SetDeviceFrameSize(HWND frame)
{
    LONG style = GetWindowLongW(frame, GWL_STYLE) | WS_CAPTION | WS_SYSMENU | WS_THICKFRAME | WS_MINIMIZEBOX;
    SetWindowLongW(frame, GWL_STYLE, style);
    RECT rc = {0, 0, kDeviceClientWidth, kDeviceClientHeight};
    AdjustWindowRectEx(&rc, style, FALSE, GetWindowLongW(frame, GWL_EXSTYLE));
    SetWindowPos(frame, nullptr, 0, 0, rc.right - rc.left, rc.bottom - rc.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

int MenuBarHeight(HWND bar)
{
    RECT rc;
    if (!bar || !GetWindowRect(bar, &rc))
        return 0;
    return rc.bottom - rc.top;
}

void LayoutFramePanes(HWND frame, const HWND *menu_bars, int bar_count, const HWND *panes, int pane_count)
{
    RECT client;
    GetClientRect(frame, &client);
    int bar_height = 0;
    for (int i = 0; i < bar_count; i++) {
        if (!menu_bars[i])
            continue;
        PlaceMenuBar(menu_bars[i]);
        if (IsWindowVisible(menu_bars[i]))
            bar_height = MenuBarHeight(menu_bars[i]);
    }
    int height = client.bottom - bar_height;
    for (int i = 0; i < pane_count; i++)
        if (panes[i])
            MoveWindow(panes[i], 0, 0, client.right, height > 0 ? height : 0, TRUE);
}
