#include <gtest/gtest.h>
#include <winsock2.h>
#include <windows.h>
#include <commctrl.h>

#include "base/res_text.h"

int wmain(int argc, wchar_t **argv)
{
    testing::InitGoogleTest(&argc, argv);
    /* The test program carries the program's resources. */
    SetResourceInstance(GetModuleHandleW(nullptr));
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_WIN95_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES};
    InitCommonControlsEx(&icc);
    /* As the program's entry does, before any window or socket. */
    WSADATA wsa;
    WSAStartup(MAKEWORD(2, 2), &wsa);
    return RUN_ALL_TESTS();
}
