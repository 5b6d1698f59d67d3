/*
 * The properties sheet as the frame uses it: at a first start, to ask for
 * the settings, and from the menu, to change them while Pelnor runs.
 */
#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <prsht.h>

#include <functional>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/group_bytes.h"
#include "support/pelnor_process.h"
#include "support/registry_fixture.h"

namespace {

HWND SheetPage(HWND sheet, int index)
{
    PropSheet_SetCurSel(sheet, nullptr, index);
    return (HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0);
}

LONG FontHeight(HFONT font)
{
    LOGFONTW made = {};
    GetObjectW(font, sizeof made, &made);
    return made.lfHeight;
}

class PropertiesTest : public FrameFixture {
protected:
    /* `act` works the sheet when it shows; the file chooser opened from it
     * goes to `chooser`. */
    void OnSheet(std::function<void(HWND)> act, std::function<void(HWND)> chooser = nullptr)
    {
        watcher_.SetDialogHandler([=](HWND dialog) {
            bool sheet = PropSheet_GetTabControl(dialog) != nullptr;
            if (sheet)
                sheet_owner_ = GetWindow(dialog, GW_OWNER);
            if (sheet || chooser)
                RunSoon([=] {
                    sheet ? act(dialog) : chooser(dialog);
                    if (IsWindow(dialog)) /* a failed step must not leave it open */
                        PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
                });
        });
    }
    HWND sheet_owner_ = nullptr;
};

TEST_F(PropertiesTest, AFirstStartAsksForTheSettingsAndComesUpWithTheGroups)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\n"));
    WriteGroupFiles(data_, L"fj.a", {{L"a@example.jp", L"hello", "0305", {L"body"}}});
    std::wstring chooser_caption;
    OnSheet(
        [&](HWND sheet) {
            HWND page = SheetPage(sheet, 0);
            SetDlgItemTextW(page, IDC_MAIN_SERVER, L"news.example.jp");
            SetDlgItemTextW(page, IDC_MAIN_PORT, L"1119");
            /* The chooser's tree is the drive of what the field holds
             * (empty: the program's drive). */
            SetDlgItemTextW(page, IDC_MAIN_FOLDER, data_.path().substr(0, 3).c_str());
            ClickButton(page, IDC_BROWSE);
            ClickButton(sheet, IDOK);
        },
        [&](HWND chooser) {
            chooser_caption = WindowText(chooser);
            HWND tree = GetDlgItem(chooser, IDC_CHOOSER_TREE);
            TreeView_SelectItem(tree, OpenTreeTo(tree, data_.path()));
            ClickButton(chooser, IDC_CHOOSER_OK);
        });
    HWND window = CreateMainFrame(&frame_, SW_SHOWNORMAL);
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(chooser_caption, L"Choose folder");
    EXPECT_EQ(sheet_owner_, window);
    EXPECT_EQ(PelnorValue(L"Server"), TextValue(L"news.example.jp"));
    EXPECT_EQ(PelnorValue(L"Port"), DwordValue(1119));
    EXPECT_EQ(PelnorValue(L"DataPath"), TextValue(data_.path()));
    EXPECT_EQ(PelnorValue(L"Limit"), DwordValue(50));
    EXPECT_EQ(frame_.settings.DraftPath, data_.path() + L"\\draft\\");
    EXPECT_TRUE(FolderExists(data_.file(L"draft")));
    ASSERT_EQ(ListViewRowCount(frame_.groupView->list), 1);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 0, 0), L"fj.a");
    EXPECT_EQ(frame_.currentView, kGroupView);
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(PropertiesTest, MenuPropertiesUsesAChangedDataFolderAndLookAtOnce)
{
    ASSERT_NE(Start(), nullptr);
    ASSERT_EQ(ListViewRowCount(frame_.groupView->list), 0);
    TempFolder other;
    ASSERT_TRUE(WriteFileBytes(other.file(L"group.dat"), "fj.b\r\n"));
    WriteGroupFiles(other, L"fj.b", {{L"a@example.jp", L"hello", "0305", {L"body", L"> quoted"}}});
    const COLORREF header = RGB(200, 0, 0), quoted = RGB(0, 0, 150);
    DWORD busy_inside = 0;
    OnSheet([&](HWND sheet) {
        busy_inside = frame_.busy;
        SetDlgItemTextW(SheetPage(sheet, 0), IDC_MAIN_FOLDER, other.path().c_str());
        HWND chars = SheetPage(sheet, 4);
        SendDlgItemMessageW(chars, IDC_CHARS_SUBJECT_SIZE, CB_SETCURSEL, 10 - 8, 0);
        SendDlgItemMessageW(chars, IDC_CHARS_ARTICLE_SIZE, CB_SETCURSEL, 16 - 8, 0);
        HWND colour = SheetPage(sheet, 5);
        HWND items = GetDlgItem(colour, IDC_COLOUR_ITEM);
        auto track = [&](int bar, int position) {
            SendMessageW(colour, WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, position), (LPARAM)GetDlgItem(colour, bar));
        };
        track(IDC_COLOUR_RED, 200);
        SendMessageW(items, CB_SETCURSEL, 1, 0);
        SendMessageW(colour, WM_COMMAND, MAKEWPARAM(IDC_COLOUR_ITEM, CBN_SELCHANGE), (LPARAM)items);
        track(IDC_COLOUR_BLUE, 150);
        ClickButton(sheet, IDOK);
    });
    Command(IDM_PROPERTIES);
    EXPECT_EQ(busy_inside, 1u);
    EXPECT_EQ(PelnorValue(L"DataPath"), TextValue(other.path()));
    EXPECT_EQ(std::wstring(frame_.settings.DataPath), other.path());
    ASSERT_EQ(ListViewRowCount(frame_.groupView->list), 1);
    EXPECT_EQ(ListViewText(frame_.groupView->list, 0, 0), L"fj.b");

    /* The subject and article views take the new look. */
    DoubleClickListRow(frame_.groupView->list, 0);
    ASSERT_EQ(frame_.currentView, kSubjectView);
    EXPECT_EQ(FontHeight(frame_.subjectView->font), 10);
    Command(IDC_SUBJECT_VIEW, kSubjectOpen);
    ASSERT_EQ(frame_.currentView, kArticleView);
    EXPECT_EQ(FontHeight(frame_.articleView->font), 16);
    EXPECT_EQ(frame_.articleView->header_color, header);
    EXPECT_EQ(frame_.articleView->quote_color, quoted);

    /* Cancel leaves everything, and no sheet opens while a run is on. */
    watcher_.Clear();
    OnSheet([](HWND sheet) {
        SetDlgItemTextW(SheetPage(sheet, 0), IDC_MAIN_SERVER, L"changed");
        ClickButton(sheet, IDCANCEL);
    });
    Command(IDM_PROPERTIES);
    EXPECT_EQ(watcher_.dialog_titles().size(), 1u);
    EXPECT_EQ(PelnorValue(L"Server"), TextValue(L"127.0.0.1"));
    frame_.runInProgress = 1;
    Command(IDM_PROPERTIES);
    frame_.runInProgress = 0;
    EXPECT_EQ(watcher_.dialog_titles().size(), 1u);
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
        auto text = [](HWND edit) {
            wchar_t shown[64] = L"";
            SendMessageW(edit, WM_GETTEXT, 64, (LPARAM)shown); /* another process's edit */
            return std::wstring(shown);
        };
        EXPECT_EQ(text(GetDlgItem(page, IDC_MAIN_PORT)), L"119");
        EXPECT_EQ(text(GetDlgItem(page, IDC_MAIN_SERVER)), L"");
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
        EXPECT_EQ(PelnorValue(L"DataPath"), TextValue(data.path()));
        PostMessageW(PelnorFrames().last, WM_CLOSE, 0, 0);
        EXPECT_EQ(ExitCodeAfter(pelnor.handle, 30000), 0u);
        CloseHandle(pelnor.handle);
    }
    DeletePelnorKey();
}

} // namespace
