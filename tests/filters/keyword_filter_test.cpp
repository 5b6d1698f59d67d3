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

} // namespace

TEST(KeywordFilter, LoadsBothListsInReverseFileOrder)
{
    TempFolder folder;
    std::wstring path = folder.file(L"fj.test.flt");
    KeywordFilter filter;
    KeywordFilterInit(&filter);
    auto load = [&](const std::string &bytes) {
        EXPECT_TRUE(WriteFileBytes(path, bytes));
        return LoadKeywordFilter(&filter, path.c_str());
    };
    /* Any mark but '+' is low; a line of one byte is ignored. */
    ASSERT_TRUE(load("+ one\r\nx abc\r\n+ two\r\n-\r\n- three\r\n+three\r\n"));
    EXPECT_EQ(Keywords(filter.high), (std::vector<std::string>{"hree", "two", "one"}));
    EXPECT_EQ(Keywords(filter.low), (std::vector<std::string>{"three", "abc"}));

    /* "+ " alone (the last line needs no CR LF) is the empty keyword, which
     * every subject holds. */
    ASSERT_TRUE(load("x\r\n+ "));
    EXPECT_EQ(Keywords(filter.high), (std::vector<std::string>{""}));
    EXPECT_EQ(filter.low, nullptr);
    EXPECT_EQ(MatchKeywordFilter(&filter, "anything at all"), kPriorityHigh);

    /* A line too long for the 512-byte line buffer ends the load, which
     * still succeeds. */
    ASSERT_TRUE(load("+ before\r\n- " + std::string(596, 'L') + "\r\n+ after\r\n"));
    EXPECT_EQ(Keywords(filter.high), (std::vector<std::string>{"before"}));
    EXPECT_EQ(filter.low, nullptr);

    /* No file: an empty filter, the old keywords gone. */
    ASSERT_TRUE(load("+ old\r\n"));
    ASSERT_TRUE(DeleteFileW(path.c_str()));
    ASSERT_TRUE(LoadKeywordFilter(&filter, path.c_str()));
    EXPECT_EQ(filter.high, nullptr);
    EXPECT_EQ(MatchKeywordFilter(&filter, "old"), kPriorityNormal);

    /* A file that cannot be opened for another reason fails the load. */
    ASSERT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
    EXPECT_FALSE(LoadKeywordFilter(&filter, path.c_str()));
    ClearKeywordFilter(&filter);
}
