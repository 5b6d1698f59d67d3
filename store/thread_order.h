/*
 * Thread order for the subject view, and the per-group thread file it
 * reads: "<group>.thr" beside the index, one record per index record with
 * the keys the article is threaded by (thread_tree.h), taken from the log.
 * The file is never trusted blindly: its header names the index it was
 * made for and the sum of its records; when either disagrees, each record
 * must name the same article and log offset as its index record, and
 * whatever does not (a missing, damaged or short file, the records after a
 * delete-read or a download) is made again from the log and written back.
 */
#ifndef PELNOR_THREAD_ORDER_H
#define PELNOR_THREAD_ORDER_H

#include <windows.h>

#include "store/article_list.h"
#include "store/thread_tree.h"

#pragma pack(push, 1)
struct ThreadFileHeader {
    char magic[4];       /* "PTHR" */
    DWORD version;       /* 1 */
    DWORD record_count;
    DWORD reserved;
    unsigned long long index_mark;  /* IndexRecordMark summed over the index it was made for */
    unsigned long long records_sum; /* ThreadRecordSum over its records */
};
struct ThreadFileRecord {
    DWORD article_number; /* as its index record's */
    DWORD log_offset;     /* likewise */
    unsigned long long id;
    unsigned long long parent;
    unsigned long long root;
    DWORD date;
    DWORD reserved;
};
#pragma pack(pop)
static_assert(sizeof(ThreadFileHeader) == 32, "thread file header is 32 bytes");
static_assert(sizeof(ThreadFileRecord) == 40, "thread file record is 40 bytes");

/* What record `number` adds to the file's records_sum. */
unsigned long long ThreadRecordSum(DWORD number, const ThreadFileRecord *record);

/* The rows as threads (see OrderThreads). The thread file is read once;
 * when it was made for another index or its records do not add up, it is
 * made good first. */
int ThreadOrder(const RowOrderInput *input, DWORD *rows, unsigned char *depths);

/* Makes the group's thread file agree with its index, reading from the log
 * only what does not. *made (may be null) gets the number of records taken
 * from the log. 1, or 0 with the last error. */
int RefreshThreadFile(const GroupStore *store, DWORD *made);

/* The thread file's path for the group (".thr" in place of ".idx"); the
 * caller frees it. */
wchar_t *ThreadFilePath(const GroupStore *store);

#endif
