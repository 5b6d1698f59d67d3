/*
 * Bringing a group's index to the current version at start-up. Indexes
 * written by earlier versions of the program are converted in steps:
 *
 *   1  a text header (last fetched, status text, server last, reserved,
 *      one per line) and no records: a version 5 header is written in its
 *      place and the records are rebuilt from the log
 *   2  88-byte header, 64-byte records  -> 3: the unread count is added
 *   3  92-byte header, 64-byte records  -> 4: records get date and sender
 *   4  92-byte header, 84-byte records  -> 5: records get the subject
 *      text range, the header the high and low counts
 *
 * Steps 3 -> 4 and 4 -> 5 read the log from its start in step with the
 * records (the n-th article fills the n-th record). Each step writes the new
 * index beside the old one (index path + "~"), then deletes the old one and
 * renames the new one; a failure before that leaves the old index as it was.
 */
#ifndef PELNOR_INDEX_CONVERT_H
#define PELNOR_INDEX_CONVERT_H

#include "store/group_store.h"

/* Version 1 text header -> version 5 header and records from the log. */
int IndexConvertFromText(GroupStore *store);

/* One step from `version` (2, 3 or 4) to the next. */
int IndexConvertStep(GroupStore *store, DWORD version);

/* The per-group step of the data-folder start-up (the store's names set):
 * converts an old index to version 5; creates a missing index (and one too
 * short to hold a version word) with a fresh header and records rebuilt from
 * the log; rebuilds the records of a version 5 index that is shorter than
 * its header or its records, keeping the header numbers it still holds.
 * An unknown version sets *unknown_version and fails with error 13; the
 * caller tells the user. The index is closed afterwards. */
int IndexBringUpToDate(GroupStore *store, int *unknown_version);

#endif
