/*
 * Group-wide operations on read marks: deleting the read articles of a
 * group and catching up on the server. Marking every stored article read is
 * IndexMarkAllRead; one article's mark is changed through its ArticleList.
 */
#ifndef PELNOR_READ_MARKS_H
#define PELNOR_READ_MARKS_H

#include "store/group_store.h"

/* Rewrites the group's log and index without the read articles, through
 * the temporaries named after the index ("...id~" and "...lo~"), then
 * replaces the log and then the index with them. Kept records get their new
 * log offsets, and their subject-text offsets move by the same difference,
 * so re-filtering and the subject view read their own subjects. Record, high
 * and low counts follow the kept records, the saved position becomes 0. A
 * failure before the replacement leaves both old files untouched and the
 * temporaries removed. The store's names must be set. */
int DeleteReadArticles(GroupStore *store);

/* Catch-up on the server: reads the header, sets last fetched to
 * kCaughtUpOnServer and writes the header, so that the next download only
 * notes the server's last article. */
int CatchUpServer(GroupStore *store);

#endif
