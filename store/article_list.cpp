#include "article_list.h"

#include <stddef.h>

#include <stdlib.h>
#include <string.h>

#include "base/scoped_win.h"
#include "store/article_reader.h"
#include "store/file_io.h"

struct ArticleList {
    GroupStore store;        /* the group, its header loaded */
    DWORD page_size;         /* rows the view shows at once */
    DWORD visible_count;     /* rows in the row map */
    DWORD rows_in_page;      /* records loaded into the page */
    DWORD first_row;         /* list row of page[0] */
    IndexRecord *page;       /* page_size records */
    DWORD *row_map;          /* record number of each row */
    unsigned char *depths;   /* depth of each row */
    int open;                /* opened from a group: close saves the position */
};

namespace {

/* Records read at once while the row map is made: the index is read in
 * few large pieces. */
const DWORD kBuildBatch = 4096;

const unsigned char kHidden = 3, kHigh = kRunHigh, kNormal = kRunNormal, kLow = kRunLow;

unsigned char RunOf(ListFilter filter, const IndexRecord *record)
{
    if ((record->flags & kRecordRead) && !filter.show_read)
        return kHidden;
    DWORD priority = RecordPriority(record);
    if (priority == kPriorityHigh)
        return kHigh;
    if (priority == kPriorityLow)
        return filter.priority_level == 1 ? kLow : kHidden;
    return filter.priority_level == 2 ? kHidden : kNormal;
}

void DropPages(ArticleList *list)
{
    free(list->page);
    free(list->row_map);
    free(list->depths);
    list->page = nullptr;
    list->row_map = nullptr;
    list->depths = nullptr;
    list->visible_count = 0;
    list->rows_in_page = 0;
    list->first_row = 0;
}

DWORD FieldLength(const char *field, DWORD size)
{
    DWORD length = 0;
    while (length < size && field[length])
        length++;
    return length;
}

void *Bytes(SIZE_T size)
{
    void *bytes = malloc(size ? size : 1);
    if (!bytes)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return bytes;
}

bool RowOnPage(const ArticleList *list, DWORD row)
{
    return row >= list->first_row && row - list->first_row < list->rows_in_page;
}

/* The record shown at `row`: from the page when it is there, else from the
 * index. */
int ReadRowRecord(ArticleList *list, DWORD row, IndexRecord *record)
{
    if (row >= list->visible_count) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (RowOnPage(list, row)) {
        *record = list->page[row - list->first_row];
        return 1;
    }
    DWORD count = 1;
    if (!IndexReadRecords(&list->store, record, list->row_map[row], &count))
        return 0;
    if (count != 1) {
        SetLastError(ERROR_HANDLE_EOF);
        return 0;
    }
    return 1;
}

/* Changes the flags of one row and writes its record back. */
int ChangeFlags(ArticleList *list, DWORD row, DWORD set, DWORD clear)
{
    IndexRecord record;
    if (!ReadRowRecord(list, row, &record))
        return 0;
    DWORD number = list->row_map[row];
    DWORD was_read = record.flags & kRecordRead;
    record.flags = (record.flags | set) & ~clear;
    DWORD now_read = record.flags & kRecordRead;
    if (!IndexWriteRecord(&list->store, &record, number))
        return 0;
    if (RowOnPage(list, row))
        list->page[row - list->first_row] = record;
    if (!was_read && now_read && list->store.unread_count > 0)
        list->store.unread_count--;
    else if (was_read && !now_read)
        list->store.unread_count++;
    return 1;
}

} // namespace

int PriorityRunsOrder(const RowOrderInput *input, DWORD *rows, unsigned char *depths)
{
    DWORD run_rows[kRunLow + 1] = {0, 0, 0};
    for (DWORD i = 0; i < input->count; i++)
        run_rows[input->runs[i]]++;
    /* Each run's rows start where the runs before it end. */
    DWORD next[kRunLow + 1] = {0, run_rows[kRunHigh], run_rows[kRunHigh] + run_rows[kRunNormal]};
    for (DWORD i = 0; i < input->count; i++)
        rows[next[input->runs[i]]++] = input->numbers[i];
    memset(depths, 0, input->count);
    return 1;
}

ArticleList *ArticleListCreate(void)
{
    ArticleList *list = (ArticleList *)Bytes(sizeof(ArticleList));
    if (!list)
        return nullptr;
    memset(list, 0, sizeof *list);
    GroupStoreInit(&list->store);
    return list;
}

void ArticleListDestroy(ArticleList *list)
{
    if (!list)
        return;
    list->open = 0;
    ArticleListClose(list, 0);
    free(list);
}

int ArticleListOpen(ArticleList *list, const wchar_t *data_folder, const wchar_t *group)
{
    if (!GroupStoreSetNames(&list->store, data_folder, group) || !IndexReadHeader(&list->store))
        return 0;
    list->open = 1;
    return 1;
}

int ArticleListBuild(ArticleList *list, ListFilter filter, RowOrder order, DWORD page_size)
{
    DropPages(list);
    if (!IndexReadHeader(&list->store))
        return 0;
    DWORD count = list->store.record_count;
    DWORD *numbers = (DWORD *)Bytes((SIZE_T)count * sizeof(DWORD));
    unsigned char *runs = (unsigned char *)Bytes(count);
    IndexRecord *block = (IndexRecord *)Bytes(kBuildBatch * sizeof(IndexRecord));
    DWORD visible = 0;
    unsigned long long mark = 0;
    int ok = numbers && runs && block;
    if (ok) {
        ScopedFile index(OpenForReading(list->store.index_path));
        ok = index.valid() && SeekFile(index.get(), IndexRecordOffset(0));
        for (DWORD done = 0; ok && done < count;) {
            DWORD wanted = count - done < kBuildBatch ? count - done : kBuildBatch, got = 0;
            ok = ReadBytes(index.get(), block, wanted * kIndexRecordSize, &got);
            if (ok && got < wanted * kIndexRecordSize) {
                SetLastError(ERROR_HANDLE_EOF);
                ok = 0;
            }
            for (DWORD i = 0; ok && i < wanted; i++) {
                mark += IndexRecordMark(done + i, &block[i]);
                unsigned char run = RunOf(filter, &block[i]);
                if (run != kHidden) {
                    numbers[visible] = done + i;
                    runs[visible++] = run;
                }
            }
            done += wanted;
        }
    }
    free(block);
    if (ok) {
        list->row_map = (DWORD *)Bytes((SIZE_T)visible * sizeof(DWORD));
        list->depths = (unsigned char *)Bytes(visible);
        list->page = (IndexRecord *)Bytes((SIZE_T)page_size * sizeof(IndexRecord));
        ok = list->row_map && list->depths && list->page;
    }
    if (ok) {
        RowOrderInput input = {&list->store, numbers, runs, visible, mark};
        ok = order(&input, list->row_map, list->depths);
    }
    DWORD error = GetLastError();
    free(numbers);
    free(runs);
    if (!ok) {
        DropPages(list);
        SetLastError(error);
        return 0;
    }
    list->visible_count = visible;
    list->page_size = page_size;
    /* The header's counts are taken as they stand; toggles move the
     * unread count from there. */
    return ArticleListLoadPage(list, 0);
}

DWORD ArticleListRowCount(const ArticleList *list)
{
    return list->visible_count;
}

DWORD ArticleListPageSize(const ArticleList *list)
{
    return list->page_size;
}

DWORD ArticleListFirstRow(const ArticleList *list)
{
    return list->first_row;
}

DWORD ArticleListRowsInPage(const ArticleList *list)
{
    return list->rows_in_page;
}

unsigned ArticleListRowDepth(const ArticleList *list, DWORD row)
{
    return row < list->visible_count ? list->depths[row] & kMostRowDepth : 0;
}

bool ArticleListRowStartsThread(const ArticleList *list, DWORD row)
{
    return row < list->visible_count && (list->depths[row] & kRowStartsThread) != 0;
}

int ArticleListLoadPage(ArticleList *list, DWORD first_row)
{
    if (first_row > 0 && first_row >= list->visible_count) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD rows = list->visible_count - first_row;
    if (rows > list->page_size)
        rows = list->page_size;
    list->rows_in_page = 0;
    list->first_row = first_row;
    if (rows == 0)
        return 1;
    ScopedFile index(OpenForReading(list->store.index_path));
    if (!index.valid())
        return 0;
    /* Rows whose records follow each other in the index are read at once. */
    for (DWORD i = 0; i < rows;) {
        DWORD number = list->row_map[first_row + i], run = 1;
        while (i + run < rows && list->row_map[first_row + i + run] == number + run)
            run++;
        DWORD got = 0;
        if (!ReadBytesAt(index.get(), IndexRecordOffset(number), &list->page[i], run * kIndexRecordSize, &got))
            return 0;
        if (got < run * kIndexRecordSize) {
            SetLastError(ERROR_HANDLE_EOF);
            return 0;
        }
        i += run;
        list->rows_in_page = i;
    }
    return 1;
}

int ArticleListSetFlags(ArticleList *list, DWORD row, DWORD bits)
{
    return ChangeFlags(list, row, bits, 0);
}

int ArticleListClearFlags(ArticleList *list, DWORD row, DWORD bits)
{
    return ChangeFlags(list, row, 0, bits);
}

int ArticleListToggleRead(ArticleList *list, DWORD row)
{
    IndexRecord record;
    if (!ReadRowRecord(list, row, &record))
        return 0;
    return record.flags & kRecordRead ? ArticleListClearFlags(list, row, kRecordRead)
                                      : ArticleListSetFlags(list, row, kRecordRead);
}

const IndexRecord *ArticleListPageRecord(const ArticleList *list, DWORD index)
{
    return index < list->rows_in_page ? &list->page[index] : nullptr;
}

wchar_t *ArticleListReadSubject(ArticleList *list, DWORD row)
{
    IndexRecord record;
    if (!ReadRowRecord(list, row, &record))
        return nullptr;
    return ReadSubjectText(&list->store, &record);
}

wchar_t *ArticleListReadArticle(ArticleList *list, DWORD row)
{
    IndexRecord record;
    if (!ReadRowRecord(list, row, &record))
        return nullptr;
    return ReadArticle(&list->store, record.log_offset, record.log_length);
}

char *ArticleListReadArticleBytes(ArticleList *list, DWORD row, DWORD *length)
{
    IndexRecord record;
    if (!ReadRowRecord(list, row, &record))
        return nullptr;
    *length = record.log_length;
    return ReadArticleBytes(&list->store, record.log_offset, record.log_length);
}

const wchar_t *ArticleListFilterPath(const ArticleList *list)
{
    return list->store.filter_path;
}

int ArticleListRefilter(ArticleList *list)
{
    return IndexRefilter(&list->store);
}

DWORD ArticleListUnread(const ArticleList *list)
{
    return list->store.unread_count;
}

int ArticleListSaveCounts(ArticleList *list)
{
    return IndexWriteHeader(&list->store, INVALID_HANDLE_VALUE);
}

/* The longest text of one field (at `offset`, `size` bytes) on the page. */
static DWORD LongestField(const ArticleList *list, size_t offset, DWORD size)
{
    DWORD longest = 0;
    for (DWORD i = 0; i < list->rows_in_page; i++) {
        DWORD length = FieldLength((const char *)&list->page[i] + offset, size);
        if (length > longest)
            longest = length;
    }
    return longest;
}

DWORD ArticleListLongestSubject(const ArticleList *list)
{
    return LongestField(list, offsetof(IndexRecord, subject), sizeof(IndexRecord::subject));
}

DWORD ArticleListLongestFrom(const ArticleList *list)
{
    return LongestField(list, offsetof(IndexRecord, from), sizeof(IndexRecord::from));
}

int ArticleListClose(ArticleList *list, DWORD position)
{
    int ok = 1;
    if (list->open) {
        list->store.saved_position = position;
        ok = IndexWriteHeader(&list->store, INVALID_HANDLE_VALUE);
    }
    DWORD error = GetLastError();
    DropPages(list);
    GroupStoreRelease(&list->store);
    GroupStoreInit(&list->store); /* ready for the next group */
    list->open = 0;
    SetLastError(error);
    return ok;
}
