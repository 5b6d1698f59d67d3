#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <functional>
#include <string>
#include <vector>

#include "drafts/file_chooser.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

class FileChooserTest : public ::testing::Test {
protected:
    void SetUp() override { InitFileChooser(&chooser_); }
    void TearDown() override { FreeFileChooser(&chooser_); }

    /* Runs the chooser; `act` works the dialog once it shows. */
    int Run(const wchar_t *pattern, std::function<void(HWND dialog, HWND tree)> act)
    {
        watcher_.WorkDialogs([&](HWND dialog) { act(dialog, GetDlgItem(dialog, IDC_CHOOSER_TREE)); });
        return RunFileChooser(&chooser_, GetModuleHandleW(nullptr), nullptr,
                              pattern ? L"Choose Editor" : L"Choose folder", pattern);
    }
    static bool OkEnabled(HWND dialog) { return IsWindowEnabled(GetDlgItem(dialog, IDC_CHOOSER_OK)) != 0; }

    TempFolder folder_;
    FileChooser chooser_;
    ModalWatcher watcher_;
};

TEST_F(FileChooserTest, ReExpandingAFolderShowsWhatItHoldsNow)
{
    for (const wchar_t *name : {L"beta", L"Alpha", L"gamma"})
        ASSERT_TRUE(CreateDirectoryW(folder_.file(name).c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(folder_.file(L"a.txt"), "folder mode lists no files"));
    SetFileChooserDrive(&chooser_, folder_.path().c_str());
    std::vector<std::wstring> first, second;
    EXPECT_EQ(Run(nullptr,
                  [&](HWND, HWND tree) {
                      HTREEITEM item = OpenTreeTo(tree, folder_.path());
                      first = TreeChildren(tree, item);
                      TreeKey(tree, item, false);
                      RemoveDirectoryW(folder_.file(L"beta").c_str());
                      CreateDirectoryW(folder_.file(L"delta").c_str(), nullptr);
                      EXPECT_EQ(TreeChildren(tree, item), std::vector<std::wstring>{L"DUMMY/"});
                      TreeKey(tree, item, true);
                      second = TreeChildren(tree, item);
                  }),
              2);
    EXPECT_EQ(first, (std::vector<std::wstring>{L"Alpha/", L"beta/", L"gamma/"}));
    EXPECT_EQ(second, (std::vector<std::wstring>{L"Alpha/", L"delta/", L"gamma/"}));
}

TEST_F(FileChooserTest, FileModeListsMatchingFilesAfterTheFoldersAndTakesOnlyAFile)
{
    ASSERT_TRUE(CreateDirectoryW(folder_.file(L"tools").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(folder_.file(L"empty").c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(folder_.file(L"tools\\sub").c_str(), nullptr));
    for (const wchar_t *name : {L"pword.exe", L"Apple.EXE", L"readme.txt", L"tools\\notes.txt"})
        ASSERT_TRUE(WriteFileBytes(folder_.file(name), "x"));
    SetFileChooserDrive(&chooser_, folder_.path().c_str());
    std::vector<std::wstring> listed, tools;
    bool ok_on_folder = true, ok_on_file = false;
    EXPECT_EQ(Run(L"*.exe",
                  [&](HWND dialog, HWND tree) {
                      HTREEITEM item = OpenTreeTo(tree, folder_.path());
                      listed = TreeChildren(tree, item);
                      HTREEITEM sub = TreeChild(tree, item, L"tools");
                      TreeKey(tree, sub, true);
                      tools = TreeChildren(tree, sub);
                      TreeView_SelectItem(tree, sub);
                      ok_on_folder = OkEnabled(dialog);
                      TreeView_SelectItem(tree, TreeChild(tree, item, L"pword.exe"));
                      ok_on_file = OkEnabled(dialog);
                      UpdateWindow(dialog);
                      SaveScreenshot(dialog, L"file-chooser");
                  }),
              2);
    EXPECT_EQ(listed, (std::vector<std::wstring>{L"empty/", L"tools/", L"Apple.EXE", L"pword.exe"}));
    EXPECT_EQ(tools, std::vector<std::wstring>{L"sub/"});
    EXPECT_FALSE(ok_on_folder);
    EXPECT_TRUE(ok_on_file);
}

TEST_F(FileChooserTest, TheRootInFolderModeIsABackslashAndCancelTakesNothing)
{
    const struct {
        const wchar_t *drive_of;
        const wchar_t *result;
    } cases[] = {{nullptr, L"\\"}, {L"Z:\\tmp\\news", L"Z:\\"}};
    for (const auto &c : cases) {
        InitFileChooser(&chooser_);
        if (c.drive_of)
            SetFileChooserDrive(&chooser_, c.drive_of);
        EXPECT_EQ(Run(nullptr,
                      [](HWND dialog, HWND tree) {
                          TreeView_SelectItem(tree, TreeView_GetRoot(tree));
                          ClickButton(dialog, IDC_CHOOSER_OK);
                      }),
                  1);
        EXPECT_EQ(std::wstring(chooser_.result), c.result);
        FreeFileChooser(&chooser_);
    }
    EXPECT_EQ(Run(L"*.exe", [](HWND dialog, HWND) { ClickButton(dialog, IDCANCEL); }), 2);
    EXPECT_EQ(chooser_.result, nullptr);
}

TEST_F(FileChooserTest, APathBeyond260CharactersIsRefusedWithAMessageNeverCut)
{
    /* Deep enough that a child of the last folder needs more than 260. */
    std::wstring deep = folder_.path();
    while (deep.size() < 150)
        deep += std::wstring(40, L'd') + L"\\";
    std::wstring last = deep + std::wstring(250 - deep.size() - 1, L'e') + L"\\"; /* 250: still listed */
    std::wstring too_long = last + std::wstring(20, L'f') + L"\\";
    for (size_t at = folder_.path().size(); (at = too_long.find(L'\\', at)) != std::wstring::npos; at++)
        CreateDirectoryW((L"\\\\?\\" + too_long.substr(0, at)).c_str(), nullptr);
    SetFileChooserDrive(&chooser_, folder_.path().c_str());
    std::vector<std::wstring> after_expand;
    EXPECT_EQ(Run(nullptr,
                  [&](HWND dialog, HWND tree) {
                      HTREEITEM item = OpenTreeTo(tree, last);
                      ASSERT_NE(item, nullptr);
                      HTREEITEM child = TreeView_GetChild(tree, item);
                      TreeKey(tree, child, true);
                      after_expand = TreeChildren(tree, child);
                      TreeView_SelectItem(tree, child);
                      ClickButton(dialog, IDC_CHOOSER_OK);
                      EXPECT_TRUE(IsWindow(dialog));
                      ClickButton(dialog, IDCANCEL);
                  }),
              2);
    EXPECT_EQ(after_expand, std::vector<std::wstring>{L"DUMMY/"});
    const SeenBox refused{L"PELNOR", L"パスが260文字を超えるため、開くことも選ぶこともできません。", MB_ICONEXCLAMATION};
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{refused, refused}));
    RemoveTree(L"\\\\?\\" + folder_.path() + std::wstring(40, L'd'));
}

} // namespace
