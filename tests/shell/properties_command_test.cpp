/*
 * The properties sheet as the frame uses it: at a first start, to ask for
 * the settings, and from the menu, to change them while Pelnor runs.
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <prsht.h>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"

namespace {

LONG FontHeight(HFONT font)
{
    LOGFONTW made = {};
    GetObjectW(font, sizeof made, &made);
    return made.lfHeight;
}

using PropertiesTest = FrameFixture;

TEST_F(PropertiesTest, MenuPropertiesUsesAChangedDataFolderAndLookAtOnce)
{
    ASSERT_NE(Start(), nullptr);
    TempFolder other;
    ASSERT_TRUE(WriteFileBytes(other.file(L"group.dat"), "fj.b\r\n"));
    WriteGroupFiles(other, L"fj.b", {{L"a@example.jp", L"hello", "0305", {L"body", L"> quoted"}}});
    HWND sheet_owner = nullptr;
    watcher_.WorkDialogs([&](HWND sheet) {
        sheet_owner = GetWindow(sheet, GW_OWNER);
        SetDlgItemTextW(PropSheet_GetCurrentPageHwnd(sheet), IDC_MAIN_FOLDER, other.path().c_str());
        PropSheet_SetCurSel(sheet, nullptr, 4); /* characters */
        HWND chars = PropSheet_GetCurrentPageHwnd(sheet);
        SendDlgItemMessageW(chars, IDC_CHARS_SUBJECT_SIZE, CB_SETCURSEL, 10 - 8, 0);
        SendDlgItemMessageW(chars, IDC_CHARS_ARTICLE_SIZE, CB_SETCURSEL, 16 - 8, 0);
        PropSheet_SetCurSel(sheet, nullptr, 5); /* colours */
        HWND colour = PropSheet_GetCurrentPageHwnd(sheet);
        SendMessageW(colour, WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 200), (LPARAM)GetDlgItem(colour, IDC_COLOUR_RED));
        ClickButton(sheet, IDOK);
    });
    Command(IDM_PROPERTIES);
    EXPECT_EQ(sheet_owner, frame_.mainWindow);
    ASSERT_EQ(ListViewRowCount(frame_.groupView->list), 1);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 0, 0), L"fj.b");

    /* The subject and article views take the new look. */
    DoubleClickListRow(frame_.groupView->list, 0);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    EXPECT_EQ(FontHeight(frame_.subjectView->font), 10);
    Command(IDC_SUBJECT_VIEW, kSubjectOpen);
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(FontHeight(frame_.articleView->font), 16);
    EXPECT_EQ(frame_.articleView->header_color, RGB(200, 0, 0));

    /* No sheet opens while a run is on. */
    watcher_.Clear();
    frame_.runInProgress = 1;
    Command(IDM_PROPERTIES);
    frame_.runInProgress = 0;
    EXPECT_TRUE(watcher_.dialog_titles().empty());
}

/* Pelnor itself, started with nothing in the registry. */
TEST(FirstStart, TheSheetOpensCancelQuitsOkComesUpWithTheGroupView)
{
    ASSERT_EQ(PelnorFrames().count, 0) << "another frame is open";
    TempFolder data;
    ASSERT_TRUE(WriteFileBytes(data.file(L"group.dat"), "fj.c\r\n"));
    for (bool ok : {false, true}) {
        DeletePelnorKey();
        PelnorProcess pelnor = StartPelnor();
        ASSERT_NE(pelnor.handle, nullptr);
        HWND sheet = nullptr;
        ASSERT_TRUE(PumpUntil([&] { return (sheet = FindWindowW(L"#32770", L"プロパティ")) != nullptr; }, 30000));
        HWND page = (HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0);
        if (!ok) {
            PostMessageW(GetDlgItem(sheet, IDCANCEL), BM_CLICK, 0, 0);
            EXPECT_EQ(ExitCodeAfter(pelnor.handle, 30000), 0u);
            EXPECT_EQ(PelnorValue(L"Server").type, 0u);
            CloseHandle(pelnor.handle);
            continue;
        }
        SetDlgItemTextW(page, IDC_MAIN_SERVER, L"127.0.0.1");
        SetDlgItemTextW(page, IDC_MAIN_FOLDER, data.path().c_str());
        PostMessageW(GetDlgItem(sheet, IDOK), BM_CLICK, 0, 0);
        HWND list = nullptr;
        ASSERT_TRUE(PumpUntil(
            [&] {
                HWND frame = PelnorFrames().last;
                list = frame && IsWindowVisible(frame) ? FindWindowExW(frame, nullptr, WC_LISTVIEWW, nullptr)
                                                       : nullptr;
                return list && ListViewRowCount(list) == 1;
            },
            30000));
        EXPECT_EQ(RemoteListViewText(pelnor.handle, list, 0, 0), L"fj.c");
        PostMessageW(PelnorFrames().last, WM_CLOSE, 0, 0);
        EXPECT_EQ(ExitCodeAfter(pelnor.handle, 30000), 0u);
        CloseHandle(pelnor.handle);
    }
    DeletePelnorKey();
}

} // namespace
