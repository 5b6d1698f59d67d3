#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <stdlib.h>

#include "nntp/password_prompt.h"
#include "nntp/progress.h"
#include "resources/resource.h"
#include "support/gui_helper.h"

namespace {

/* What the prompt showed, read once its modal loop runs. */
HWND g_prompt;
std::wstring g_shown_user;
bool g_focus_on_password;
bool g_masked;

void CALLBACK TypePasswordAndOk(HWND, UINT, UINT_PTR timer, DWORD)
{
    KillTimer(nullptr, timer);
    g_shown_user = WindowText(GetDlgItem(g_prompt, IDC_PASSWORD_USER));
    HWND edit = GetDlgItem(g_prompt, IDC_PASSWORD);
    g_focus_on_password = GetFocus() == edit;
    g_masked = (GetWindowLongW(edit, GWL_STYLE) & ES_PASSWORD) != 0;
    SetWindowTextW(edit, L"ひみつpass");
    PostMessageW(g_prompt, WM_COMMAND, IDOK, 0);
}

void CALLBACK TypeAndEscape(HWND, UINT, UINT_PTR timer, DWORD)
{
    KillTimer(nullptr, timer);
    HWND edit = GetDlgItem(g_prompt, IDC_PASSWORD);
    SetWindowTextW(edit, L"typed");
    PostMessageW(edit, WM_KEYDOWN, VK_ESCAPE, 0x00010001);
}

} // namespace

TEST(PasswordPrompt, OkGivesTheTypedPasswordAsNarrowText)
{
    ModalWatcher watcher;
    watcher.SetDialogHandler([&](HWND dialog) {
        g_prompt = dialog;
        SetTimer(nullptr, 0, 0, TypePasswordAndOk);
    });
    PasswordPrompt prompt = {GetModuleHandleW(nullptr), "\x91\xbe\x98\x59taro", nullptr}; /* 太郎taro */
    EXPECT_EQ(RunPasswordPrompt(&prompt, nullptr), 1);
    ASSERT_EQ(watcher.dialog_titles().size(), 1u);
    EXPECT_EQ(watcher.dialog_titles()[0], L"ﾊﾟｽﾜｰﾄﾞの入力");
    EXPECT_EQ(g_shown_user, L"太郎taro");
    EXPECT_TRUE(g_focus_on_password);
    EXPECT_TRUE(g_masked);
    ASSERT_NE(prompt.password, nullptr);
    EXPECT_STREQ(prompt.password, "\x82\xd0\x82\xdd\x82\xc2pass"); /* ひみつ in Shift_JIS */
    free(prompt.password);
}

TEST(PasswordPrompt, CancelGivesTwoAndNoPassword)
{
    ModalWatcher watcher;
    watcher.SetDialogHandler([](HWND dialog) {
        g_prompt = dialog;
        SetTimer(nullptr, 0, 0, TypeAndEscape);
    });
    PasswordPrompt prompt = {GetModuleHandleW(nullptr), "taro", nullptr};
    EXPECT_EQ(RunPasswordPrompt(&prompt, nullptr), 2);
    EXPECT_EQ(prompt.password, nullptr);
}

namespace {

INT_PTR CALLBACK PlainDialog(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

} // namespace

TEST(Progress, StartGroupAndStepDriveTheDialogControls)
{
    HWND dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROGRESS), nullptr,
                                     PlainDialog, 0);
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(WindowText(dialog), L"Articles");
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    ProgressDialog p;
    ProgressInit(&p);
    p.dialog = dialog;

    ProgressStartGroup(&p, L"fj.comp.misc", 9, 5);
    EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_PROGRESS_GROUP)), L"fj.comp.misc");
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 5); /* min(count, limit) */
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 0);
    ProgressStep(&p);
    ProgressStep(&p);
    EXPECT_EQ(p.step_count, 2u);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 2);

    /* The bound travels in 16 bits: a range of 70000 shows as 4464. */
    ProgressStartGroup(&p, L"japan.test", 70000, 100000);
    EXPECT_EQ(p.range_count, 70000u);
    EXPECT_EQ(p.step_count, 0u);
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 70000 - 65536);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 0);

    /* A range of one article: a bar of length 0. */
    ProgressStartGroup(&p, L"x", 0, 50);
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 0);
    DestroyWindow(dialog);
}

TEST(Progress, WithoutAWindowItOnlyCounts)
{
    ProgressDialog p;
    ProgressInit(&p);
    ProgressStartGroup(&p, L"fj.test", 12, 3);
    ProgressStep(&p);
    EXPECT_EQ(p.range_count, 12u);
    EXPECT_EQ(p.step_count, 1u);
}
