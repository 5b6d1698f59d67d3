#include <gtest/gtest.h>

#include <windows.h>
#include <prsht.h>

#include <vector>

#include "platform/menubar.h"
#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"

namespace {

/* Command ids of a popup in order; 0 stands for a separator. */
std::vector<UINT> ItemIds(HMENU menu)
{
    std::vector<UINT> ids;
    for (int i = 0, n = GetMenuItemCount(menu); i < n; i++)
        ids.push_back(GetMenuItemID(menu, i));
    return ids;
}

std::wstring ItemText(HMENU menu, UINT id)
{
    wchar_t text[256] = L"";
    GetMenuStringW(menu, id, text, 256, MF_BYCOMMAND);
    return text;
}

bool Checked(HMENU menu, UINT id)
{
    return (GetMenuState(menu, id, MF_BYCOMMAND) & MF_CHECKED) != 0;
}

HMENU DropDown(HWND bar, UINT button)
{
    return (HMENU)SendMessageW(bar, SHCMBM_GETSUBMENU, 0, button);
}

class FrameTest : public FrameFixture {};

TEST_F(FrameTest, StartsWithTheGroupMenuBarAndItsDropDowns)
{
    HWND window = Start();
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(ClassNameOf(window), L"PelnorMainFrmWnd");
    EXPECT_EQ(WindowText(window), L"Pelnor");
    EXPECT_TRUE(IsWindowVisible(frame_.groupMenuBar));
    EXPECT_FALSE(IsWindowVisible(frame_.subjectMenuBar));
    EXPECT_FALSE(IsWindowVisible(frame_.articleMenuBar));

    struct Expected {
        HWND bar;
        UINT button;
        std::vector<UINT> items;
    } bars[] = {
        {frame_.groupMenuBar, IDM_GROUP_POPUP, {40004, 40003, 40007, 40011}},
        {frame_.groupMenuBar, IDM_GROUP_TOOLS, {40005, 40002, 40001}},
        {frame_.subjectMenuBar, IDM_SUBJECT_POPUP, {40014, 0, 40016, 40017, 40018, 0, 40013, 0, 40006}},
        {frame_.subjectMenuBar, IDM_SUBJECT_TOOLS, {40005, 40001}},
        {frame_.articleMenuBar, IDM_ARTICLE_POPUP, {40012, 40015}},
        {frame_.articleMenuBar, IDM_ARTICLE_TOOLS, {40005, 40001}},
    };
    for (const Expected &e : bars)
        EXPECT_EQ(ItemIds(DropDown(e.bar, e.button)), e.items) << e.button;
    /* Image buttons carry no drop-down; the frame keeps the two popups with
     * check marks. */
    EXPECT_EQ(DropDown(frame_.subjectMenuBar, IDM_SUBJECT_BACK), nullptr);
    EXPECT_EQ(frame_.subjectPopup, DropDown(frame_.subjectMenuBar, IDM_SUBJECT_POPUP));
    EXPECT_EQ(frame_.articlePopup, DropDown(frame_.articleMenuBar, IDM_ARTICLE_POPUP));

    HMENU groups = DropDown(frame_.groupMenuBar, IDM_GROUP_POPUP);
    EXPECT_EQ(ItemText(groups, 40004), L"既読削除");
    EXPECT_EQ(ItemText(groups, 40003), L"記事取得");
    EXPECT_EQ(ItemText(groups, 40007), L"購読");
    EXPECT_EQ(ItemText(groups, 40011), L"読み飛ばし");
    EXPECT_EQ(ItemText(DropDown(frame_.groupMenuBar, IDM_GROUP_TOOLS), 40002), L"プロパティ");
    EXPECT_FALSE(SaveScreenshot(window, L"frame-started").empty());
}

TEST_F(FrameTest, ViewOptionsFromTheRegistryOrTheirDefaultsSetTheCheckMarks)
{
    struct Case {
        bool stored;
        DWORD view_read, level, header;
    } cases[] = {{true, 1, 2, 1}, {true, 0, 0, 0}, {false, 0, 1, 0}};
    for (const Case &c : cases) {
        if (c.stored) {
            SetPelnorDword(L"ViewReadArticle", c.view_read, L"SubjectView");
            SetPelnorDword(L"PriorityViewLevel", c.level, L"SubjectView");
            SetPelnorDword(L"ShowArticleHeader", c.header, L"ArticleView");
        }
        ASSERT_NE(Start(), nullptr);
        EXPECT_EQ(Checked(frame_.subjectPopup, IDM_VIEW_READ), c.view_read == 1);
        EXPECT_EQ(Checked(frame_.subjectPopup, IDM_PRIORITY_HIGH), c.level == 2);
        EXPECT_EQ(Checked(frame_.subjectPopup, IDM_PRIORITY_NORMAL), c.level == 0);
        EXPECT_EQ(Checked(frame_.subjectPopup, IDM_PRIORITY_LOW), c.level == 1);
        EXPECT_EQ(Checked(frame_.articlePopup, IDM_SHOW_HEADER), c.header == 1);
        TearDown();
        SetUp();
    }
}

TEST_F(FrameTest, StartUpPreparesTheDataFolderAndReloadsClearBackups)
{
    CreateDirectoryW(data_.file(L"draft").c_str(), nullptr);
    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\a.bak"), "x"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\keep.txt"), "z"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"top.bak"), "data folder itself"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), ""));
    ASSERT_NE(Start(), nullptr);
    EXPECT_EQ(FileBytes(data_.file(L"active.dat")), "");
    EXPECT_EQ(FileBytes(data_.file(L"category.dat")), "");
    EXPECT_FALSE(FileExists(data_.file(L"draft\\a.bak")));
    EXPECT_TRUE(FileExists(data_.file(L"draft\\keep.txt")));
    EXPECT_TRUE(FileExists(data_.file(L"top.bak")));

    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\c.bak"), "later"));
    EXPECT_EQ(ReloadData(&frame_), 1);
    EXPECT_FALSE(FileExists(data_.file(L"draft\\c.bak")));
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(FrameTest, DataPathWithoutBackslashKeepsEveryFileInsideTheFolder)
{
    std::wstring news = data_.file(L"news");
    CreateDirectoryW(news.c_str(), nullptr);
    ASSERT_TRUE(WriteFileBytes(news + L"\\group.dat", "fj.test\r\n"));
    ASSERT_NE(Start(news), nullptr);
    EXPECT_TRUE(FolderExists(news + L"\\draft"));
    EXPECT_TRUE(FileExists(news + L"\\active.dat"));
    EXPECT_TRUE(FileExists(news + L"\\fj.test.idx"));
    EXPECT_FALSE(FileExists(data_.file(L"newsgroup.dat")));
    EXPECT_FALSE(FolderExists(data_.file(L"newsdraft")));
}

TEST_F(FrameTest, FailedDataFolderStartUpIsReported)
{
    ASSERT_NE(Start(data_.file(L"no-such-folder\\deeper\\")), nullptr);
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(watcher_.boxes()[0].text, L"データファイルの初期化に失敗しました(3)"); /* path not found */
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONERROR);
    EXPECT_FALSE(watcher_.boxes()[0].has_owner);

    /* An index of a version this program does not know is named first. */
    watcher_.Clear();
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.bad\r\n"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.bad.idx"), std::string("\x06\0\0\0", 4) + std::string(96, '\0')));
    wcscpy(frame_.settings.DataPath, data_.path().c_str());
    EXPECT_EQ(ReloadData(&frame_), 0);
    ASSERT_EQ(watcher_.boxes().size(), 2u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(watcher_.boxes()[0].text, L"インデックスが不正です。");
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONEXCLAMATION);
    /* The group is skipped and named; the program goes on without it. */
    EXPECT_EQ(watcher_.boxes()[1].text, L"インデックスファイルの初期化に失敗しました(13)\r\nfj.bad");
}

TEST_F(FrameTest, IncompleteSettingsOpenTheSheetAndItsCancelQuits)
{
    SetPelnorString(L"Server", L"news.example.jp");
    SetPelnorDword(L"Limit", 50);
    std::wstring server_shown, caption;
    watcher_.SetDialogHandler([&](HWND sheet) {
        RunSoon([&, sheet] {
            caption = WindowText(sheet);
            HWND page = (HWND)SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0);
            server_shown = WindowText(GetDlgItem(page, IDC_MAIN_SERVER));
            ClickButton(sheet, IDCANCEL);
        });
    });
    EXPECT_EQ(CreateMainFrame(&frame_, SW_SHOWNORMAL), nullptr);
    EXPECT_EQ(watcher_.dialog_titles().size(), 1u);
    EXPECT_EQ(caption, L"プロパティ");
    EXPECT_EQ(server_shown, L"news.example.jp");
    EXPECT_TRUE(watcher_.boxes().empty());
    EXPECT_EQ(FindWindowW(L"PelnorMainFrmWnd", nullptr), nullptr);
    MSG msg;
    ASSERT_TRUE(PeekMessageW(&msg, nullptr, WM_QUIT, WM_QUIT, PM_REMOVE));
    EXPECT_EQ(msg.wParam, 0u);
}

TEST_F(FrameTest, HasTheDeviceClientSizeAndKeepsTheBarAtTheBottom)
{
    HWND window = Start();
    ASSERT_NE(window, nullptr);
    for (int grow : {0, 100}) {
        RECT outer, client, bar;
        GetWindowRect(window, &outer);
        SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left + grow, outer.bottom - outer.top + grow,
                     SWP_NOMOVE | SWP_NOZORDER);
        GetClientRect(window, &client);
        EXPECT_EQ(client.right, 240 + grow);
        EXPECT_EQ(client.bottom, 320 + grow);
        GetWindowRect(frame_.groupMenuBar, &bar);
        MapWindowPoints(nullptr, window, (POINT *)&bar, 2);
        EXPECT_EQ(bar.bottom, client.bottom);
        EXPECT_EQ(bar.right, client.right);
        EXPECT_EQ(bar.left, 0);
    }
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

TEST_F(FrameTest, ToolsDropDownOpensTheAboutBox)
{
    ASSERT_NE(Start(), nullptr);
    std::wstring name, version;
    DWORD busy_inside = 0;
    watcher_.SetDialogHandler([&](HWND dialog) {
        name = WindowText(GetDlgItem(dialog, IDC_ABOUT_NAME));
        version = WindowText(GetDlgItem(dialog, IDC_ABOUT_VERSION));
        busy_inside = frame_.busy;
        PostMessageW(dialog, WM_COMMAND, IDOK, 0);
    });
    RECT button;
    ASSERT_TRUE(GetMenuBarButtonRect(frame_.groupMenuBar, IDM_GROUP_TOOLS, &button));
    POINT at = {(button.left + button.right) / 2, (button.top + button.bottom) / 2};
    ScreenToClient(frame_.groupMenuBar, &at);
    ChooseNextPopupCommand(IDM_ABOUT);
    SendMessageW(frame_.groupMenuBar, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(at.x, at.y));
    ASSERT_TRUE(Pump([&] { return !version.empty() && frame_.busy == 0; }));
    EXPECT_EQ(watcher_.dialog_titles(), std::vector<std::wstring>{L"About"});
    EXPECT_EQ(name, L"Pelnor");
    EXPECT_EQ(version, L"Version 1.1");
    EXPECT_EQ(busy_inside, 1u);
}

} // namespace
