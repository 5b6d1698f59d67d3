#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"
#include "support/group_bytes.h"
#include "base/dialog.h"

namespace {

/* A group of `articles` stored articles (numbers 10 on) whose first `read`
 * are read. */
void WriteGroup(const TempFolder &data, const std::wstring &group, int articles, int read)
{
    std::vector<GroupArticle> list;
    for (int i = 0; i < articles; i++)
        list.push_back({L"a@example.jp", L"article " + std::to_wstring(i), "0305", {L"body"}, i < read ? 1u : 0u});
    WriteGroupFiles(data, group, list);
}

class CommandTest : public FrameFixture {
protected:
    void Start()
    {
        ASSERT_NE(FrameFixture::Start(), nullptr);
        list_ = frame_.groupView->list;
    }

    void SelectRow(int row)
    {
        LVITEMW item = {};
        item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
        item.state = LVIS_SELECTED | LVIS_FOCUSED;
        SendMessageW(list_, LVM_SETITEMSTATE, row, (LPARAM)&item);
    }

    /* Answers the catch-up dialog with the two boxes and OK, or Cancel. */
    void AnswerCatchUp(bool local, bool server, bool ok = true)
    {
        watcher_.SetDialogHandler([=](HWND dialog) {
            dialog_title_ = WindowText(dialog);
            local_text_ = WindowText(GetDlgItem(dialog, IDC_CATCHUP_LOCAL));
            server_text_ = WindowText(GetDlgItem(dialog, IDC_CATCHUP_SERVER));
            started_unchecked_ = !IsButtonChecked(dialog, IDC_CATCHUP_LOCAL) && !IsButtonChecked(dialog, IDC_CATCHUP_SERVER);
            busy_inside_ = frame_.busy;
            if (local)
                CheckDlgButton(dialog, IDC_CATCHUP_LOCAL, BST_CHECKED);
            if (server)
                CheckDlgButton(dialog, IDC_CATCHUP_SERVER, BST_CHECKED);
            PostMessageW(dialog, WM_COMMAND, ok ? IDOK : IDCANCEL, 0);
        });
    }

    HWND list_ = nullptr;
    std::wstring dialog_title_, local_text_, server_text_;
    bool started_unchecked_ = false;
    DWORD busy_inside_ = 0;
};

TEST_F(CommandTest, GroupViewFillsTheFrameAndSavesItsWidthsAtExit)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\nfj.b\r\n"));
    WriteGroup(data_, L"fj.a", 3, 1);
    WriteGroup(data_, L"fj.b", 0, 0);
    Start();
    EXPECT_EQ(GetDlgCtrlID(list_), IDC_GROUP_VIEW);
    EXPECT_EQ(WindowText(list_), L"Group");
    ASSERT_EQ(ListViewRowCount(list_), 2);
    EXPECT_EQ(ListViewText(list_, 0, 1), L"2");
    EXPECT_EQ(ListViewText(list_, 0, 2), L"3");
    EXPECT_EQ(GetFocus(), list_);
    RECT client, pane, bar;
    GetClientRect(frame_.mainWindow, &client);
    GetWindowRect(list_, &pane);
    GetWindowRect(frame_.groupMenuBar, &bar);
    EXPECT_EQ(pane.right - pane.left, client.right);
    EXPECT_EQ(pane.bottom, bar.top);

    SendMessageW(list_, LVM_SETCOLUMNWIDTH, 1, 66);
    SendMessageW(frame_.mainWindow, WM_CLOSE, 0, 0);
    DWORD width = 0, size = sizeof width;
    ASSERT_EQ(RegGetValueW(HKEY_CURRENT_USER, L"Software\\marrowby\\Pelnor\\GroupView", L"ureadWidth",
                           RRF_RT_REG_DWORD, nullptr, &width, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(width, 66u);
}

TEST_F(CommandTest, CatchUpLocalThenServer)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\nfj.b\r\n"));
    WriteGroup(data_, L"fj.a", 2, 0);
    WriteGroup(data_, L"fj.b", 3, 1);
    Start();
    SelectRow(1);
    AnswerCatchUp(true, false);
    Command(IDM_CATCHUP);
    EXPECT_EQ(dialog_title_, L"記事の読み飛ばし");
    EXPECT_EQ(local_text_, L"現在保持している記事を既読に");
    EXPECT_EQ(server_text_, L"現在ｻｰﾊﾞにある記事は読まない");
    EXPECT_TRUE(started_unchecked_);
    EXPECT_EQ(busy_inside_, 1u);
    EXPECT_EQ(frame_.busy, 0u);
    std::string index = FileBytes(data_.file(L"fj.b.idx"));
    ASSERT_EQ(index.size(), 100u + 3 * 92);
    EXPECT_EQ(ReadU32(index, 88), 0u); /* unread */
    for (int i = 0; i < 3; i++)
        EXPECT_EQ(ReadU32(index, 100 + 92 * i) & 1, 1u) << i;
    EXPECT_EQ(ReadU32(index, 4), 0u); /* last fetched untouched */
    EXPECT_EQ(ListViewText(list_, 1, 1), L"0");
    EXPECT_EQ(ReadU32(FileBytes(data_.file(L"fj.a.idx")), 88), 2u);

    SelectRow(0);
    AnswerCatchUp(false, true);
    Command(IDM_CATCHUP);
    index = FileBytes(data_.file(L"fj.a.idx"));
    EXPECT_EQ(ReadU32(index, 4), 0xFFFFFFFFu);
    EXPECT_EQ(ReadU32(index, 88), 2u); /* stored articles stay unread */
    EXPECT_EQ(ListViewText(list_, 0, 4), L"Catchup");
    EXPECT_TRUE(watcher_.boxes().empty());
}

TEST_F(CommandTest, CatchUpThatChangesNothing)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.a\r\n"));
    WriteGroup(data_, L"fj.a", 2, 1);
    Start();
    std::string before = FileBytes(data_.file(L"fj.a.idx"));
    AnswerCatchUp(false, false);
    Command(IDM_CATCHUP);
    AnswerCatchUp(true, true, false); /* Cancel */
    Command(IDM_CATCHUP);
    EXPECT_EQ(FileBytes(data_.file(L"fj.a.idx")), before);
    EXPECT_EQ(watcher_.dialog_titles().size(), 2u);

    /* An unreadable index is reported before any dialog. */
    ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.a.idx"), "short"));
    Command(IDM_CATCHUP);
    EXPECT_EQ(watcher_.dialog_titles().size(), 2u);
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(watcher_.boxes()[0].text, L"インデックスの初期化に失敗しました(13)");
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONERROR);

    /* Without a selected group nothing happens at all. */
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    Command(IDM_CATCHUP);
    EXPECT_EQ(watcher_.dialog_titles().size(), 2u);
    EXPECT_EQ(frame_.busy, 0u);
}

TEST_F(CommandTest, DeleteReadGoesOnPastAFailingGroup)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "fj.some\r\nfj.nolog\r\nfj.all\r\nfj.none\r\n"));
    WriteGroup(data_, L"fj.some", 3, 2);
    WriteGroup(data_, L"fj.nolog", 2, 1);
    WriteGroup(data_, L"fj.all", 2, 2);
    WriteGroup(data_, L"fj.none", 2, 0);
    Start();
    DeleteFileW(data_.file(L"fj.nolog.log").c_str());
    std::string none_log = FileBytes(data_.file(L"fj.none.log"));
    std::string some_index = FileBytes(data_.file(L"fj.some.idx"));

    watcher_.QueueAnswer(IDNO);
    Command(IDM_DELETE_READ);
    EXPECT_EQ(FileBytes(data_.file(L"fj.some.idx")), some_index);

    watcher_.QueueAnswer(IDYES);
    Command(IDM_DELETE_READ);
    ASSERT_EQ(watcher_.boxes().size(), 3u);
    EXPECT_EQ(watcher_.boxes()[1].caption, L"Delete read articles");
    EXPECT_EQ(watcher_.boxes()[1].text, L"既読記事を削除しますか?");
    EXPECT_EQ(watcher_.boxes()[1].icon, (UINT)MB_ICONQUESTION);
    EXPECT_EQ(watcher_.boxes()[1].buttons, (std::vector<int>{IDYES, IDNO}));
    EXPECT_EQ(watcher_.boxes()[2].caption, L"fj.nolog");
    EXPECT_EQ(watcher_.boxes()[2].text, L"既読記事の削除に失敗しました(2)");
    EXPECT_EQ(watcher_.boxes()[2].icon, (UINT)MB_ICONEXCLAMATION);

    EXPECT_EQ(ReadU32(FileBytes(data_.file(L"fj.some.idx")), 16), 1u);
    EXPECT_EQ(FileBytes(data_.file(L"fj.all.idx")).size(), 100u);
    EXPECT_EQ(FileBytes(data_.file(L"fj.all.log")), "");
    EXPECT_EQ(FileBytes(data_.file(L"fj.none.log")), none_log);
    EXPECT_EQ(ListViewText(list_, 0, 2), L"1"); /* reloaded */

    /* Without a group file the user is told, with the error. */
    DeleteFileW(data_.file(L"group.dat").c_str());
    watcher_.QueueAnswer(IDYES);
    Command(IDM_DELETE_READ);
    ASSERT_EQ(watcher_.boxes().size(), 5u);
    EXPECT_EQ(watcher_.boxes()[4].caption, L"PELNOR");
    EXPECT_EQ(watcher_.boxes()[4].text, L"グループ一覧が開けませんでした(2)");
    EXPECT_EQ(watcher_.boxes()[4].icon, (UINT)MB_ICONERROR);
}

DWORD StoredOption(const wchar_t *subkey, const wchar_t *name)
{
    std::wstring path = std::wstring(L"Software\\marrowby\\Pelnor\\") + subkey;
    DWORD value = 0xDEAD, size = sizeof value;
    RegGetValueW(HKEY_CURRENT_USER, path.c_str(), name, RRF_RT_REG_DWORD, nullptr, &value, &size);
    return value;
}

bool IsChecked(HMENU menu, UINT id)
{
    return (GetMenuState(menu, id, MF_BYCOMMAND) & MF_CHECKED) != 0;
}

TEST_F(CommandTest, ViewOptionsToggleTheirMarksAndAreStored)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), ""));
    Start();
    /* Each command in turn, with the value stored; normal is 0 and low 1. */
    const struct {
        UINT command;
        const wchar_t *key, *name;
        DWORD value;
    } steps[] = {{IDM_VIEW_READ, L"SubjectView", L"ViewReadArticle", 1},
                 {IDM_VIEW_READ, L"SubjectView", L"ViewReadArticle", 0},
                 {IDM_SHOW_HEADER, L"ArticleView", L"ShowArticleHeader", 1},
                 {IDM_PRIORITY_NORMAL, L"SubjectView", L"PriorityViewLevel", 0},
                 {IDM_PRIORITY_HIGH, L"SubjectView", L"PriorityViewLevel", 2},
                 {IDM_PRIORITY_LOW, L"SubjectView", L"PriorityViewLevel", 1}};
    for (const auto &step : steps) {
        Command(step.command);
        EXPECT_EQ(StoredOption(step.key, step.name), step.value) << step.command;
        HMENU popup = step.command == IDM_SHOW_HEADER ? frame_.articlePopup : frame_.subjectPopup;
        bool exclusive = step.key == std::wstring(L"SubjectView") && step.name[0] == L'P';
        EXPECT_EQ(IsChecked(popup, step.command), exclusive || step.value != 0) << step.command;
        for (UINT level : {IDM_PRIORITY_HIGH, IDM_PRIORITY_NORMAL, IDM_PRIORITY_LOW})
            if (exclusive && level != step.command)
                EXPECT_FALSE(IsChecked(popup, level));
    }
    EXPECT_TRUE(watcher_.boxes().empty());

    /* Under a volatile parent the program's key cannot be made again: the
     * options stay toggled and the user is told (the level's failure is of
     * no consequence and not shown). */
    DeletePelnorKey();
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\marrowby");
    HKEY parent;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\marrowby", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &parent, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(parent);
    Command(IDM_VIEW_READ);
    Command(IDM_PRIORITY_HIGH);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\marrowby");
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(watcher_.boxes()[0].text, L"設定の保存ができませんでした(1021)");
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONERROR);
    EXPECT_TRUE(IsChecked(frame_.subjectPopup, IDM_VIEW_READ));
    EXPECT_TRUE(IsChecked(frame_.subjectPopup, IDM_PRIORITY_HIGH));
}

} // namespace
