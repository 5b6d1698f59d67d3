/*
 * winshot CLASS OUT.png [SECONDS] [--close]
 * Waits for a top-level window of the class to appear and finish its start-up
 * (its thread answers messages), then writes what it shows as a PNG; with
 * --close it then closes the window.
 */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "png_write.h"

int wmain(int argc, wchar_t **argv)
{
    if (argc < 3) {
        fwprintf(stderr, L"usage: winshot CLASS OUT.png [SECONDS] [--close]\n");
        return 2;
    }
    DWORD limit = (argc > 3 ? (DWORD)_wtoi(argv[3]) : 60) * 1000;
    bool close = argc > 4 && wcscmp(argv[4], L"--close") == 0;
    DWORD start = GetTickCount();
    HWND window = nullptr;
    while (!(window = FindWindowW(argv[1], nullptr))) {
        if (GetTickCount() - start > limit) {
            fwprintf(stderr, L"winshot: no window of class %ls\n", argv[1]);
            return 1;
        }
        Sleep(100);
    }
    /* The window's thread has handled everything queued before this. */
    DWORD_PTR result;
    SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 10000, &result);
    SetForegroundWindow(window);
    SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 10000, &result);
    if (!CaptureWindowPng(window, argv[2])) {
        fwprintf(stderr, L"winshot: capture failed (%lu)\n", GetLastError());
        if (close)
            PostMessageW(window, WM_CLOSE, 0, 0);
        return 1;
    }
    if (close)
        PostMessageW(window, WM_CLOSE, 0, 0);
    return 0;
}
