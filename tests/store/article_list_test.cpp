#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/article_list.h"
#include "store_test_util.h"

namespace {

class ArticleListTest : public GroupFixture {
protected:
    /* Six records: normal, high, low, high read, normal read, low. */
    void SetUp() override
    {
        GroupFixture::SetUp();
        WriteGroup(group_, header_);
        list_ = ArticleListCreate();
        ASSERT_TRUE(list_ && ArticleListOpen(list_, folder_.path().c_str(), L"fj.test"));
    }
    void TearDown() override
    {
        ArticleListDestroy(list_);
        GroupFixture::TearDown();
    }
    /* Article numbers less 50 (= record numbers) of the page's rows. */
    std::vector<DWORD> Page() const
    {
        std::vector<DWORD> numbers;
        for (DWORD i = 0; i < ArticleListRowsInPage(list_); i++)
            numbers.push_back(ArticleListPageRecord(list_, i)->article_number - 50);
        return numbers;
    }

    SimpleGroup group_{{"normal", "high", "low", "high read", "normal read", "low again"}, 50, {0, 4, 2, 5, 1, 2}};
    HeaderFields header_{5, 0, 0, 0, 6, 4, "st", 99}; /* more than the records say: kept */
    ArticleList *list_ = nullptr;
};

} // namespace

TEST_F(ArticleListTest, RowMapRunsHighThenNormalThenLow)
{
    const struct {
        int show_read;
        DWORD level;
        std::vector<DWORD> rows;
    } cases[] = {
        {1, 1, {1, 3, 0, 4, 2, 5}}, {0, 1, {1, 0, 2, 5}}, {1, 0, {1, 3, 0, 4}},
        {0, 0, {1, 0}},             {1, 2, {1, 3}},       {0, 2, {1}},
    };
    for (const auto &c : cases) {
        ASSERT_TRUE(ArticleListBuild(list_, ListFilter{c.show_read, c.level}, PriorityRunsOrder, 10));
        EXPECT_EQ(Page(), c.rows) << c.show_read << c.level;
    }
}

TEST_F(ArticleListTest, FlagsAreWrittenAtOnceAndCloseSavesThePosition)
{
    ASSERT_TRUE(ArticleListBuild(list_, ListFilter{1, 1}, PriorityRunsOrder, 4));
    /* Row 2 is record 0: unread, now read; setting it again changes nothing. */
    for (int i = 0; i < 2; i++) {
        ASSERT_TRUE(ArticleListSetFlags(list_, 2, kRecordRead));
        EXPECT_EQ(ArticleListPageRecord(list_, 2)->flags, 1u);
        EXPECT_EQ(ArticleListUnread(list_), 98u);
    }
    /* Row 1 is record 3: high and read, now unread. */
    ASSERT_TRUE(ArticleListClearFlags(list_, 1, kRecordRead));
    EXPECT_EQ(ArticleListUnread(list_), 99u);
    /* Row 5 (record 5) is not on the page: read from the index. */
    ASSERT_TRUE(ArticleListToggleRead(list_, 5));
    EXPECT_EQ(ArticleListUnread(list_), 98u);
    /* Each record was written at once, its other bytes untouched. */
    group_.records[0].flags = 1;
    group_.records[3].flags = 4;
    group_.records[5].flags = 3;
    std::string records = group_.Records();
    EXPECT_EQ(FileBytes(IndexPath()).substr(100), records);

    /* Close saves the position it is given, and the counts. */
    ASSERT_TRUE(ArticleListClose(list_, 5));
    header_.saved_position = 5;
    header_.unread = 98;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(header_) + records);

    /* Once closed, a list saves nothing more. */
    ASSERT_TRUE(ArticleListClose(list_, 3));
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(header_) + records);
}
