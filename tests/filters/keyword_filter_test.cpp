#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "filters/keyword_filter.h"
#include "support/temp_folder.h"

namespace {

std::vector<std::string> Keywords(const KeywordNode *node)
{
    std::vector<std::string> out;
    for (; node; node = node->next)
        out.push_back(node->keyword);
    return out;
}

class KeywordFilterTest : public testing::Test {
protected:
    void SetUp() override { KeywordFilterInit(&filter_); }
    void TearDown() override { ClearKeywordFilter(&filter_); }
    int Load(const std::string &bytes)
    {
        EXPECT_TRUE(WriteFileBytes(path_, bytes));
        return LoadKeywordFilter(&filter_, path_.c_str());
    }
    TempFolder folder_;
    std::wstring path_ = folder_.file(L"fj.test.flt");
    KeywordFilter filter_;
};

} // namespace

TEST_F(KeywordFilterTest, ListsHoldReverseFileOrderAndAnyOtherMarkIsLow)
{
    ASSERT_TRUE(Load("+ one\r\nx abc\r\n+ two\r\n-\r\n- three\r\n+three\r\n"));
    EXPECT_EQ(Keywords(filter_.high), (std::vector<std::string>{"hree", "two", "one"}));
    EXPECT_EQ(Keywords(filter_.low), (std::vector<std::string>{"three", "abc"}));
    /* The same keyword high and low: high. */
    ASSERT_TRUE(Load("- fj\r\n+ fj\r\n"));
    EXPECT_EQ(MatchKeywordFilter(&filter_, "Re: fj.comp question"), kPriorityHigh);
}

TEST_F(KeywordFilterTest, EmptyKeywordMakesEverySubjectHigh)
{
    ASSERT_TRUE(Load("x\r\n+ \r\n"));
    EXPECT_EQ(Keywords(filter_.high), (std::vector<std::string>{""}));
    EXPECT_TRUE(Keywords(filter_.low).empty()); /* the single byte is skipped */
    EXPECT_EQ(MatchKeywordFilter(&filter_, "anything at all"), kPriorityHigh);
}

TEST_F(KeywordFilterTest, MissingFileIsAnEmptyFilter)
{
    ASSERT_TRUE(Load("+ old\r\n"));
    ASSERT_TRUE(DeleteFileW(path_.c_str()));
    ASSERT_TRUE(LoadKeywordFilter(&filter_, path_.c_str())); /* empties the old keywords first */
    EXPECT_EQ(filter_.high, nullptr);
    EXPECT_EQ(filter_.low, nullptr);
    EXPECT_EQ(MatchKeywordFilter(&filter_, "old"), kPriorityNormal);
}

TEST_F(KeywordFilterTest, OverLongLineEndsTheLoadQuietly)
{
    ASSERT_TRUE(Load("+ before\r\n- " + std::string(598, 'L') + "\r\n+ after\r\n"));
    EXPECT_EQ(Keywords(filter_.high), (std::vector<std::string>{"before"}));
    EXPECT_TRUE(Keywords(filter_.low).empty());
    /* 507 keyword bytes: mark, blank, keyword, CR LF and a NUL fill the
     * 512-byte line buffer. */
    ASSERT_TRUE(Load("+ " + std::string(507, 'k') + "\r\n+ after\r\n"));
    EXPECT_EQ(Keywords(filter_.high).size(), 2u);
    ASSERT_TRUE(Load("+ " + std::string(508, 'k') + "\r\n+ after\r\n"));
    EXPECT_TRUE(Keywords(filter_.high).empty());
}

TEST_F(KeywordFilterTest, LinesEndOnlyAtCrLfAndTheLastNeedsNone)
{
    ASSERT_TRUE(Load("+ a\nb\r\n- tail"));
    EXPECT_EQ(Keywords(filter_.high), (std::vector<std::string>{"a\nb"}));
    EXPECT_EQ(Keywords(filter_.low), (std::vector<std::string>{"tail"}));

    /* A folder of that name cannot be opened as a file: the load fails. */
    std::wstring folder = folder_.file(L"sub.flt");
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    EXPECT_FALSE(LoadKeywordFilter(&filter_, folder.c_str()));
    EXPECT_NE(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
}
