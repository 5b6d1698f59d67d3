#include "keyword_filter.h"

#include <stdlib.h>
#include <string.h>

namespace {

/* Whether `needle` occurs in `haystack`, byte for byte. */
bool Contains(const char *haystack, size_t haystack_length, const char *needle, size_t needle_length)
{
    if (needle_length == 0)
        return true;
    const char first = needle[0];
    for (size_t i = 0; i + needle_length <= haystack_length; i++)
        if (haystack[i] == first && memcmp(haystack + i + 1, needle + 1, needle_length - 1) == 0)
            return true;
    return false;
}

/* The shorter text occurs in the longer one (on equal lengths: they are
 * equal). Both directions on purpose: a keyword that holds the whole subject
 * matches as well as a subject that holds the keyword. */
bool ListMatches(const KeywordNode *node, const char *subject, size_t subject_length)
{
    for (; node; node = node->next) {
        size_t keyword_length = strlen(node->keyword);
        bool found = keyword_length < subject_length
                         ? Contains(subject, subject_length, node->keyword, keyword_length)
                         : Contains(node->keyword, keyword_length, subject, subject_length);
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
