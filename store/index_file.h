/*
 * A group's article index ("%s%s.idx"): a 100-byte header, then one 92-byte
 * record per article of the group's log, in the order the articles were
 * appended. A record is found by its position (record number). All numbers
 * are little-endian; text is Shift_JIS, NUL-padded.
 *
 * The header lives in the group's GroupStore while the store is in use:
 * IndexReadHeader loads it, IndexWriteHeader saves it. Appending records
 * changes the counts in memory only; the caller saves the header once at
 * the end of its run.
 */
#ifndef PELNOR_INDEX_FILE_H
#define PELNOR_INDEX_FILE_H

#include <windows.h>

#include "filters/keyword_filter.h"
#include "store/group_store.h"
#include "store/header_block.h"

enum : DWORD {
    kIndexVersion = 5,
    kIndexHeaderSize = 100,
    kIndexRecordSize = 92,
    kStatusTextSize = 64, /* 63 bytes and a NUL */
    /* Records moved per read or write when whole runs of records are
     * handled (rebuild, checks, row maps, mark all read, re-filter). */
    kIndexRecordBatch = 512,
};

/* Record flags: bit 0 read, bits 1-2 the keyword priority (0 normal, 1 low,
 * 2 high). */
enum : DWORD {
    kRecordRead = 0x1,
    kRecordPriorityShift = 1,
    kRecordPriorityMask = 0x6,
};

#pragma pack(push, 1)
struct IndexHeader {
    DWORD version;        /* 5 */
    DWORD last_fetched;   /* 0 when new; 0xFFFFFFFF after a catch-up on the server */
    DWORD server_last;
    DWORD reserved;
    DWORD record_count;
    DWORD saved_position;
    char status_text[kStatusTextSize];
    DWORD unread_count;
    DWORD high_count;
    DWORD low_count;
};

struct IndexRecord {
    DWORD flags;
    DWORD article_number;   /* the X-Local-Seq number */
    DWORD log_offset;       /* first byte of the article in the log */
    DWORD log_length;       /* up to the end of its separator line */
    char subject[48];       /* at most 47 bytes; "(none)" without a subject line */
    char date[4];           /* "MMDD", "0000" when unreadable */
    char from[16];          /* at most 15 bytes; "(Unknown)" when empty */
    DWORD subject_text_offset; /* log offset just after "Subject: " */
    DWORD subject_text_length; /* subject line less "Subject: " and CR LF */
};
#pragma pack(pop)

static_assert(sizeof(IndexHeader) == 100, "index header is 100 bytes");
static_assert(sizeof(IndexRecord) == 92, "index record is 92 bytes");

/* Where record `number` starts in the index file. */
inline DWORD IndexRecordOffset(DWORD number)
{
    return kIndexHeaderSize + kIndexRecordSize * number;
}

/* What record `number` adds to the mark of a whole index: the sum over its
 * records tells one index from another (after an append, a deletion, a
 * rebuild) without keeping the records. */
inline unsigned long long IndexRecordMark(DWORD number, const IndexRecord *record)
{
    unsigned long long x = ((unsigned long long)record->article_number << 32 | record->log_offset) ^
                           ((unsigned long long)number * 0x9E3779B97F4A7C15ull);
    x ^= x >> 31;
    x *= 0xBF58476D1CE4E5B9ull;
    return x ^ (x >> 29);
}

inline DWORD RecordPriority(const IndexRecord *record)
{
    return (record->flags & kRecordPriorityMask) >> kRecordPriorityShift;
}

/* What a header counts of its records. */
struct RecordCounts {
    DWORD records;
    DWORD unread;
    DWORD high;
    DWORD low;
};

/* Adds one record to the counts. */
void CountRecord(RecordCounts *counts, const IndexRecord *record);

/* Resets the store and loads the header: the index is opened read-only
 * with read sharing and closed again. 13 when the file holds fewer than 100
 * bytes or is not version 5, 87 when the names are not set, 8 when the
 * status text cannot be allocated. */
int IndexReadHeader(GroupStore *store);

/* Writes the store's header values at offset 0. With a `file` handle, seeks
 * it to 0, writes and leaves it open. With INVALID_HANDLE_VALUE it writes
 * through the store's open index handle, or, when the index is closed,
 * opens the index for writing (no sharing, creating it) and closes it. */
int IndexWriteHeader(GroupStore *store, HANDLE file);

/* Reads up to *count records from record number `first` into `buffer`;
 * *count becomes the number of whole records read, never more than
 * record_count - first. 87 (and *count 0) when `first` is not below the
 * record count. Uses the open index handle, or opens and closes the index
 * itself. */
int IndexReadRecords(GroupStore *store, IndexRecord *buffer, DWORD first, DWORD *count);

/* Writes one record at its number's place; number 0xFFFFFFFF writes at the
 * handle's current position. Uses the open index handle, or opens and
 * closes the index itself. */
int IndexWriteRecord(GroupStore *store, const IndexRecord *record, DWORD number);

/* Adds the record of the article stored in the log from `start` to `end`,
 * whose head is in `block` (the bytes the log holds at `start`), matching
 * its subject against `filter`, as record number record_count; then raises
 * record, unread and high or low counts in memory. The header on disk is not
 * rewritten. */
int IndexAppend(GroupStore *store, DWORD start, DWORD end, const HeaderBlock *block, const KeywordFilter *filter);

/* Recreates every record from the log (a missing log holds no articles),
 * with the group's filter, truncates what followed, and writes the header
 * with the new counts; the other header values are kept, except that last
 * fetched is raised to the highest article number in the log (unless the
 * group was caught up on the server). A log that ends inside an article
 * gives records for the whole articles before it. */
int IndexRebuild(GroupStore *store);

/* Cuts off the log what follows the end of the last record, and off the
 * index what follows its last record: what a run killed in the middle of
 * an article left behind. Needs the log and the index open and the header
 * read. */
int IndexCutLogTail(GroupStore *store);

/* Matches every record's subject text (read from the log) against the
 * group's filter again, writes back the records whose priority changed and
 * saves the header with the new high and low counts (also after a
 * failure). Uses the header values in the store: read the header first. */
int IndexRefilter(GroupStore *store);

/* Catch-up of the stored articles: reads the header, sets the read bit of
 * every record and saves the header with unread 0; after a failure, with
 * the unread count reached. */
int IndexMarkAllRead(GroupStore *store);

/* The index's version word: opens the index (read/write, no sharing, must
 * exist) and reads its first four bytes; above 500 is a version 1 text
 * header. Error 2 when the index is missing, 13 when it is shorter than
 * four bytes. */
int IndexProbeVersion(GroupStore *store, DWORD *version);

/* Fills `record` for an article from `start` to `end` whose head is in
 * `block` (flags hold the priority, nothing else). When `log` is a handle,
 * the subject line that is matched is read from it at `start` + the line's
 * offset; otherwise the block's own bytes are used. */
int IndexFillRecord(IndexRecord *record, DWORD start, DWORD end, const HeaderBlock *block,
                    const KeywordFilter *filter, HANDLE log);

#endif
