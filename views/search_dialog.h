/*
 * The search dialog ("検索"): the text, where to look (subject, sender,
 * body: check boxes, any of them) and which groups (this group or every
 * subscribed one: radio buttons), and the hits below as a list of group,
 * subject, sender and date. The search runs as a background job: the
 * group being searched and a bar show how far it has got, and Escape (or
 * 中止) stops it, keeping the hits found so far. Enter or a double tap on
 * a hit closes the dialog with that hit chosen.
 *
 * What was asked and found stays in the session between showings, so that
 * the dialog comes back as it was left.
 */
#ifndef PELNOR_SEARCH_DIALOG_H
#define PELNOR_SEARCH_DIALOG_H

#include <windows.h>

#include "base/background_job.h"
#include "filters/text_match.h"
#include "store/article_search.h"

enum { kSearchTextChars = 256, kSearchGroupChars = 1024 };

struct SearchResult {
    DWORD group; /* index into the session's group names */
    SearchHit hit;
};

struct SearchSession {
    /* Given by the caller before each showing. */
    const wchar_t *data_folder;
    const wchar_t *this_group; /* the group "this group" means; null: none */
    wchar_t *all_groups;       /* owned: names, each NUL-ended, an empty name last */

    /* What was asked. */
    wchar_t text[kSearchTextChars];
    unsigned fields;           /* SearchField bits */
    int every_group;
    char *stored;              /* owned: the text as stored text, for finding it again */
    size_t stored_length;

    /* What was found. The worker adds results under the lock. */
    CRITICAL_SECTION lock;
    wchar_t (*groups)[kSearchGroupChars]; /* owned: the groups searched */
    DWORD group_count;
    SearchResult *results;     /* owned */
    DWORD result_count;
    DWORD result_capacity;
    int stopped;               /* the last search was stopped before its end */
    DWORD failed_group;        /* the first group that could not be searched, or 0xFFFFFFFF */
    DWORD failed_error;

    /* While the dialog shows. */
    BackgroundJob *job;
    TextPattern pattern;
    DWORD rows_shown;
    int chosen;                /* the hit chosen to open, or -1 */
    int selected;              /* the row selected when the dialog was left */

    /* For tests: runs on the worker after each hit is kept. */
    void (*hit_hook)(void *context);
    void *hit_hook_context;
};

/* Subject checked, this group; nothing found yet. */
void SearchSessionInit(SearchSession *session);
void SearchSessionFree(SearchSession *session);

/* The group name of result `index`. */
const wchar_t *SearchResultGroup(const SearchSession *session, DWORD index);

/* Shows the dialog over `owner`. kDialogOk with session->chosen set when a
 * hit was chosen, kDialogCancel when the dialog was closed; no search is
 * running when it returns. */
INT_PTR RunSearchDialog(SearchSession *session, HINSTANCE instance, HWND owner);

#endif
