/*
 * ArticleList: the subject view's paged handle on one group's index. The
 * row map lists the record numbers of the rows the view shows: every high
 * priority record in index order, then the normal ones, then the low ones,
 * as the view options allow. Only one page of records is held in memory;
 * the row map takes four bytes a record.
 */
#ifndef PELNOR_ARTICLE_LIST_H
#define PELNOR_ARTICLE_LIST_H

#include <windows.h>

#include "store/group_store.h"
#include "store/index_file.h"

struct ArticleList {
    GroupStore store;        /* the group, its header loaded */
    DWORD page_size;         /* rows the view shows at once */
    DWORD visible_count;     /* rows in the row map */
    DWORD rows_in_page;      /* records loaded into the page */
    DWORD first_row;         /* list row of page[0] */
    IndexRecord *page;       /* page_size records */
    DWORD *row_map;          /* record number of each row */
    int open;                /* opened from a group: close saves the position */
    int show_read;           /* ViewReadArticle */
    DWORD priority_level;    /* PriorityViewLevel: 0 normal, 1 low, 2 high */
    DWORD current_in_page;   /* selected record within the page */
};

/* An empty, closed list. */
void ArticleListInit(ArticleList *list);

/* Sets the group's names and reads its index header. */
int ArticleListOpen(ArticleList *list, const wchar_t *data_folder, const wchar_t *group);

/* The view options the row map follows; take effect at the next build. */
void ArticleListSetOptions(ArticleList *list, int show_read, DWORD priority_level);

/* Reads the header again, makes the row map (read records left out unless
 * shown; with priority level 2 only high records, with 0 high and normal,
 * with 1 all three), counts unread, high and low from the records, allocates
 * a page of `page_size` records and loads it from row 0. */
int ArticleListBuild(ArticleList *list, DWORD page_size);

/* Loads min(page_size, visible_count - first_row) records from list row
 * `first_row`, one read each; 87 when the row is beyond the list. */
int ArticleListLoadPage(ArticleList *list, DWORD first_row);

/* Sets or clears flag bits of list row `row` and writes its record back at
 * once; the read bit changes the unread count (saved at close). The page's
 * copy is updated when the row is on it. */
int ArticleListSetFlags(ArticleList *list, DWORD row, DWORD bits);
int ArticleListClearFlags(ArticleList *list, DWORD row, DWORD bits);
/* Flips the read bit of list row `row`. */
int ArticleListToggleRead(ArticleList *list, DWORD row);

/* The record of row `index` of the page, or null beyond rows_in_page. */
const IndexRecord *ArticleListPageRecord(const ArticleList *list, DWORD index);

/* The selected record's subject text from the log; caller must free. Null
 * with error 87 when no record is selected. */
wchar_t *ArticleListReadSubject(ArticleList *list);

/* Byte lengths of the longest subject and sender on the loaded page. */
DWORD ArticleListLongestSubject(const ArticleList *list);
DWORD ArticleListLongestFrom(const ArticleList *list);

/* When the list was opened: saved position := first row + current in page
 * and the header is written. Everything is freed either way. */
int ArticleListClose(ArticleList *list);

#endif
