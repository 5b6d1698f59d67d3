/* Matching of subjects against keyword lists (byte-level: also built
 * natively under the sanitizers). */
#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "filters/keyword_filter.h"

namespace {

/* A filter whose lists hold the keywords in the order given. */
class Filter {
public:
    Filter(std::initializer_list<const char *> high, std::initializer_list<const char *> low)
    {
        KeywordFilterInit(&filter_);
        Fill(&filter_.high, high);
        Fill(&filter_.low, low);
    }
    ~Filter() { ClearKeywordFilter(&filter_); }
    int Match(const char *subject) const { return MatchKeywordFilter(&filter_, subject); }

private:
    static void Fill(KeywordNode **list, std::initializer_list<const char *> keywords)
    {
        for (const char *keyword : keywords) {
            KeywordNode *node = (KeywordNode *)malloc(sizeof(KeywordNode));
            node->keyword = strdup(keyword);
            node->next = nullptr;
            *list = node;
            list = &node->next;
        }
    }
    KeywordFilter filter_;
};

} // namespace

TEST(KeywordMatch, ShorterTextWithinTheLongerOne)
{
    Filter filter({"fj"}, {});
    EXPECT_EQ(filter.Match("Re: fj.comp question"), kPriorityHigh);
    EXPECT_EQ(filter.Match("fj"), kPriorityHigh);
    EXPECT_EQ(filter.Match("f"), kPriorityHigh); /* the subject within the keyword */
    EXPECT_EQ(filter.Match(""), kPriorityHigh);
    EXPECT_EQ(filter.Match("FJ"), kPriorityNormal);
    EXPECT_EQ(filter.Match("jf"), kPriorityNormal);
    /* A subject as long as the keyword must equal it. */
    EXPECT_EQ(filter.Match("fk"), kPriorityNormal);
}

TEST(KeywordMatch, BytesWithoutRegardToCharacters)
{
    /* Full-width letters are not folded; a keyword may match across two
     * double-byte characters ("\x82\xA0\x82\xA2" holds "\xA0\x82"). */
    Filter filter({"\x82\x86"}, {"\xA0\x82"});
    EXPECT_EQ(filter.Match("\x82\xA0\x82\xA2"), kPriorityLow);
    EXPECT_EQ(filter.Match("abc \x82\x86 def"), kPriorityHigh);
    EXPECT_EQ(filter.Match("abc f def"), kPriorityNormal);
}

TEST(KeywordMatch, HighListFirst)
{
    Filter filter({"same"}, {"same", "other"});
    EXPECT_EQ(filter.Match("the same thing"), kPriorityHigh);
    EXPECT_EQ(filter.Match("another"), kPriorityLow);
    EXPECT_EQ(filter.Match("none"), kPriorityNormal);
    Filter empty({}, {});
    EXPECT_EQ(empty.Match("anything"), kPriorityNormal);
    EXPECT_EQ(empty.Match(""), kPriorityNormal);
    Filter blank({}, {""});
    EXPECT_EQ(blank.Match("anything"), kPriorityLow);
}
