#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"
#include "support/store_bytes.h"
#include "support/temp_folder.h"
#include "view_parent.h"
#include "views/group_view.h"

namespace {

class GroupViewTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        DeletePelnorKey();
        GroupViewInit(&view_);
    }
    void TearDown() override { DeletePelnorKey(); }

    void Create()
    {
        RECT rc = {0, 0, 400, 250};
        ASSERT_TRUE(GroupViewCreate(&view_, parent_.window, L"Group", &rc, IDC_GROUP_VIEW, GetModuleHandleW(nullptr)));
    }

    void WriteIndex(const wchar_t *group, const HeaderFields &header)
    {
        ASSERT_TRUE(WriteFileBytes(data_.file(std::wstring(group) + L".idx"), HeaderBytes(header)));
    }

    int Selected() { return (int)SendMessageW(view_.list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED); }
    int Focused() { return (int)SendMessageW(view_.list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_FOCUSED); }

    TempFolder data_;
    ViewParent parent_;
    GroupView view_;
    ModalWatcher watcher_;
};

/* Comment and empty lines of group.dat are no rows. (What each column
 * shows is read by the old folder start's and the catch-up command's
 * tests.) */
TEST_F(GroupViewTest, ReloadListsTheGroupsAndSelectsTheFirstRow)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "# a comment\r\n\r\nfj.news.group\r\njapan.test\r\n"));
    WriteIndex(L"fj.news.group", HeaderFields());
    WriteIndex(L"japan.test", HeaderFields());
    Create();
    ASSERT_TRUE(GroupViewReload(&view_, data_.path().c_str()));
    ASSERT_EQ(ListViewRowCount(view_.list), 2);

    /* A reload selects the first row whatever was selected before. */
    ListView_SetItemState(view_.list, 1, LVIS_SELECTED | LVIS_FOCUSED, LVIS_SELECTED | LVIS_FOCUSED);
    ASSERT_TRUE(GroupViewReload(&view_, data_.path().c_str()));
    EXPECT_EQ(Selected(), 0);
    EXPECT_EQ(Focused(), 0);
}

TEST_F(GroupViewTest, EmptyOrMissingGroupFile)
{
    Create();
    EXPECT_FALSE(GroupViewReload(&view_, data_.path().c_str()));
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"GROUP", L"グループ一覧が取得できませんでした(2)", MB_ICONERROR}}));

    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), ""));
    ASSERT_TRUE(GroupViewReload(&view_, data_.path().c_str()));
    EXPECT_EQ(ListViewRowCount(view_.list), 0);
}

/* A group that cannot be shown keeps a row with its name only, so the user
 * can still unsubscribe it; the others are shown and the failed ones named
 * in one box, the first ten by name. */
TEST_F(GroupViewTest, GroupsThatCannotBeReadAreNamedAndTheOthersShown)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "a.good\r\nb.short\r\ncon\r\nc.after\r\n"));
    WriteIndex(L"a.good", HeaderFields());
    ASSERT_TRUE(WriteFileBytes(data_.file(L"b.short.idx"), std::string(60, '\0')));
    WriteIndex(L"c.after", HeaderFields{5, 0, 0, 0, 0, 0, "", 7});
    Create();
    EXPECT_FALSE(GroupViewReload(&view_, data_.path().c_str()));
    ASSERT_EQ(ListViewRowCount(view_.list), 4);
    EXPECT_EQ(ListViewText(view_.list, 2, 0), L"con");
    EXPECT_EQ(ListViewText(view_.list, 2, kColumnUnread), L"");
    EXPECT_EQ(ListViewText(view_.list, 3, kColumnUnread), L"7");

    std::string many;
    std::wstring named; /* the first ten */
    for (int i = 1; i <= 12; i++) {
        many += "bad*" + std::to_string(i) + "\r\n";
        named += i <= 10 ? L"\r\nbad*" + std::to_wstring(i) : L"";
    }
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), many));
    EXPECT_FALSE(GroupViewReload(&view_, data_.path().c_str()));
    const std::wstring failed = L"インデックスファイルの初期化に失敗しました";
    EXPECT_EQ(watcher_.seen(), (std::vector<SeenBox>{{L"GROUP", failed + L"(13)\r\nb.short\r\ncon", MB_ICONERROR},
                                                    {L"GROUP", failed + L"(123)" + named + L"\r\nほか2グループ", MB_ICONERROR}}));
}

/* Moving to the next group stops at the last row; with no row selected it
 * fails. (The selected group's name and row are the catch-up command's
 * test.) */
TEST_F(GroupViewTest, SelectNextStopsAtTheLastRow)
{
    ASSERT_TRUE(WriteFileBytes(data_.file(L"group.dat"), "one\r\ntwo\r\n"));
    WriteIndex(L"one", HeaderFields());
    WriteIndex(L"two", HeaderFields());
    Create();
    ASSERT_TRUE(GroupViewReload(&view_, data_.path().c_str()));
    int moved = 0;
    ASSERT_TRUE(GroupViewSelectNext(&view_, &moved));
    EXPECT_EQ(moved, 1);
    EXPECT_EQ(Focused(), 1);
    ASSERT_TRUE(GroupViewSelectNext(&view_, &moved));
    EXPECT_EQ(moved, 0);
    EXPECT_EQ(Selected(), 1);
    ListView_SetItemState(view_.list, -1, 0, LVIS_SELECTED);
    EXPECT_FALSE(GroupViewSelectNext(&view_, &moved));
}

} // namespace
