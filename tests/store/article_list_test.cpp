#include <gtest/gtest.h>
#include <windows.h>

#include <stdlib.h>

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
        const char *froms[6] = {"a", "bbbbbbbbbbbbbbb", "cc", "d", "eeee", "f"};
        for (int i = 0; i < 6; i++)
            group_.records[i].from = froms[i];
        records_ = group_.records;
        HeaderFields h;
        h.record_count = 6;
        h.saved_position = 4;
        h.unread = 99; /* put right by the build */
        h.status = "st";
        WriteGroup(group_, h);
        ArticleListInit(&list_);
        ASSERT_TRUE(ArticleListOpen(&list_, folder_.path().c_str(), L"fj.test"));
    }
    void TearDown() override
    {
        ArticleListClose(&list_);
        GroupFixture::TearDown();
    }
    std::vector<DWORD> RowMap() const { return std::vector<DWORD>(list_.row_map, list_.row_map + list_.visible_count); }
    std::vector<DWORD> PageNumbers() const
    {
        std::vector<DWORD> numbers;
        for (DWORD i = 0; i < list_.rows_in_page; i++)
            numbers.push_back(ArticleListPageRecord(&list_, i)->article_number - 50);
        return numbers;
    }
    uint32_t DiskFlags(int record) const { return ReadU32(FileBytes(IndexPath()), 100 + 92 * record); }

    SimpleGroup group_{{"normal unread", "high unread", "low unread", "high read, the longest subject",
                         "normal read", "low unread again"},
                        50,
                        {0, 4, 2, 5, 1, 2}};
    std::vector<RecordFields> records_;
    ArticleList list_;
};

} // namespace

TEST_F(ArticleListTest, RowMapRunsHighThenNormalThenLow)
{
    struct {
        int show_read;
        DWORD level;
        std::vector<DWORD> rows;
    } cases[] = {
        {1, 1, {1, 3, 0, 4, 2, 5}},
        {0, 1, {1, 0, 2, 5}},
        {1, 0, {1, 3, 0, 4}},
        {0, 0, {1, 0}},
        {1, 2, {1, 3}},
        {0, 2, {1}},
    };
    for (const auto &c : cases) {
        ArticleListSetOptions(&list_, c.show_read, c.level);
        ASSERT_TRUE(ArticleListBuild(&list_, 10));
        EXPECT_EQ(RowMap(), c.rows) << c.show_read << " " << c.level;
        EXPECT_EQ(PageNumbers(), c.rows);
        EXPECT_EQ(list_.first_row, 0u);
    }
    /* The counts follow the records. */
    EXPECT_EQ(list_.store.unread_count, 4u);
    EXPECT_EQ(list_.store.high_count, 2u);
    EXPECT_EQ(list_.store.low_count, 2u);
}

TEST_F(ArticleListTest, PagesHoldAtMostPageSizeRows)
{
    ArticleListSetOptions(&list_, 1, 1);
    ASSERT_TRUE(ArticleListBuild(&list_, 4));
    EXPECT_EQ(list_.visible_count, 6u);
    EXPECT_EQ(PageNumbers(), (std::vector<DWORD>{1, 3, 0, 4}));
    ASSERT_TRUE(ArticleListLoadPage(&list_, 4));
    EXPECT_EQ(PageNumbers(), (std::vector<DWORD>{2, 5}));
    EXPECT_EQ(ArticleListPageRecord(&list_, 2), nullptr);
    ASSERT_TRUE(ArticleListLoadPage(&list_, 5));
    EXPECT_EQ(PageNumbers(), (std::vector<DWORD>{5}));
    EXPECT_FALSE(ArticleListLoadPage(&list_, 6));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    /* The whole record is on the page. */
    ASSERT_TRUE(ArticleListLoadPage(&list_, 0));
    EXPECT_EQ(std::string((const char *)ArticleListPageRecord(&list_, 0), 92), RecordBytes(records_[1]));
}

TEST_F(ArticleListTest, EmptyGroupGivesAnEmptyList)
{
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(HeaderFields())));
    ASSERT_TRUE(ArticleListBuild(&list_, 4));
    EXPECT_EQ(list_.visible_count, 0u);
    EXPECT_EQ(list_.rows_in_page, 0u);
    EXPECT_EQ(ArticleListLongestSubject(&list_), 0u);
    EXPECT_EQ(ArticleListReadSubject(&list_), nullptr);
    EXPECT_FALSE(ArticleListToggleRead(&list_, 0));
}

TEST_F(ArticleListTest, FlagsAreWrittenBackAtOnceAndCountUnread)
{
    ArticleListSetOptions(&list_, 1, 1);
    ASSERT_TRUE(ArticleListBuild(&list_, 4));
    ASSERT_EQ(list_.store.unread_count, 4u);

    /* Row 2 is record 0: unread, now read. */
    ASSERT_TRUE(ArticleListSetFlags(&list_, 2, kRecordRead));
    EXPECT_EQ(DiskFlags(0), 1u);
    EXPECT_EQ(ArticleListPageRecord(&list_, 2)->flags, 1u);
    EXPECT_EQ(list_.store.unread_count, 3u);
    /* Setting it again changes nothing. */
    ASSERT_TRUE(ArticleListSetFlags(&list_, 2, kRecordRead));
    EXPECT_EQ(list_.store.unread_count, 3u);

    /* Row 1 is record 3: high and read, now unread. */
    ASSERT_TRUE(ArticleListClearFlags(&list_, 1, kRecordRead));
    EXPECT_EQ(DiskFlags(3), 4u);
    EXPECT_EQ(list_.store.unread_count, 4u);

    /* Row 5 (record 5) is not on the page: read from the index. */
    ASSERT_TRUE(ArticleListToggleRead(&list_, 5));
    EXPECT_EQ(DiskFlags(5), 3u);
    EXPECT_EQ(list_.store.unread_count, 3u);
    ASSERT_TRUE(ArticleListToggleRead(&list_, 5));
    EXPECT_EQ(DiskFlags(5), 2u);
    EXPECT_EQ(list_.store.unread_count, 4u);

    EXPECT_FALSE(ArticleListSetFlags(&list_, 6, kRecordRead));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);

    /* The rest of each record is untouched. */
    std::string index = FileBytes(IndexPath());
    records_[0].flags = 1;
    records_[3].flags = 4;
    for (int i = 0; i < 6; i++)
        EXPECT_EQ(index.substr(100 + 92 * i, 92), RecordBytes(records_[i])) << i;
}

TEST_F(ArticleListTest, CloseSavesThePositionAndTheUnreadCount)
{
    ArticleListSetOptions(&list_, 1, 1);
    ASSERT_TRUE(ArticleListBuild(&list_, 4));
    ASSERT_TRUE(ArticleListLoadPage(&list_, 4));
    list_.current_in_page = 1;
    ASSERT_TRUE(ArticleListToggleRead(&list_, 4));
    std::string records = FileBytes(IndexPath()).substr(100);
    ASSERT_TRUE(ArticleListClose(&list_));
    HeaderFields h;
    h.record_count = 6;
    h.saved_position = 5;
    h.unread = 3;
    h.high = 2;
    h.low = 2;
    h.status = "st";
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);

    /* A list that was not opened from a group saves nothing. */
    ArticleListInit(&list_);
    ASSERT_TRUE(GroupStoreSetNames(&list_.store, folder_.path().c_str(), L"fj.test"));
    ASSERT_TRUE(ArticleListBuild(&list_, 4));
    list_.current_in_page = 3;
    ASSERT_TRUE(ArticleListClose(&list_));
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);
}

TEST_F(ArticleListTest, SubjectOfTheSelectedRecordAndLongestTexts)
{
    ArticleListSetOptions(&list_, 1, 1);
    ASSERT_TRUE(ArticleListBuild(&list_, 3));
    list_.current_in_page = 1;
    wchar_t *subject = ArticleListReadSubject(&list_);
    ASSERT_NE(subject, nullptr);
    EXPECT_STREQ(subject, L"high read, the longest subject");
    free(subject);
    EXPECT_EQ(ArticleListLongestSubject(&list_), 30u);
    EXPECT_EQ(ArticleListLongestFrom(&list_), 15u);
    ASSERT_TRUE(ArticleListLoadPage(&list_, 3));
    EXPECT_EQ(ArticleListLongestSubject(&list_), 16u); /* "low unread again" */
    EXPECT_EQ(ArticleListLongestFrom(&list_), 4u);
}
