#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "resources/resource.h"
#include "support/gui_helper.h"

namespace {

INT_PTR CALLBACK IdleDialogProc(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

struct ControlCheck {
    int dialog;
    std::wstring text;
    SIZE text_size;
    RECT client;
    int room; /* width the control's frame, box or margins take */
};

/* The template text of a control as its font draws it, against the room it
 * has: a push button's text does not show at all when it does not fit. */
bool Measure(HWND control, ControlCheck *check)
{
    std::wstring cls = ClassNameOf(control);
    if (cls != L"Button" && cls != L"Static")
        return false;
    LONG style = GetWindowLongW(control, GWL_STYLE);
    if (cls == L"Static" && (style & SS_TYPEMASK) == SS_ICON)
        return false;
    check->text = WindowText(control);
    if (check->text.empty())
        return false;
    HDC dc = GetDC(control);
    HGDIOBJ old = SelectObject(dc, (HFONT)SendMessageW(control, WM_GETFONT, 0, 0));
    GetTextExtentPoint32W(dc, check->text.c_str(), (int)check->text.size(), &check->text_size);
    SelectObject(dc, old);
    ReleaseDC(control, dc);
    GetClientRect(control, &check->client);
    LONG type = style & BS_TYPEMASK;
    if (cls == L"Static")
        check->room = 0;
    else if (type == BS_PUSHBUTTON || type == BS_DEFPUSHBUTTON)
        check->room = 2 * (GetSystemMetrics(SM_CXEDGE) + 2);
    else /* check box or radio button: the box and its gap */
        check->room = GetSystemMetrics(SM_CXMENUCHECK) + 4;
    return true;
}

/* Every dialog fits the device's 240 x 320 screen, and every label and
 * button shows its whole text on one line in the Japanese font. */
TEST(DialogLayoutTest, EveryTextFitsAndEveryDialogFitsTheScreen)
{
    const int dialogs[] = {IDD_ABOUT,    IDD_PROGRESS, IDD_GROUP_LIST, IDD_SUBSCRIBE,
                           IDD_CATCHUP,  IDD_PASSWORD, IDD_DIALUP,     IDD_KEYWORD};
    for (int id : dialogs) {
        HWND dialog = CreateDialogParamW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(id), nullptr, IdleDialogProc, 0);
        ASSERT_NE(dialog, nullptr) << id;
        RECT outer;
        GetWindowRect(dialog, &outer);
        EXPECT_LE(outer.right - outer.left, 240) << "dialog " << id;
        EXPECT_LE(outer.bottom - outer.top, 320) << "dialog " << id;
        for (HWND control = GetWindow(dialog, GW_CHILD); control; control = GetWindow(control, GW_HWNDNEXT)) {
            ControlCheck check = {id};
            if (!Measure(control, &check))
                continue;
            EXPECT_LE(check.text_size.cx + check.room, check.client.right)
                << "dialog " << id << " control " << GetDlgCtrlID(control);
            EXPECT_LE(check.text_size.cy, check.client.bottom)
                << "dialog " << id << " control " << GetDlgCtrlID(control);
        }
        ShowWindow(dialog, SW_SHOW);
        EXPECT_FALSE(SaveScreenshot(dialog, (L"dialog-" + std::to_wstring(id)).c_str()).empty());
        DestroyWindow(dialog);
    }
}

} // namespace
