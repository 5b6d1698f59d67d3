/*
 * A group's keyword filter: keywords of high and of low priority, loaded
 * from the group's ".flt" file, against which every stored subject is
 * matched. The priority numbers are the ones kept in index records.
 *
 * Matching and clearing are byte-level (no windows.h); loading reads the
 * file through the store's line reader.
 */
#ifndef PELNOR_KEYWORD_FILTER_H
#define PELNOR_KEYWORD_FILTER_H

#include <wchar.h>

enum KeywordPriority {
    kPriorityNormal = 0,
    kPriorityLow = 1,
    kPriorityHigh = 2,
};

struct KeywordNode {
    KeywordNode *next;
    char *keyword; /* owned, NUL-terminated 8-bit text */
};

/* Both lists hold their keywords in the reverse of file order. */
struct KeywordFilter {
    KeywordNode *high;
    KeywordNode *low;
};

/* Empty lists. */
void KeywordFilterInit(KeywordFilter *filter);

/* Empties the filter, then loads the file: each line "+ keyword" goes to
 * the high list, any other line of two bytes or more to the low list (the
 * first two bytes are dropped whatever they are). A missing file is an empty
 * filter. The load stops quietly at the end of the file, at a read error or
 * at a line longer than the 512-byte line buffer, and still succeeds.
 * 0 when the file cannot be opened for another reason than "not found", or
 * with error 8 when memory runs out (the keywords loaded so far stay). */
int LoadKeywordFilter(KeywordFilter *filter, const wchar_t *path);

/* kPriorityHigh when a high keyword matches `subject`, else kPriorityLow
 * when a low keyword does, else kPriorityNormal. A keyword matches when the
 * shorter of the two texts occurs within the longer, byte for byte; an empty
 * keyword or an empty subject matches everything. */
int MatchKeywordFilter(const KeywordFilter *filter, const char *subject);

/* Frees every node and keyword; both lists are left empty. */
void ClearKeywordFilter(KeywordFilter *filter);

#endif
