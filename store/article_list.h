/*
 * ArticleList: the subject view's paged handle on one group's index. Its
 * row map lists the record numbers of the rows the view shows, in the
 * order a row-order function puts them (the priority runs, or threads);
 * only one page of records is held in memory, and the row map takes four
 * bytes a record and one more for the row's depth. The list is the one
 * owner of the group's records while a group is open: the view and the
 * frame reach them only through these functions.
 */
#ifndef PELNOR_ARTICLE_LIST_H
#define PELNOR_ARTICLE_LIST_H

#include <windows.h>

#include "store/group_store.h"
#include "store/index_file.h"

struct ArticleList;

/* Which records the rows show. */
struct ListFilter {
    int show_read;         /* ViewReadArticle: read records too */
    DWORD priority_level;  /* PriorityViewLevel: 0 high and normal, 1 all, 2 high only */
};

/* Priority runs, in row-map order. */
enum : unsigned char { kRunHigh = 0, kRunNormal = 1, kRunLow = 2 };

/* What a row order is given: the records that pass the filter, in index
 * order, with their priority runs. */
struct RowOrderInput {
    const GroupStore *store;   /* the open group, for orders that need more than the index */
    const DWORD *numbers;      /* record numbers */
    const unsigned char *runs; /* kRunHigh, kRunNormal or kRunLow */
    DWORD count;
    unsigned long long index_mark; /* IndexRecordMark summed over every record of the index */
};

/* Puts the `count` records in the order the rows show them: rows[i] a
 * record number, depths[i] its indentation (0 in a flat order; at most
 * kMostRowDepth) with kRowStartsThread added on the first row of each
 * thread. 1, or 0 with the last error. */
enum : unsigned char { kMostRowDepth = 0x7F, kRowStartsThread = 0x80 };
typedef int (*RowOrder)(const RowOrderInput *input, DWORD *rows, unsigned char *depths);

/* Every high record in index order, then the normal ones, then the low. */
int PriorityRunsOrder(const RowOrderInput *input, DWORD *rows, unsigned char *depths);

/* A closed list; null with error 8. */
ArticleList *ArticleListCreate(void);
/* Frees the list; an open group is not written back (close it first). */
void ArticleListDestroy(ArticleList *list);

/* Sets the group's names and reads its index header. */
int ArticleListOpen(ArticleList *list, const wchar_t *data_folder, const wchar_t *group);

/* Reads the header again, makes the row map from the records `filter`
 * passes in the order `order` gives, allocates a page of `page_size`
 * records and loads it from row 0. */
int ArticleListBuild(ArticleList *list, ListFilter filter, RowOrder order, DWORD page_size);

DWORD ArticleListRowCount(const ArticleList *list);
DWORD ArticleListPageSize(const ArticleList *list);
DWORD ArticleListFirstRow(const ArticleList *list);
DWORD ArticleListRowsInPage(const ArticleList *list);
/* The depth the order gave `row` (0 beyond the list), and whether a
 * thread begins there. */
unsigned ArticleListRowDepth(const ArticleList *list, DWORD row);
bool ArticleListRowStartsThread(const ArticleList *list, DWORD row);

/* Loads min(page_size, row count - first_row) records from list row
 * `first_row`, one read each run of adjacent records; 87 when the row is
 * beyond the list. */
int ArticleListLoadPage(ArticleList *list, DWORD first_row);
/* The record of row `index` of the page, or null beyond the page. */
const IndexRecord *ArticleListPageRecord(const ArticleList *list, DWORD index);

/* Sets or clears flag bits of list row `row` and writes its record back at
 * once; the read bit changes the unread count (saved at close). The page's
 * copy is updated when the row is on it. */
int ArticleListSetFlags(ArticleList *list, DWORD row, DWORD bits);
int ArticleListClearFlags(ArticleList *list, DWORD row, DWORD bits);
/* Flips the read bit of list row `row`. */
int ArticleListToggleRead(ArticleList *list, DWORD row);

/* Row `row`'s subject text and whole article from the log; the caller
 * frees them. Null with the last error (87 beyond the list). */
wchar_t *ArticleListReadSubject(ArticleList *list, DWORD row);
wchar_t *ArticleListReadArticle(ArticleList *list, DWORD row);
/* Row `row`'s article as the log holds it (stored text), NUL-terminated;
 * *length gets its bytes. */
char *ArticleListReadArticleBytes(ArticleList *list, DWORD row, DWORD *length);

/* The open group's keyword filter file. */
const wchar_t *ArticleListFilterPath(const ArticleList *list);
/* Applies the group's keyword filter to its records again (the next build
 * shows the new priorities). */
int ArticleListRefilter(ArticleList *list);
/* The unread count as the list keeps it. */
DWORD ArticleListUnread(const ArticleList *list);
/* Writes the header with the counts kept so far. */
int ArticleListSaveCounts(ArticleList *list);

/* Byte lengths of the longest subject and sender on the loaded page. */
DWORD ArticleListLongestSubject(const ArticleList *list);
DWORD ArticleListLongestFrom(const ArticleList *list);

/* When the list was opened from a group: the saved position := `position`
 * and the header is written. The group is let go either way. */
int ArticleListClose(ArticleList *list, DWORD position);

#endif
