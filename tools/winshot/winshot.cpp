/*
 * winshot CLASS OUT.png [SECONDS] [--download] [--close]
 * Waits for a top-level window of the class to appear and finish its start-up
 * (its thread answers messages), then writes what it shows as a PNG.
 *   --download  first chooses "記事取得" (command 40003) in the window, waits
 *               for the run's closing message box and answers it, so that
 *               the picture shows the groups after a download
 *   --close     closes the window afterwards
 */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "png_write.h"

namespace {

const UINT kGetArticles = 40003;

/* Polls for a window; a tool outside the program has nothing to wait on. */
HWND WaitForWindow(const wchar_t *cls, const wchar_t *title, DWORD limit_ms)
{
    DWORD start = GetTickCount();
    HWND window;
    while (!(window = FindWindowW(cls, title))) {
        if (GetTickCount() - start > limit_ms)
            return nullptr;
        Sleep(100);
    }
    return window;
}

void WaitIdle(HWND window)
{
    DWORD_PTR result;
    SendMessageTimeoutW(window, WM_NULL, 0, 0, SMTO_NORMAL, 10000, &result);
}

struct BoxSearch {
    DWORD process;
    HWND box;
};

/* A dialog of the program's process other than the progress dialog: the
 * message box that ends a run. */
BOOL CALLBACK FindClosingBox(HWND window, LPARAM lp)
{
    BoxSearch *search = (BoxSearch *)lp;
    wchar_t cls[16] = L"", title[64] = L"";
    DWORD process = 0;
    GetClassNameW(window, cls, 16);
    GetWindowTextW(window, title, 64);
    GetWindowThreadProcessId(window, &process);
    if (process == search->process && wcscmp(cls, L"#32770") == 0 && wcscmp(title, L"Articles") != 0 &&
        IsWindowVisible(window)) {
        search->box = window;
        return FALSE;
    }
    return TRUE;
}

/* Runs a download in the frame and answers its closing box; false when no
 * box came in time. */
bool Download(HWND frame, DWORD limit_ms)
{
    BoxSearch search = {0, nullptr};
    GetWindowThreadProcessId(frame, &search.process);
    PostMessageW(frame, WM_COMMAND, MAKEWPARAM(kGetArticles, 0), 0);
    DWORD start = GetTickCount();
    while (EnumWindows(FindClosingBox, (LPARAM)&search), !search.box) {
        if (GetTickCount() - start > limit_ms)
            return false;
        Sleep(200);
    }
    wchar_t title[64] = L"";
    GetWindowTextW(search.box, title, 64);
    fwprintf(stdout, L"winshot: the run ended with a box captioned \"%ls\"\n", title);
    PostMessageW(search.box, WM_COMMAND, IDOK, 0);
    WaitIdle(frame);
    return true;
}

} // namespace

int wmain(int argc, wchar_t **argv)
{
    if (argc < 3) {
        fwprintf(stderr, L"usage: winshot CLASS OUT.png [SECONDS] [--download] [--close]\n");
        return 2;
    }
    DWORD limit = (argc > 3 ? (DWORD)_wtoi(argv[3]) : 60) * 1000;
    bool close = false, download = false;
    for (int i = 4; i < argc; i++) {
        close = close || wcscmp(argv[i], L"--close") == 0;
        download = download || wcscmp(argv[i], L"--download") == 0;
    }

    HWND window = WaitForWindow(argv[1], nullptr, limit);
    if (!window) {
        fwprintf(stderr, L"winshot: no window of class %ls\n", argv[1]);
        return 1;
    }
    WaitIdle(window);
    SetForegroundWindow(window);
    WaitIdle(window);

    int status = 0;
    if (download && !Download(window, limit)) {
        fwprintf(stderr, L"winshot: the download did not end in time\n");
        status = 1;
    }
    if (status == 0 && !CaptureWindowPng(window, argv[2])) {
        fwprintf(stderr, L"winshot: capture failed (%lu)\n", GetLastError());
        status = 1;
    }
    if (close)
        PostMessageW(window, WM_CLOSE, 0, 0);
    return status;
}
