#include "keyword_filter.h"

#include <stdlib.h>
#include <string.h>

namespace {

/* The shorter text occurs in the longer one (on equal lengths: they are
 * equal). Both directions on purpose: a keyword that holds the whole subject
 * matches as well as a subject that holds the keyword. */
bool KeywordMatches(const char *keyword, const char *subject)
{
    size_t keyword_length = strlen(keyword);
    size_t subject_length = strlen(subject);
    if (keyword_length < subject_length)
        return strstr(subject, keyword) != nullptr;
    return strstr(keyword, subject) != nullptr;
}

bool ListMatches(const KeywordNode *node, const char *subject)
{
    for (; node; node = node->next)
        if (KeywordMatches(node->keyword, subject))
            return true;
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
    if (ListMatches(filter->high, subject))
        return kPriorityHigh;
    if (ListMatches(filter->low, subject))
        return kPriorityLow;
    return kPriorityNormal;
}

void ClearKeywordFilter(KeywordFilter *filter)
{
    FreeList(&filter->high);
    FreeList(&filter->low);
}
