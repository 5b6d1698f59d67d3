/* Matching of subjects against keyword lists (byte-level: also built
 * natively under the sanitizers). */
#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <initializer_list>

#include "filters/keyword_filter.h"

namespace {

/* Fills `list` with the keywords in the order given. */
void Fill(KeywordNode **list, std::initializer_list<const char *> keywords)
{
    for (const char *keyword : keywords) {
        *list = (KeywordNode *)malloc(sizeof(KeywordNode));
        (*list)->keyword = strdup(keyword);
        (*list)->next = nullptr;
        list = &(*list)->next;
    }
}

} // namespace

TEST(KeywordMatch, ShorterTextWithinTheLongerOneHighListFirst)
{
    KeywordFilter filter;
    KeywordFilterInit(&filter);
    EXPECT_EQ(MatchKeywordFilter(&filter, ""), kPriorityNormal);
    Fill(&filter.high, {"fj", "same"});
    Fill(&filter.low, {"same", "other", "\xA0\x82"});
    const struct {
        const char *subject;
        int priority;
    } cases[] = {
        {"Re: fj.comp question", kPriorityHigh},
        {"fj", kPriorityHigh},
        {"f", kPriorityHigh}, /* the subject within the keyword */
        {"", kPriorityHigh},
        {"FJ", kPriorityNormal},
        {"fk", kPriorityNormal}, /* as long as the keyword: must equal it */
        {"the same thing", kPriorityHigh},
        {"another", kPriorityLow},
        {"\x82\xA0\x82\xA2", kPriorityLow}, /* bytes, across two characters */
        {"none", kPriorityNormal},
    };
    for (const auto &c : cases)
        EXPECT_EQ(MatchKeywordFilter(&filter, c.subject), c.priority) << c.subject;
    ClearKeywordFilter(&filter);
}
