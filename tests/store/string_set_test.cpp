#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "store/string_set.h"

namespace {

std::vector<std::string> Iterate(StringSet *set)
{
    std::vector<std::string> out;
    StringSetIterator it;
    StringSetBegin(&it, set);
    while (StringSetNode *node = StringSetNext(&it))
        out.push_back(node->text);
    return out;
}

} // namespace

TEST(StringSet, IteratesByBucketNewestFirstAndRemovesTheNewerDuplicate)
{
    StringSet set;
    StringSetInit(&set);
    ASSERT_TRUE(StringSetCreate(&set));
    EXPECT_TRUE(Iterate(&set).empty());
    EXPECT_EQ(StringSetRemove(&set, "x"), 0);

    for (const char *text : {"b", "a", "ab", "ba", "\x82", ""})
        ASSERT_NE(StringSetAdd(&set, text), nullptr);
    /* By bucket, the exclusive-or of the bytes modulo 91 (group.dat is
     * written in this order): "" 0; "ab" and "ba" share 3, the later first;
     * "a" 6, "b" 7, "\x82" 39. */
    EXPECT_EQ(Iterate(&set), (std::vector<std::string>{"", "ba", "ab", "a", "b", "\x82"}));
    EXPECT_EQ(StringSetRemove(&set, "ab"), 1); /* the tail of a chain */
    EXPECT_EQ(Iterate(&set), (std::vector<std::string>{"", "ba", "a", "b", "\x82"}));

    StringSetNode *older = StringSetAdd(&set, "a");
    StringSetNode *newer = StringSetAdd(&set, "a");
    ASSERT_TRUE(older && newer && older != newer);
    EXPECT_EQ(StringSetFind(&set, "a"), newer);
    EXPECT_EQ(StringSetRemove(&set, "a"), 1);
    EXPECT_EQ(StringSetFind(&set, "a"), older);
    EXPECT_EQ(Iterate(&set), (std::vector<std::string>{"", "ba", "a", "a", "b", "\x82"}));
    StringSetDestroy(&set);
}
