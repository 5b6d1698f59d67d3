#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>

#include <string>
#include <vector>

#include "resources/resource.h"
#include "subscribe/subscribe_dialog.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

class SubscribeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        active_ = data_.file(L"active.dat");
        category_ = data_.file(L"category.dat");
        group_ = data_.file(L"group.dat");
        state_.active_path = active_.c_str();
        state_.category_path = category_.c_str();
        state_.group_path = group_.c_str();
        InitSettings(&settings_);
        state_.settings = &settings_;
        ASSERT_TRUE(WriteFileBytes(category_, "fj\r\njapan\r\nalt\r\n"));
        ASSERT_TRUE(WriteFileBytes(active_, "fj.comp.misc\r\nalt.test\r\nfj..x\r\nfj.news\r\nfj.a*b\r\nfjx.test\r\njapan.anime\r\n"));
    }

    /* Runs the dialog; `script` acts on it once it is shown. */
    int Run(std::function<void(HWND dialog, HWND list)> script)
    {
        watcher_.SetDialogHandler([&, script](HWND dialog) {
            if (WindowText(dialog) != L"ｸﾞﾙｰﾌﾟの購読/中止")
                return;
            RunSoon([=] { script(dialog, GetDlgItem(dialog, IDC_SUBSCRIBE_LIST)); });
        });
        return RunSubscribeDialog(&state_, GetModuleHandleW(nullptr), nullptr);
    }

    static std::vector<std::wstring> Items(HWND list)
    {
        std::vector<std::wstring> items;
        for (int i = 0; i < ListViewRowCount(list); i++)
            items.push_back(ListViewText(list, i, 0));
        return items;
    }

    static int Image(HWND list, int row)
    {
        LVITEMW item = {};
        item.mask = LVIF_IMAGE;
        item.iItem = row;
        SendMessageW(list, LVM_GETITEMW, 0, (LPARAM)&item);
        return item.iImage;
    }

    void TearDown() override { FreeSettings(&settings_); }

    TempFolder data_;
    Settings settings_;
    std::wstring active_, category_, group_;
    SubscribeState state_ = {};
    ModalWatcher watcher_;
};

TEST_F(SubscribeTest, CategoriesThenGroupsByPlainPrefix)
{
    ASSERT_TRUE(WriteFileBytes(group_, "fj.news\r\n"));
    std::vector<std::wstring> categories, groups;
    bool back_disabled = false, back_enabled = false;
    int news_image = -1, misc_image = -1;
    int result = Run([&](HWND dialog, HWND list) {
        categories = Items(list);
        back_disabled = !IsWindowEnabled(GetDlgItem(dialog, IDC_SUBSCRIBE_CATEGORIES));
        DoubleClickListRow(list, ListViewRow(list, L"fj"));
        groups = Items(list);
        back_enabled = IsWindowEnabled(GetDlgItem(dialog, IDC_SUBSCRIBE_CATEGORIES)) != 0;
        news_image = Image(list, ListViewRow(list, L"fj.news"));
        misc_image = Image(list, ListViewRow(list, L"fj.comp.misc"));
        DoubleClickListRow(list, ListViewRow(list, L"fj.comp.misc")); /* Cancel forgets this */
        PostMessageW(dialog, WM_COMMAND, IDCANCEL, 0);
    });
    EXPECT_EQ(result, 2);
    EXPECT_EQ(categories, (std::vector<std::wstring>{L"alt", L"fj", L"japan"}));
    EXPECT_TRUE(back_disabled);
    /* "fjx.test" starts with the bytes "fj": it is listed too; names that
     * cannot be files are not, and the user is told how many. */
    EXPECT_EQ(groups, (std::vector<std::wstring>{L"fj.comp.misc", L"fj.news", L"fjx.test"}));
    ASSERT_EQ(watcher_.boxes().size(), 1u);
    EXPECT_EQ(watcher_.boxes()[0].text, L"ファイル名にできない名前のグループが2個あり、一覧から除きました。");
    EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONINFORMATION);
    EXPECT_TRUE(back_enabled);
    EXPECT_EQ(news_image, kImageSubscribed);
    EXPECT_EQ(misc_image, kImageNotSubscribed);
    EXPECT_EQ(FileBytes(group_), "fj.news\r\n");
}

TEST_F(SubscribeTest, OkWritesTheSetInHashOrderKeepingUnlistedLines)
{
    /* A group the server no longer lists, a comment and an empty line stay. */
    ASSERT_TRUE(WriteFileBytes(group_, "# mine\r\nold.gone\r\n\r\nfj.news\r\n"));
    int image_after_back = -1;
    int result = Run([&](HWND dialog, HWND list) {
        DoubleClickListRow(list, ListViewRow(list, L"fj"));
        DoubleClickListRow(list, ListViewRow(list, L"fj.comp.misc")); /* subscribe */
        int news = ListViewRow(list, L"fj.news");
        DoubleClickListRow(list, news); /* twice: as it was */
        DoubleClickListRow(list, news);
        EXPECT_EQ(Image(list, news), kImageSubscribed);
        DoubleClickListRow(list, news); /* unsubscribe */
        ClickButton(dialog, IDC_SUBSCRIBE_CATEGORIES);
        DoubleClickListRow(list, ListViewRow(list, L"alt"));
        DoubleClickListRow(list, ListViewRow(list, L"alt.test"));     /* subscribe */
        ClickButton(dialog, IDC_SUBSCRIBE_CATEGORIES);
        DoubleClickListRow(list, ListViewRow(list, L"fj"));
        image_after_back = Image(list, ListViewRow(list, L"fj.comp.misc"));
        ClickButton(dialog, IDOK);
    });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(watcher_.boxes().size(), 1u); /* told once, not at every listing */
    EXPECT_EQ(image_after_back, kImageSubscribed);
    /* In the set's bucket order (exclusive-or of the bytes modulo 91):
     * "" 0, "fj.comp.misc" 9, "# mine" 12, "alt.test" 65, "old.gone" 74. */
    EXPECT_EQ(FileBytes(group_), "\r\nfj.comp.misc\r\n# mine\r\nalt.test\r\nold.gone\r\n");
}

TEST_F(SubscribeTest, MissingOrHeldFilesAreReportedAndOkStillCloses)
{
    struct Case {
        const char *name;
        bool group_file, category_file, hold;
        size_t items;
        const wchar_t *box; /* null: none */
        std::string written;
    } cases[] = {
        /* The list stays empty; OK writes what the set holds: nothing. */
        {"no group file", false, true, false, 0, L"グループファイルが開けません(2)", ""},
        {"no category file", true, false, false, 0, nullptr, "fj.news\r\n"},
        /* Another holder of the file refuses the dialog's exclusive open. */
        {"group file held", true, true, true, 3, L"グループファイルが開けませんでした(32)", "fj.news\r\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        DeleteFileW(group_.c_str());
        DeleteFileW(category_.c_str());
        if (c.group_file)
            WriteFileBytes(group_, "fj.news\r\n");
        if (c.category_file)
            WriteFileBytes(category_, "fj\r\njapan\r\nalt\r\n");
        watcher_.Clear();
        size_t items = 99;
        HANDLE held = INVALID_HANDLE_VALUE;
        int result = Run([&](HWND dialog, HWND list) {
            items = Items(list).size();
            if (c.hold)
                held = CreateFileW(group_.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
            ClickButton(dialog, IDOK);
        });
        CloseHandle(held);
        EXPECT_EQ(result, 1);
        EXPECT_EQ(items, c.items);
        ASSERT_EQ(watcher_.boxes().size(), c.box ? 1u : 0u);
        if (c.box) {
            EXPECT_EQ(watcher_.boxes()[0].caption, L"PELNOR");
            EXPECT_EQ(watcher_.boxes()[0].text, c.box);
            EXPECT_EQ(watcher_.boxes()[0].icon, (UINT)MB_ICONERROR);
        }
        EXPECT_EQ(FileBytes(group_), c.written);
    }
}

} // namespace
