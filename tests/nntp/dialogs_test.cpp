#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include "nntp/download_run.h"
#include "resources/resource.h"
#include "support/gui_helper.h"

TEST(Progress, AGroupStartSetsTheNameAndTheBarsSixteenBitRange)
{
    HWND dialog = CreateDialogParamW(
        GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROGRESS), nullptr,
        [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
    ASSERT_NE(dialog, nullptr);
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    ProgressDialogShowGroup(dialog, L"fj.comp.misc", 5);
    EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_PROGRESS_GROUP)), L"fj.comp.misc");
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 5);
    SendMessageW(bar, PBM_DELTAPOS, 2, 0);

    /* The bound travels in 16 bits: a range of 70000 shows as 4464. */
    ProgressDialogShowGroup(dialog, L"japan.test", 70000);
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 70000 - 65536);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 0);
    DestroyWindow(dialog);
}
