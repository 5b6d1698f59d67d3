#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

#include "platform/menubar.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "views/view_parent.h"

namespace {

class MenuBarTest : public ::testing::Test {
protected:
    BOOL Create(UINT id, int bitmap, int images, HWND *bar)
    {
        SHMENUBARINFO info = {};
        info.cbSize = sizeof(info);
        info.hwndParent = parent_.window;
        info.nToolBarId = id;
        info.hInstRes = GetModuleHandleW(nullptr);
        info.nBmpId = bitmap;
        info.cBmpImages = images;
        BOOL ok = SHCreateMenuBar(&info);
        *bar = info.hwndMB;
        return ok;
    }

    POINT ClientCentre(HWND bar, UINT command)
    {
        RECT rc;
        EXPECT_TRUE(GetMenuBarButtonRect(bar, command, &rc));
        POINT pt = {(rc.left + rc.right) / 2, (rc.top + rc.bottom) / 2};
        ScreenToClient(bar, &pt);
        return pt;
    }

    ViewParent parent_;
};

/* Buttons stand left to right as the resource lists them; an image button
 * sends its command as a menu command once released over it. */
TEST_F(MenuBarTest, ButtonsInResourceOrderAndImageButtonClicks)
{
    HWND bar;
    ASSERT_TRUE(Create(IDR_SUBJECT_BAR, IDB_SUBJECT_BAR, SUBJECT_BAR_IMAGES, &bar));
    RECT back, subject, tools;
    ASSERT_TRUE(GetMenuBarButtonRect(bar, IDM_SUBJECT_BACK, &back));
    ASSERT_TRUE(GetMenuBarButtonRect(bar, IDM_SUBJECT_POPUP, &subject));
    ASSERT_TRUE(GetMenuBarButtonRect(bar, IDM_SUBJECT_TOOLS, &tools));
    EXPECT_LT(back.right, subject.left + 1);
    EXPECT_LT(subject.right, tools.left + 1);
    EXPECT_FALSE(GetMenuBarButtonRect(bar, 12345, &back));

    ASSERT_TRUE(Create(IDR_ARTICLE_BAR, IDB_ARTICLE_BAR, ARTICLE_BAR_IMAGES, &bar));
    POINT pt = ClientCentre(bar, IDM_ARTICLE_BACK);
    SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(pt.x, pt.y));
    SendMessageW(bar, WM_LBUTTONUP, 0, MAKELPARAM(pt.x + 200, pt.y)); /* released outside: cancelled */
    SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(pt.x, pt.y));
    EXPECT_TRUE(ViewParent::commands().empty());
    SendMessageW(bar, WM_LBUTTONUP, 0, MAKELPARAM(pt.x, pt.y));
    EXPECT_EQ(ViewParent::commands(), std::vector<WPARAM>{MAKEWPARAM(IDM_ARTICLE_BACK, 0)});
}

/* A text button drops down its popup; the item chosen reaches the parent. */
TEST_F(MenuBarTest, DropDownOpensItsPopupAndTheChoiceReachesTheParent)
{
    HWND bar;
    ASSERT_TRUE(Create(IDR_SUBJECT_BAR, IDB_SUBJECT_BAR, SUBJECT_BAR_IMAGES, &bar));
    POINT pt = ClientCentre(bar, IDM_SUBJECT_POPUP);
    ChooseNextPopupCommand(IDM_PRIORITY_LOW);
    SendMessageW(bar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(pt.x, pt.y));
    ASSERT_TRUE(PumpUntil([&] { return !ViewParent::commands().empty(); }));
    EXPECT_EQ(ViewParent::commands(), std::vector<WPARAM>{MAKEWPARAM(IDM_PRIORITY_LOW, 0)});
}

} // namespace
