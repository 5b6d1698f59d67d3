#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <vector>

#include "base/scoped_win.h"
#include "platform/menubar.h"
#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"

namespace {

/* The marks of view read, high, normal, low and show header, in that order. */
std::string Marks(const AppFrame &frame)
{
    std::string marks;
    for (UINT id : {IDM_VIEW_READ, IDM_PRIORITY_HIGH, IDM_PRIORITY_NORMAL, IDM_PRIORITY_LOW, IDM_SHOW_HEADER}) {
        HMENU popup = id == IDM_SHOW_HEADER ? frame.articlePopup : frame.subjectPopup;
        marks += (GetMenuState(popup, id, MF_BYCOMMAND) & MF_CHECKED) ? '1' : '0';
    }
    return marks;
}

/* The pixels a window shows in its client area, row by row. */
std::vector<COLORREF> Shown(HWND window)
{
    RECT rc;
    GetClientRect(window, &rc);
    ScopedGetDC dc(window);
    std::vector<COLORREF> pixels;
    for (int y = 0; y < rc.bottom; y++)
        for (int x = 0; x < rc.right; x++)
            pixels.push_back(GetPixel(dc, x, y));
    return pixels;
}

class FrameTest : public FrameFixture {};

/* The check marks go to the popups the bars drop down. The frame has the
 * device's client size, and the bar stays at its foot when it grows. */
TEST_F(FrameTest, StartsWithTheGroupMenuBarOnTheDeviceScreenAndKeepsThePaneAboveTheBar)
{
    HWND window = Start();
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(IsWindowVisible(frame_.groupMenuBar));
    EXPECT_FALSE(IsWindowVisible(frame_.subjectMenuBar) || IsWindowVisible(frame_.articleMenuBar));
    EXPECT_EQ(frame_.subjectPopup, (HMENU)SendMessageW(frame_.subjectMenuBar, SHCMBM_GETSUBMENU, 0, IDM_SUBJECT_POPUP));
    EXPECT_EQ(frame_.articlePopup, (HMENU)SendMessageW(frame_.articleMenuBar, SHCMBM_GETSUBMENU, 0, IDM_ARTICLE_POPUP));
    SaveScreenshot(window, L"frame-started");
    for (int grow : {0, 100}) {
        RECT outer, client, bar, pane;
        GetWindowRect(window, &outer);
        SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left + grow, outer.bottom - outer.top + grow,
                     SWP_NOMOVE | SWP_NOZORDER);
        GetClientRect(window, &client);
        EXPECT_EQ(client.right, 240 + grow);
        EXPECT_EQ(client.bottom, 320 + grow);
        GetWindowRect(frame_.groupMenuBar, &bar);
        MapWindowPoints(nullptr, window, (POINT *)&bar, 2);
        GetWindowRect(frame_.groupView->list, &pane);
        MapWindowPoints(nullptr, window, (POINT *)&pane, 2);
        /* The bar at the foot across the width, the pane as wide, above it. */
        EXPECT_EQ((std::vector<LONG>{bar.left, bar.right, bar.bottom, pane.right - pane.left, pane.bottom}),
                  (std::vector<LONG>{0, client.right, client.bottom, client.right, bar.top}));
        /* Once the frame has painted, the bar shows what it draws when
         * painted whole: its buttons, not the frame's background. */
        UpdateWindow(window);
        std::vector<COLORREF> after_resize = Shown(frame_.groupMenuBar);
        RedrawWindow(frame_.groupMenuBar, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_UPDATENOW);
        EXPECT_TRUE(after_resize == Shown(frame_.groupMenuBar)) << "grown by " << grow;
    }
}

TEST_F(FrameTest, ViewOptionsStartAsStoredAndEachCommandMovesItsMarkAndIsStored)
{
    /* Nothing stored: read articles hidden, low and up shown, headers cut. */
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(Marks(frame_), "00010");
    EXPECT_EQ(frame_.articleView->show_all_headers, 0);
    TearDown();
    SetUp();

    SetPelnorDword(L"PriorityViewLevel", 2, L"SubjectView");
    SetPelnorDword(L"ShowArticleHeader", 1, L"ArticleView");
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(Marks(frame_), "01001");
    /* Normal is stored as 0 and low as 1. */
    const struct {
        UINT command;
        const wchar_t *key, *name;
        DWORD value;
        const char *marks;
    } steps[] = {{IDM_VIEW_READ, L"SubjectView", L"ViewReadArticle", 1, "11001"},
                 {IDM_VIEW_READ, L"SubjectView", L"ViewReadArticle", 0, "01001"},
                 {IDM_SHOW_HEADER, L"ArticleView", L"ShowArticleHeader", 0, "01000"},
                 {IDM_PRIORITY_NORMAL, L"SubjectView", L"PriorityViewLevel", 0, "00100"},
                 {IDM_PRIORITY_LOW, L"SubjectView", L"PriorityViewLevel", 1, "00010"},
                 {IDM_PRIORITY_HIGH, L"SubjectView", L"PriorityViewLevel", 2, "01000"}};
    for (const auto &step : steps) {
        Command(step.command);
        EXPECT_EQ(PelnorValue(step.name, step.key), DwordValue(step.value)) << step.command;
        EXPECT_EQ(Marks(frame_), step.marks) << step.command;
        EXPECT_EQ(frame_.articleView->show_all_headers, step.marks[4] == '1') << step.command;
    }
    EXPECT_TRUE(watcher_.boxes().empty());

    /* Under a volatile parent the program's key cannot be made again: the
     * options stay toggled and the user is told (the level's failure is of
     * no consequence and not shown). */
    ASSERT_TRUE(MakePelnorKeyUnmakeable());
    Command(IDM_VIEW_READ);
    Command(IDM_PRIORITY_LOW);
    DeleteUnmakeableParent();
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"PELNOR", L"設定の保存ができませんでした(1021)", MB_ICONERROR}}));
    EXPECT_EQ(Marks(frame_), "10010");
}

TEST_F(FrameTest, FailedDataFolderStartUpIsReported)
{
    ASSERT_NE(Start(data_.file(L"no-such-folder\\deeper\\")), nullptr);
    /* 3: path not found */
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"PELNOR", L"データファイルの初期化に失敗しました(3)", MB_ICONERROR}}));
    EXPECT_FALSE(watcher_.boxes()[0].has_owner);

    /* An index of a version this program does not know is named first;
     * the view then names the group it skipped. */
    watcher_.Clear();
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.bad\r\n"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.bad.idx"), std::string("\x06\0\0\0", 4) + std::string(96, '\0')));
    wcscpy(frame_.settings.DataPath, data_.path().c_str());
    EXPECT_EQ(ReloadData(&frame_), 0);
    ASSERT_EQ(watcher_.boxes().size(), 2u);
    EXPECT_EQ(watcher_.seen()[0], SeenBox(L"PELNOR", L"インデックスが不正です。", MB_ICONEXCLAMATION));
}

TEST_F(FrameTest, AltXExitsThroughTheAcceleratorTable)
{
    HWND window = Start();
    ASSERT_NE(window, nullptr);
    SetForegroundWindow(window);
    ASSERT_TRUE(Pump([&] { return GetForegroundWindow() == window; }));
    PressKey('X', false, true, false);
    EXPECT_TRUE(Pump([&] { return !IsWindow(window); }));
}

} // namespace
