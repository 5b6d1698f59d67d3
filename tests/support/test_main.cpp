#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include "shell/res_text.h"

int wmain(int argc, wchar_t **argv)
{
    testing::InitGoogleTest(&argc, argv);
    /* The test program carries the program's resources. */
    SetResourceInstance(GetModuleHandleW(nullptr));
    INITCOMMONCONTROLSEX icc = {sizeof(icc), ICC_WIN95_CLASSES | ICC_LISTVIEW_CLASSES | ICC_TREEVIEW_CLASSES};
    InitCommonControlsEx(&icc);
    return RUN_ALL_TESTS();
}
