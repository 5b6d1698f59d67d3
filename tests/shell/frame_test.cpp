#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

#include "platform/menubar.h"
#include "resources/resource.h"
#include "shell/app_frame.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

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

class FrameTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DeletePelnorKey();
        static bool registered = RegisterFrameClass(GetModuleHandleW(nullptr)) != 0;
        ASSERT_TRUE(registered);
        AppFrameInit(&frame_, GetModuleHandleW(nullptr));
    }

    void TearDown() override
    {
        if (frame_.mainWindow && IsWindow(frame_.mainWindow))
            DestroyWindow(frame_.mainWindow);
        PumpPending(); /* takes the frame's WM_QUIT off the queue */
        AppFrameDestroy(&frame_);
        DeletePelnorKey();
    }

    HWND Start(const std::wstring &data_path)
    {
        SeedCompleteSettings(data_path);
        return CreateMainFrame(&frame_, SW_SHOWNORMAL);
    }

    bool Pump(const std::function<bool()> &done)
    {
        return PumpUntil(done, 20000, frame_.mainWindow, frame_.accelerators);
    }

    TempFolder data_;
    AppFrame frame_;
    ModalWatcher watcher_;
};

TEST_F(FrameTest, StartsWithTheGroupMenuBarAndItsDropDowns)
{
    HWND window = Start(data_.path());
    ASSERT_NE(window, nullptr);
    EXPECT_EQ(ClassNameOf(window), L"PelnorMainFrmWnd");
    EXPECT_EQ(WindowText(window), L"Pelnor");
    EXPECT_EQ(frame_.currentView, kGroupView);
    EXPECT_EQ(frame_.busy, 0u);

    EXPECT_TRUE(IsWindowVisible(frame_.groupMenuBar));
    EXPECT_FALSE(IsWindowVisible(frame_.subjectMenuBar));
    EXPECT_FALSE(IsWindowVisible(frame_.articleMenuBar));

    HMENU groups = DropDown(frame_.groupMenuBar, IDM_GROUP_POPUP);
    HMENU tools = DropDown(frame_.groupMenuBar, IDM_GROUP_TOOLS);
    ASSERT_NE(groups, nullptr);
    ASSERT_NE(tools, nullptr);
    EXPECT_EQ(ItemIds(groups), (std::vector<UINT>{40004, 40003, 40007, 40011}));
    EXPECT_EQ(ItemIds(tools), (std::vector<UINT>{40005, 40002, 40001}));
    EXPECT_EQ(ItemText(groups, 40004), L"既読削除");
    EXPECT_EQ(ItemText(groups, 40003), L"記事取得");
    EXPECT_EQ(ItemText(groups, 40007), L"購読");
    EXPECT_EQ(ItemText(groups, 40011), L"読み飛ばし");
    EXPECT_EQ(ItemText(tools, 40002), L"プロパティ");
    EXPECT_EQ(ItemText(tools, 40001), L"終了");

    /* The popups the frame keeps for its check marks. */
    ASSERT_EQ(frame_.subjectPopup, DropDown(frame_.subjectMenuBar, IDM_SUBJECT_POPUP));
    ASSERT_EQ(frame_.articlePopup, DropDown(frame_.articleMenuBar, IDM_ARTICLE_POPUP));
    EXPECT_EQ(ItemIds(frame_.subjectPopup),
              (std::vector<UINT>{40014, 0, 40016, 40017, 40018, 0, 40013, 0, 40006}));
    EXPECT_EQ(ItemIds(frame_.articlePopup), (std::vector<UINT>{40012, 40015}));
    EXPECT_EQ(ItemIds(DropDown(frame_.subjectMenuBar, IDM_SUBJECT_TOOLS)), (std::vector<UINT>{40005, 40001}));
    EXPECT_EQ(ItemIds(DropDown(frame_.articleMenuBar, IDM_ARTICLE_TOOLS)), (std::vector<UINT>{40005, 40001}));

    /* Image buttons carry no drop-down. */
    EXPECT_EQ(DropDown(frame_.subjectMenuBar, IDM_SUBJECT_BACK), nullptr);
    EXPECT_EQ(DropDown(frame_.articleMenuBar, IDM_ARTICLE_BACK), nullptr);
}

TEST_F(FrameTest, ViewOptionsFromTheRegistrySetTheCheckMarks)
{
    SetPelnorDword(L"ViewReadArticle", 1, L"SubjectView");
    SetPelnorDword(L"PriorityViewLevel", 2, L"SubjectView");
    SetPelnorDword(L"ShowArticleHeader", 1, L"ArticleView");
    ASSERT_NE(Start(data_.path()), nullptr);
    EXPECT_TRUE(Checked(frame_.subjectPopup, IDM_VIEW_READ));
    EXPECT_TRUE(Checked(frame_.subjectPopup, IDM_PRIORITY_HIGH));
    EXPECT_FALSE(Checked(frame_.subjectPopup, IDM_PRIORITY_NORMAL));
    EXPECT_FALSE(Checked(frame_.subjectPopup, IDM_PRIORITY_LOW));
    EXPECT_TRUE(Checked(frame_.articlePopup, IDM_SHOW_HEADER));
}

TEST_F(FrameTest, MissingViewOptionsTakeTheirDefaults)
{
    ASSERT_NE(Start(data_.path()), nullptr);
    EXPECT_EQ(frame_.viewReadArticle, 0u);
    EXPECT_EQ(frame_.priorityLevel, 1u); /* low: everything is shown */
    EXPECT_EQ(frame_.showArticleHeader, 0u);
    EXPECT_FALSE(Checked(frame_.subjectPopup, IDM_VIEW_READ));
    EXPECT_TRUE(Checked(frame_.subjectPopup, IDM_PRIORITY_LOW));
    EXPECT_FALSE(Checked(frame_.articlePopup, IDM_SHOW_HEADER));
}

TEST_F(FrameTest, StartUpPreparesAnEmptyDataFolder)
{
    ASSERT_NE(Start(data_.path()), nullptr);
    EXPECT_TRUE(FolderExists(data_.file(L"draft")));
    for (const wchar_t *name : {L"active.dat", L"category.dat", L"group.dat"}) {
        EXPECT_TRUE(FileExists(data_.file(name))) << name;
        EXPECT_EQ(FileBytes(data_.file(name)), "") << name;
    }
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(FrameTest, StartUpKeepsExistingDataFiles)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.comp.misc\r\n"));
    ASSERT_NE(Start(data_.path()), nullptr);
    EXPECT_EQ(FileBytes(data_.file(L"group.dat")), "fj.comp.misc\r\n");
}

TEST_F(FrameTest, LeftoverBackupsInTheDraftFolderGoAtEveryReload)
{
    CreateDirectoryW(data_.file(L"draft").c_str(), nullptr);
    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\a.bak"), "x"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\b.bak"), "y"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\keep.txt"), "z"));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"top.bak"), "data folder itself"));
    ASSERT_NE(Start(data_.path()), nullptr);
    EXPECT_FALSE(FileExists(data_.file(L"draft\\a.bak")));
    EXPECT_FALSE(FileExists(data_.file(L"draft\\b.bak")));
    EXPECT_TRUE(FileExists(data_.file(L"draft\\keep.txt")));
    EXPECT_TRUE(FileExists(data_.file(L"top.bak")));

    ASSERT_TRUE(WriteFileBytes(data_.file(L"draft\\c.bak"), "later"));
    EXPECT_EQ(ReloadData(&frame_), 1);
    EXPECT_FALSE(FileExists(data_.file(L"draft\\c.bak")));
}

TEST_F(FrameTest, DataPathWithoutBackslashMakesPrefixedSiblings)
{
    /* Names are joined without a separator: ...\news + draft = ...\newsdraft */
    std::wstring news = data_.file(L"news");
    CreateDirectoryW(news.c_str(), nullptr);
    ASSERT_NE(Start(news), nullptr);
    EXPECT_TRUE(FolderExists(data_.file(L"newsdraft")));
    EXPECT_TRUE(FileExists(data_.file(L"newsactive.dat")));
    EXPECT_TRUE(FileExists(data_.file(L"newscategory.dat")));
    EXPECT_TRUE(FileExists(data_.file(L"newsgroup.dat")));
    EXPECT_FALSE(FileExists(data_.file(L"news\\group.dat")));
}

TEST_F(FrameTest, FailedDataFolderStartUpIsReported)
{
    ASSERT_NE(Start(data_.file(L"no-such-folder\\deeper\\")), nullptr);
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    const RecordedBox &box = watcher_.boxes()[0];
    EXPECT_EQ(box.caption, L"PELNOR");
    EXPECT_EQ(box.text, L"データファイルの初期化に失敗しました(3)"); /* path not found */
    EXPECT_EQ(box.icon, (UINT)MB_ICONERROR);
    EXPECT_FALSE(box.has_owner);
}

TEST_F(FrameTest, IncompleteSettingsNameTheMissingValuesAndQuit)
{
    SetPelnorString(L"Server", L"news.example.jp");
    SetPelnorDword(L"Limit", 50);
    HWND window = CreateMainFrame(&frame_, SW_SHOWNORMAL);
    EXPECT_EQ(window, nullptr);
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    const RecordedBox &box = watcher_.boxes()[0];
    EXPECT_EQ(box.caption, L"PELNOR");
    EXPECT_EQ(box.icon, (UINT)MB_ICONEXCLAMATION);
    EXPECT_NE(box.text.find(L"Port"), std::wstring::npos) << box.text.c_str();
    EXPECT_NE(box.text.find(L"DataPath"), std::wstring::npos);
    EXPECT_EQ(box.text.find(L"Server"), std::wstring::npos);
    EXPECT_EQ(box.text.find(L"Limit"), std::wstring::npos);
    EXPECT_EQ(FindWindowW(L"PelnorMainFrmWnd", nullptr), nullptr);

    MSG msg;
    bool quit = false;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE))
        if (msg.message == WM_QUIT) {
            quit = true;
            EXPECT_EQ(msg.wParam, 0u);
        }
    EXPECT_TRUE(quit);
}

TEST_F(FrameTest, HasTheDeviceClientSizeAndKeepsTheBarAtTheBottom)
{
    HWND window = Start(data_.path());
    ASSERT_NE(window, nullptr);
    RECT client;
    GetClientRect(window, &client);
    EXPECT_EQ(client.right, 240);
    EXPECT_EQ(client.bottom, 320);

    auto bar_in_client = [&](RECT *rc) {
        GetWindowRect(frame_.groupMenuBar, rc);
        MapWindowPoints(nullptr, window, (POINT *)rc, 2);
    };
    RECT bar;
    bar_in_client(&bar);
    EXPECT_EQ(bar.bottom, 320);
    EXPECT_EQ(bar.left, 0);
    EXPECT_EQ(bar.right, 240);
    EXPECT_GT(bar.bottom - bar.top, 16);

    RECT outer;
    GetWindowRect(window, &outer);
    SetWindowPos(window, nullptr, 0, 0, outer.right - outer.left + 100, outer.bottom - outer.top + 80,
                 SWP_NOMOVE | SWP_NOZORDER);
    GetClientRect(window, &client);
    bar_in_client(&bar);
    EXPECT_EQ(bar.bottom, client.bottom);
    EXPECT_EQ(bar.right, client.right);
    EXPECT_EQ(client.right, 340);
}

TEST_F(FrameTest, AltXExitsThroughTheAcceleratorTable)
{
    HWND window = Start(data_.path());
    ASSERT_NE(window, nullptr);
    SetForegroundWindow(window);
    SetFocus(window);
    ASSERT_TRUE(Pump([&] { return GetForegroundWindow() == window; }));
    PressKey('X', false, true, false);
    EXPECT_TRUE(Pump([&] { return !IsWindow(window); }));
}

TEST_F(FrameTest, ToolsDropDownOpensTheAboutBox)
{
    HWND window = Start(data_.path());
    ASSERT_NE(window, nullptr);
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
    ASSERT_TRUE(Pump([&] { return !version.empty(); }));
    ASSERT_TRUE(Pump([&] { return frame_.busy == 0; }));

    ASSERT_EQ(watcher_.dialog_titles().size(), 1u);
    EXPECT_EQ(watcher_.dialog_titles()[0], L"About");
    EXPECT_EQ(name, L"Pelnor");
    EXPECT_EQ(version, L"Version 1.1");
    EXPECT_EQ(busy_inside, 1u);
}

TEST_F(FrameTest, ScreenshotOfTheStartedFrame)
{
    HWND window = Start(data_.path());
    ASSERT_NE(window, nullptr);
    SetForegroundWindow(window);
    PumpPending();
    std::wstring path = SaveScreenshot(window, L"frame-started");
    ASSERT_FALSE(path.empty());
    std::string png = FileBytes(path);
    ASSERT_GT(png.size(), 8u);
    EXPECT_EQ(png.substr(1, 3), "PNG");
}

} // namespace
