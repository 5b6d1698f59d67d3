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

class StringSetTest : public testing::Test {
protected:
    void SetUp() override
    {
        StringSetInit(&set_);
        ASSERT_TRUE(StringSetCreate(&set_));
    }
    void TearDown() override { StringSetDestroy(&set_); }
    StringSet set_;
};

} // namespace

TEST(StringSetHash, XorOfSignExtendedBytesModulo91)
{
    EXPECT_EQ(StringSetBucket(""), 0u);
    EXPECT_EQ(StringSetBucket("a"), 97u % 91);
    EXPECT_EQ(StringSetBucket("b"), 98u % 91);
    EXPECT_EQ(StringSetBucket("ab"), (97u ^ 98u) % 91);
    EXPECT_EQ(StringSetBucket("fj.comp.misc"), 0x09u); /* f^j^.^c^o^m^p^.^m^i^s^c */
    /* One byte >= 0x80 brings all-ones upper bits: 0xFFFFFF82 % 91. */
    EXPECT_EQ(StringSetBucket("\x82"), 0xFFFFFF82u % 91);
    EXPECT_EQ(StringSetBucket("a\xE0"), (0x61u ^ 0xFFFFFFE0u) % 91);
    /* Two such bytes cancel the upper bits again. */
    EXPECT_EQ(StringSetBucket("\x82\xA0"), (0xFFFFFF82u ^ 0xFFFFFFA0u) % 91);
}

TEST_F(StringSetTest, EmptySetIteratesNothing)
{
    StringSetIterator it;
    StringSetBegin(&it, &set_);
    EXPECT_EQ(StringSetNext(&it), nullptr);
    EXPECT_EQ(StringSetNext(&it), nullptr);
    EXPECT_EQ(StringSetRemove(&set_, "x"), 0);
}

TEST_F(StringSetTest, EmptyStringLivesInBucketZero)
{
    ASSERT_NE(StringSetAdd(&set_, "a"), nullptr);
    StringSetNode *empty = StringSetAdd(&set_, "");
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(set_.buckets[0], empty);
    EXPECT_EQ(Iterate(&set_), (std::vector<std::string>{"", "a"}));
}

TEST_F(StringSetTest, IteratesByBucketThenNewestFirst)
{
    ASSERT_NE(StringSetAdd(&set_, "b"), nullptr); /* bucket 7 */
    ASSERT_NE(StringSetAdd(&set_, "a"), nullptr); /* bucket 6 */
    EXPECT_EQ(Iterate(&set_), (std::vector<std::string>{"a", "b"}));

    /* "ab" and "ba" share bucket 3: the one added last comes first. */
    ASSERT_NE(StringSetAdd(&set_, "ab"), nullptr);
    ASSERT_NE(StringSetAdd(&set_, "ba"), nullptr);
    EXPECT_EQ(Iterate(&set_), (std::vector<std::string>{"ba", "ab", "a", "b"}));

    /* Bytes >= 0x80: "\x82" hashes to 0xFFFFFF82 % 91 = 72. */
    ASSERT_NE(StringSetAdd(&set_, "\x82"), nullptr);
    EXPECT_EQ(Iterate(&set_).back(), "\x82");
}

TEST_F(StringSetTest, RemoveOfDuplicateTakesTheNewerNode)
{
    StringSetNode *older = StringSetAdd(&set_, "dup");
    StringSetNode *newer = StringSetAdd(&set_, "dup");
    ASSERT_NE(older, nullptr);
    ASSERT_NE(newer, nullptr);
    ASSERT_NE(older, newer);
    EXPECT_EQ(StringSetFind(&set_, "dup"), newer);
    EXPECT_EQ(StringSetRemove(&set_, "dup"), 1);
    EXPECT_EQ(StringSetFind(&set_, "dup"), older);
    EXPECT_EQ(Iterate(&set_), (std::vector<std::string>{"dup"}));
    EXPECT_EQ(StringSetFind(&set_, "DUP"), nullptr);
}

TEST_F(StringSetTest, RemoveKeepsTheRestOfTheChain)
{
    StringSetAdd(&set_, "ab");
    StringSetAdd(&set_, "ba");
    StringSetAdd(&set_, "a");
    EXPECT_EQ(StringSetRemove(&set_, "ab"), 1); /* the tail of bucket 3 */
    EXPECT_EQ(Iterate(&set_), (std::vector<std::string>{"ba", "a"}));
}

TEST_F(StringSetTest, FullHeapGivesNull)
{
    /* 1000-byte strings on a heap of at most 1024000 bytes: the set stops
     * growing somewhere below 1024 of them and reports it with null. */
    std::string text(1000, 'x');
    int added = 0;
    for (; added < 2000; added++) {
        text[0] = (char)('a' + added % 26);
        text[1] = (char)('a' + added / 26 % 26);
        text[2] = (char)('a' + added / 676);
        if (!StringSetAdd(&set_, text.c_str()))
            break;
    }
    EXPECT_GT(added, 500);
    EXPECT_LT(added, 1024);
    /* What was added is still there. */
    EXPECT_EQ(Iterate(&set_).size(), (size_t)added);
}
