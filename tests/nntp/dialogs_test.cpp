#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <stdlib.h>

#include "nntp/download_run.h"
#include "nntp/password_prompt.h"
#include "resources/resource.h"
#include "support/gui_helper.h"

/* The user is shown and the password given back in Shift_JIS. */
TEST(PasswordPrompt, ShowsTheUserAndGivesTheTypedPasswordOnOk)
{
    std::wstring shown_user;
    ModalWatcher watcher;
    watcher.SetDialogHandler([&](HWND dialog) {
        RunSoon([&, dialog] {
            shown_user = WindowText(GetDlgItem(dialog, IDC_PASSWORD_USER));
            SetDlgItemTextW(dialog, IDC_PASSWORD, L"ひみつpass");
            PostMessageW(dialog, WM_COMMAND, IDOK, 0);
        });
    });
    PasswordPrompt prompt = {GetModuleHandleW(nullptr), "\x91\xbe\x98\x59taro", nullptr}; /* 太郎taro */
    EXPECT_EQ(RunPasswordPrompt(&prompt, nullptr), 1);
    EXPECT_EQ(shown_user, L"太郎taro");
    ASSERT_NE(prompt.password, nullptr);
    EXPECT_STREQ(prompt.password, "\x82\xd0\x82\xdd\x82\xc2pass"); /* ひみつ in Shift_JIS */
    free(prompt.password);
}

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
