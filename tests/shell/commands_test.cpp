#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "resources/resource.h"
#include "support/frame_fixture.h"
#include "support/registry_fixture.h"
#include "support/group_bytes.h"

namespace {

struct StoredGroup {
    const wchar_t *name;
    int articles, read; /* stored articles (numbers 10 on), the first `read` of them read */
};

class CommandTest : public FrameFixture {
protected:
    /* The frame started over a group file of `groups`, each stored. */
    void Start(std::initializer_list<StoredGroup> groups)
    {
        std::string names;
        for (const StoredGroup &g : groups) {
            std::vector<GroupArticle> list;
            for (int i = 0; i < g.articles; i++)
                list.push_back(
                    {L"a@example.jp", L"article " + std::to_wstring(i), "0305", {L"body"}, i < g.read ? 1u : 0u});
            WriteGroupFiles(data_, g.name, list);
            names += Sjis(g.name) + "\r\n";
        }
        ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), names));
        ASSERT_NE(FrameFixture::Start(), nullptr);
        list_ = frame_.groupView->list;
    }

    /* Answers the catch-up dialog with the two boxes and OK, or Cancel. */
    void AnswerCatchUp(bool local, bool server, bool ok = true)
    {
        watcher_.SetDialogHandler([=](HWND dialog) {
            CheckDlgButton(dialog, IDC_CATCHUP_LOCAL, local ? BST_CHECKED : BST_UNCHECKED);
            CheckDlgButton(dialog, IDC_CATCHUP_SERVER, server ? BST_CHECKED : BST_UNCHECKED);
            PostMessageW(dialog, WM_COMMAND, ok ? IDOK : IDCANCEL, 0);
        });
    }

    HWND list_ = nullptr;
};

/* Each group view column starts at its registry value (four bytes of
 * another type read like a number; eight do not fit and leave the default)
 * and every width goes back there when Pelnor closes. */
TEST_F(CommandTest, GroupViewWidthsComeFromTheRegistryAndGoBackAtExit)
{
    const wchar_t *key = PELNOR_REGISTRY_KEY L"\\GroupView";
    const BYTE four[4] = {70, 0, 0, 0}, eight[8] = {90};
    SetPelnorDword(L"ureadWidth", 55, L"GroupView");
    RegSetKeyValueW(HKEY_CURRENT_USER, key, L"artsWidth", REG_BINARY, four, 4);
    RegSetKeyValueW(HKEY_CURRENT_USER, key, L"maxWidth", REG_BINARY, eight, 8);
    Start({});
    const struct {
        const wchar_t *name;
        int column;
        DWORD shown, stored;
    } widths[] = {{L"NewsgroupWidth", kColumnNewsgroup, 100, 100}, {L"ureadWidth", kColumnUnread, 55, 55},
                  {L"artsWidth", kColumnArticles, 70, 70},         {L"StatusWidth", kColumnStatus, 150, 150},
                  {L"curWidth", kColumnCurrent, 60, 77},           {L"maxWidth", kColumnMaximum, 60, 60}};
    for (const auto &w : widths)
        EXPECT_EQ((DWORD)SendMessageW(list_, LVM_GETCOLUMNWIDTH, w.column, 0), w.shown) << w.name;
    SendMessageW(list_, LVM_SETCOLUMNWIDTH, kColumnCurrent, 77);
    SendMessageW(frame_.mainWindow, WM_CLOSE, 0, 0);
    for (const auto &w : widths)
        EXPECT_EQ(PelnorValue(w.name, L"GroupView"), DwordValue(w.stored)) << w.name;
}

TEST_F(CommandTest, CatchUpLocalThenServerCancelAndFailure)
{
    Start({{L"fj.a", 2, 0}, {L"fj.b", 3, 1}});
    /* Here: every record's read bit and unread 0, nothing else. */
    std::string expected = FileBytes(data_.file(L"fj.b.idx")).replace(88, 4, U32(0));
    for (size_t at = 100; at < expected.size(); at += 92)
        expected.replace(at, 4, U32(ReadU32(expected, at) | 1));
    ListView_SetItemState(list_, 1, LVIS_SELECTED, LVIS_SELECTED);
    AnswerCatchUp(true, false);
    Command(IDM_CATCHUP);
    EXPECT_EQ(FileBytes(data_.file(L"fj.b.idx")), expected);
    EXPECT_EQ(ListViewText(list_, 1, 1), L"0");

    ListView_SetItemState(list_, 0, LVIS_SELECTED, LVIS_SELECTED);
    std::string before = FileBytes(data_.file(L"fj.a.idx"));
    AnswerCatchUp(true, true, false); /* Cancel */
    Command(IDM_CATCHUP);
    EXPECT_EQ(FileBytes(data_.file(L"fj.a.idx")), before);
    /* On the server: last fetched all ones, nothing else (the stored
     * articles stay unread). */
    AnswerCatchUp(false, true);
    Command(IDM_CATCHUP);
    EXPECT_EQ(FileBytes(data_.file(L"fj.a.idx")), std::string(before).replace(4, 4, U32(0xFFFFFFFFu)));
    EXPECT_EQ(ListViewText(list_, 0, 4), L"Catchup");
    EXPECT_TRUE(watcher_.boxes().empty());

    /* An unreadable index is reported before any dialog. */
    ASSERT_TRUE(WriteFileBytes(data_.file(L"fj.a.idx"), "short"));
    ListView_SetItemState(list_, 0, LVIS_SELECTED, LVIS_SELECTED);
    Command(IDM_CATCHUP);
    EXPECT_EQ(watcher_.dialog_titles().size(), 3u);
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"PELNOR", L"インデックスの初期化に失敗しました(13)", MB_ICONERROR}}));

    /* Without a selected group nothing happens at all. */
    ListView_SetItemState(list_, -1, 0, LVIS_SELECTED);
    Command(IDM_CATCHUP);
    EXPECT_EQ(watcher_.dialog_titles().size(), 3u);
}

TEST_F(CommandTest, DeleteReadGoesOnPastAFailingGroup)
{
    Start({{L"fj.some", 3, 2}, {L"fj.nolog", 2, 1}, {L"fj.all", 2, 2}});
    DeleteFileW(data_.file(L"fj.nolog.log").c_str());
    std::string some_index = FileBytes(data_.file(L"fj.some.idx"));

    watcher_.QueueAnswer(IDNO);
    Command(IDM_DELETE_READ);
    EXPECT_EQ(FileBytes(data_.file(L"fj.some.idx")), some_index);

    watcher_.QueueAnswer(IDYES);
    Command(IDM_DELETE_READ);
    const SeenBox asked{L"Delete read articles", L"既読記事を削除しますか?", MB_ICONQUESTION};
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{asked, asked,
                                                    {L"fj.nolog", L"既読記事の削除に失敗しました(2)", MB_ICONEXCLAMATION}}));
    EXPECT_EQ(watcher_.boxes()[1].buttons, (std::vector<int>{IDYES, IDNO}));

    /* Before and after the failing group alike. */
    EXPECT_EQ(ReadU32(FileBytes(data_.file(L"fj.some.idx")), 16), 1u);
    EXPECT_EQ(FileBytes(data_.file(L"fj.all.idx")).size(), 100u);
    EXPECT_EQ(FileBytes(data_.file(L"fj.all.log")), "");
    EXPECT_EQ(ListViewText(list_, 0, 2), L"1"); /* reloaded */

    /* Without a group file the user is told, with the error. */
    DeleteFileW(data_.file(L"group.dat").c_str());
    watcher_.QueueAnswer(IDYES);
    Command(IDM_DELETE_READ);
    ASSERT_EQ(watcher_.boxes().size(), 5u);
    EXPECT_EQ(watcher_.seen()[4], SeenBox(L"PELNOR", L"グループ一覧が開けませんでした(2)", MB_ICONERROR));
}

} // namespace
