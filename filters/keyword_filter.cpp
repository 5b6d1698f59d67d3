#include "keyword_filter.h"

#include <stdlib.h>
#include <string.h>

#include "filters/text_match.h"

namespace {

/* The shorter text occurs in the longer one (on equal lengths: they are
 * equal). Both directions on purpose: a keyword that holds the whole subject
 * matches as well as a subject that holds the keyword. */
bool ListMatches(const KeywordNode *node, const char *subject, size_t subject_length)
{
    for (; node; node = node->next) {
        size_t keyword_length = strlen(node->keyword);
        bool found = keyword_length < subject_length
                         ? TextContains(subject, subject_length, node->keyword, keyword_length)
                         : TextContains(node->keyword, keyword_length, subject, subject_length);
        if (found)
            return true;
    }
    return false;
}

void FreeList(KeywordNode **head)
{
    KeywordNode *node = *head;
    while (node) {
        KeywordNode *next = node->next;
        free(node->keyword);
        free(node);
        node = next;
    }
    *head = nullptr;
}

} // namespace

void KeywordFilterInit(KeywordFilter *filter)
{
    filter->high = nullptr;
    filter->low = nullptr;
}

int MatchKeywordFilter(const KeywordFilter *filter, const char *subject)
{
    size_t length = strlen(subject);
    if (ListMatches(filter->high, subject, length))
        return kPriorityHigh;
    if (ListMatches(filter->low, subject, length))
        return kPriorityLow;
    return kPriorityNormal;
}

void ClearKeywordFilter(KeywordFilter *filter)
{
    FreeList(&filter->high);
    FreeList(&filter->low);
}
