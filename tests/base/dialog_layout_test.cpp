#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "resources/resource.h"
#include "support/gui_helper.h"

namespace {

INT_PTR CALLBACK IdleDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

/* Every dialog fits the device's 240 x 320 screen, and every label and
 * button shows its whole text on one line in the Japanese font (a push
 * button whose text does not fit draws none of it). */
TEST(DialogLayoutTest, EveryTextFitsAndEveryDialogFitsTheScreen)
{
    const int dialogs[] = {IDD_ABOUT,   IDD_FILE_CHOOSER, IDD_PROGRESS, IDD_GROUP_LIST, IDD_SUBSCRIBE,
                           IDD_CATCHUP, IDD_PASSWORD,     IDD_DIALUP,   IDD_KEYWORD, IDD_SEARCH};
    for (int id : dialogs) {
        HWND dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, IdleDialogProc, 0);
        ASSERT_NE(dialog, nullptr) << id;
        RECT outer;
        GetWindowRect(dialog, &outer);
        EXPECT_LE(outer.right - outer.left, 240) << "dialog " << id;
        EXPECT_LE(outer.bottom - outer.top, 320) << "dialog " << id;
        EXPECT_EQ(CutTexts(dialog), std::vector<std::wstring>{}) << "dialog " << id;
        DestroyWindow(dialog);
    }
}

} // namespace
