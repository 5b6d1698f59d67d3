#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <algorithm>
#include <string>
#include <vector>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"

namespace {

/* The items under `parent` (folders end in "/"), with their children in
 * braces. Drafts of one node come in the folder's listing order, which is
 * the file system's: they are compared sorted. */
std::wstring Dump(HWND tree, HTREEITEM parent)
{
    std::vector<std::wstring> items = TreeChildren(tree, parent);
    if (std::none_of(items.begin(), items.end(), [](const std::wstring &text) { return text.back() == L'/'; }))
        std::sort(items.begin(), items.end());
    HTREEITEM item = TreeView_GetChild(tree, parent);
    for (std::wstring &text : items) {
        if (TreeView_GetChild(tree, item))
            text += L"{" + Dump(tree, item) + L"}";
        item = TreeView_GetNextSibling(tree, item);
    }
    std::wstring joined;
    for (const std::wstring &text : items)
        joined += (joined.empty() ? L"" : L" ") + text;
    return joined;
}

class DraftsTest : public FrameFixture {
protected:
    std::wstring Draft(const wchar_t *name) const { return data_.path() + L"draft\\" + name; }
    HWND Tree() const { return frame_.draftTree->tree; }
};

/* Drafts are filed by the newsgroup line the group logs keep, "Newsgroup: ";
 * with posting on, by the standard "Newsgroups: " first. */
TEST_F(DraftsTest, PaneFilesDraftsUnderTheirFoldersAndIsRefilledWhenShown)
{
    const struct {
        DWORD posting;
        const wchar_t *tree;
    } cases[] = {
        {0, L"送信待ち/{(none)/{漢} fj.a/{earlier group} fj.test/{first}} 草稿/{fj.old/{(none)}} "
            L"送信済/{(none)/{gone}}"},
        {1, L"送信待ち/{fj.a/{earlier group} fj.test/{first 漢}} 草稿/{fj.test/{(none)}} "
            L"送信済/{(none)/{gone}}"},
    };
    for (const auto &c : cases) {
        SetPelnorDword(L"Posting", c.posting);
        ASSERT_NE(Start(), nullptr);
        ASSERT_TRUE(WriteFileBytes(Draft(L"out1.txt"), "Newsgroup: fj.test\r\nSubject: first\r\n\r\nbody\r\n"));
        /* Shift_JIS text. */
        ASSERT_TRUE(WriteFileBytes(Draft(L"out2.txt"), "Subject: \x8a\xbf\r\nNewsgroups: fj.test\r\n\r\n"));
        ASSERT_TRUE(WriteFileBytes(Draft(L"out3.txt"), "Newsgroup: fj.a\r\nSubject: earlier group\r\n"));
        ASSERT_TRUE(
            WriteFileBytes(Draft(L"sent1.txt"), "From: a@example.jp\r\nSubject: gone\r\n\r\nNewsgroup: x\r\n"));
        ASSERT_TRUE(WriteFileBytes(Draft(L"note.txt"),
                                   "Newsgroups: fj.test\r\nNewsgroup: fj.old\r\n\r\nSubject: in the body\r\n"));
        /* Left out: a line past 1024 bytes, other names, a folder. */
        ASSERT_TRUE(WriteFileBytes(Draft(L"long.txt"), "Subject: " + std::string(1100, 'x') + "\r\n\r\n"));
        ASSERT_TRUE(WriteFileBytes(Draft(L"other.bak"), "Subject: backup\r\n\r\n"));
        ASSERT_TRUE(CreateDirectoryW(Draft(L"folder.txt").c_str(), nullptr));

        Command(IDM_DRAFTS_VIEW);
        EXPECT_TRUE(IsWindowVisible(Tree()));
        EXPECT_FALSE(IsWindowVisible(frame_.groupView->list));
        EXPECT_TRUE(IsWindowVisible(frame_.draftsMenuBar));
        EXPECT_FALSE(IsWindowVisible(frame_.groupMenuBar));
        EXPECT_EQ(Dump(Tree(), TVI_ROOT), c.tree) << c.posting;
        if (c.posting) {
            for (HTREEITEM root = TreeView_GetRoot(Tree()); root; root = TreeView_GetNextSibling(Tree(), root)) {
                TreeView_Expand(Tree(), root, TVE_EXPAND);
                for (HTREEITEM node = TreeView_GetChild(Tree(), root); node;
                     node = TreeView_GetNextSibling(Tree(), node))
                    TreeView_Expand(Tree(), node, TVE_EXPAND);
            }
            UpdateWindow(frame_.mainWindow);
            SaveScreenshot(frame_.mainWindow, L"drafts-pane");
        }

        Command(IDM_DRAFTS_GROUPS);
        EXPECT_TRUE(IsWindowVisible(frame_.groupView->list));
        EXPECT_FALSE(IsWindowVisible(Tree()));
        EXPECT_FALSE(IsWindowVisible(frame_.draftsMenuBar));

        for (const wchar_t *name : {L"out1.txt", L"out2.txt", L"out3.txt", L"note.txt", L"long.txt"})
            DeleteFileW(Draft(name).c_str());
        ASSERT_TRUE(WriteFileBytes(Draft(L"sent2.txt"), "Subject: again\r\n\r\n"));
        Command(IDM_DRAFTS_VIEW);
        EXPECT_EQ(Dump(Tree(), TVI_ROOT), L"送信待ち/ 草稿/ 送信済/{(none)/{again gone}}");
        DeleteFileW(Draft(L"sent2.txt").c_str());
        RemoveDirectoryW(Draft(L"folder.txt").c_str());
        TearDown();
        SetUp();
    }
}

TEST_F(DraftsTest, ComposeAsksForTheNameThenTheAddress)
{
    struct Case {
        const wchar_t *user, *mail;
        const wchar_t *caption, *text;
        UINT icon;
    } cases[] = {
        {nullptr, L"a@example.jp", L"プロパティ未設定", L"プロパティでユーザ名を設定してください.", MB_ICONEXCLAMATION},
        {L"ユーザ", nullptr, L"プロパティ未設定", L"プロパティでメールアドレスを設定してください.", MB_ICONEXCLAMATION},
        {L"ユーザ", L"a@example.jp", L"COMPOSE", L"Compoe!", 0},
    };
    for (const Case &c : cases) {
        if (c.user)
            SetPelnorString(L"UserName", c.user);
        if (c.mail)
            SetPelnorString(L"MailAddress", c.mail);
        ASSERT_NE(Start(), nullptr);
        watcher_.Clear();
        Command(IDM_COMPOSE);
        EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{c.caption, c.text, c.icon}}));
        TearDown();
        SetUp();
    }
}

TEST_F(DraftsTest, ChooseExeShowsThePickedProgram)
{
    ASSERT_NE(Start(), nullptr);
    ASSERT_TRUE(CreateDirectoryW(data_.file(L"bin").c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(data_.file(L"bin\\tool.exe"), "MZ"));
    watcher_.WorkDialogs([&](HWND dialog) {
        HWND tree = GetDlgItem(dialog, IDC_CHOOSER_TREE);
        TreeView_SelectItem(tree, TreeChild(tree, OpenTreeTo(tree, data_.file(L"bin\\")), L"tool.exe"));
        ClickButton(dialog, IDC_CHOOSER_OK);
    });
    Command(IDM_CHOOSE_EXE);
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"SELECTED", data_.file(L"bin\\tool.exe"), 0}}));
}

} // namespace
