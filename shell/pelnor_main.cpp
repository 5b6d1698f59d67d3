#include <winsock2.h>

#include "pelnor_main.h"

#include <commctrl.h>
#include <wchar.h>

#include "resources/resource.h"
#include "shell/app_frame.h"
#include "base/message_box.h"
#include "base/res_text.h"

namespace {

BOOL CALLBACK FindFrame(HWND window, LPARAM found)
{
    wchar_t name[1024];
    if (GetClassNameW(window, name, 1024) > 0 && wcscmp(name, PELNOR_FRAME_CLASS) == 0) {
        SetForegroundWindow(window);
        PostMessageW(window, WM_PELNOR_ACTIVATE, 0, 0);
        *(bool *)found = true;
        return FALSE;
    }
    return TRUE;
}

/* A frame that could not be made leaves no window to wait for: the exit code
 * is that of a quit already posted (the user declined to configure), else 1. */
int ExitCodeWithoutFrame()
{
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        if (msg.message == WM_QUIT)
            return (int)msg.wParam;
    return 1;
}

} // namespace

bool ActivateRunningInstance(void)
{
    bool found = false;
    EnumWindows(FindFrame, (LPARAM)&found);
    return found;
}

int StartProcessServices(HINSTANCE instance)
{
    SetResourceInstance(instance);
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_WIN95_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES |
                                                 ICC_PROGRESS_CLASS | ICC_BAR_CLASSES};
    InitCommonControlsEx(&icc);
    WSADATA wsa;
    return WSAStartup(MAKEWORD(2, 2), &wsa) == 0;
}

int PelnorMain(HINSTANCE instance, int show)
{
    if (!StartProcessServices(instance)) {
        ShowResBox(nullptr, IDS_WINSOCK_FAILED, IDS_CAPTION_ERROR, MB_ICONERROR);
        return 1;
    }

    if (ActivateRunningInstance()) {
        WSACleanup();
        return 0;
    }

    AppFrame frame;
    AppFrameInit(&frame, instance);
    int exit_code;
    if (!RegisterFrameClass(instance) || !CreateMainFrame(&frame, show))
        exit_code = ExitCodeWithoutFrame();
    else
        exit_code = RunMessageLoop(&frame);

    WSACleanup();
    AppFrameDestroy(&frame);
    return exit_code;
}
