/*
 * Searching one group's stored articles for a text: the subjects, the
 * senders and the bodies, as the reader asks, matched the folded way
 * (filters/text_match.h). Every article is found at most once, in index
 * order; read articles are searched as well as unread ones.
 *
 * Subjects come from the index records, and from the log only for a
 * subject longer than the record keeps. Senders (the whole From line,
 * address included) and bodies are read from the log in large blocks, in
 * order, so that a search of the bodies costs about one read of the log.
 * Without a log, or for an article the log no longer holds whole, the
 * record's subject and sender are searched and nothing else.
 */
#ifndef PELNOR_ARTICLE_SEARCH_H
#define PELNOR_ARTICLE_SEARCH_H

#include <windows.h>

#include "base/background_job.h"
#include "filters/text_match.h"
#include "store/index_file.h"

enum SearchField : unsigned {
    kSearchSubject = 1,
    kSearchSender = 2,
    kSearchBody = 4,
};

struct SearchHit {
    DWORD record_number;
    IndexRecord record;
};

/* A group's search: what to find, where, and whom to tell. */
struct GroupSearch {
    const TextPattern *pattern;
    unsigned fields;    /* SearchField bits */
    JobCancel *cancel;  /* asked between articles; may be null */
    /* Each hit; returning 0 stops the search. */
    int (*hit)(void *context, const SearchHit *hit);
    /* How far the search has got, in steps of `total` (may be null). */
    void (*progress)(void *context, DWORD done, DWORD total);
    void *context;
    DWORD block_size;   /* bytes of the log read at once; 0: the default */
};

/* Searches `group` of `data_folder`. 1 when it went to the end or was
 * stopped (by the cancel or the hit callback); 0 with the last error when
 * the index cannot be read (or memory runs out, 8). A log that cannot be
 * read (missing, cut short) is not a failure. */
int SearchGroup(const GroupSearch *search, const wchar_t *data_folder, const wchar_t *group);

/* Marks the article of a hit read (when it is not), as opening it from
 * the subject view does, and writes the group's header; *unread gets the
 * group's unread count. Error 13 when the index no longer holds that
 * article at that place. */
int MarkHitRead(const wchar_t *data_folder, const wchar_t *group, const SearchHit *hit, DWORD *unread);

#endif
