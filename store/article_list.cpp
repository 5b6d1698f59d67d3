#include "article_list.h"

#include <stddef.h>

#include <stdlib.h>
#include <string.h>

#include "base/scoped_win.h"
#include "store/article_reader.h"
#include "store/file_io.h"

namespace {

/* Where a record goes in the row map. */
enum : unsigned char { kRunHigh = 0, kRunNormal = 1, kRunLow = 2, kHidden = 3 };

unsigned char RunOf(const ArticleList *list, const IndexRecord *record)
{
    if ((record->flags & kRecordRead) && !list->show_read)
        return kHidden;
    DWORD priority = RecordPriority(record);
    if (priority == kPriorityHigh)
        return kRunHigh;
    if (priority == kPriorityLow)
        return list->priority_level == 1 ? kRunLow : kHidden;
    return list->priority_level == 2 ? kHidden : kRunNormal;
}

void DropPages(ArticleList *list)
{
    free(list->page);
    free(list->row_map);
    list->page = nullptr;
    list->row_map = nullptr;
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

void ArticleListInit(ArticleList *list)
{
    memset(list, 0, sizeof *list);
    GroupStoreInit(&list->store);
}

int ArticleListOpen(ArticleList *list, const wchar_t *data_folder, const wchar_t *group)
{
    if (!GroupStoreSetNames(&list->store, data_folder, group) || !IndexReadHeader(&list->store))
        return 0;
    list->open = 1;
    return 1;
}

void ArticleListSetOptions(ArticleList *list, int show_read, DWORD priority_level)
{
    list->show_read = show_read;
    list->priority_level = priority_level;
}

int ArticleListBuild(ArticleList *list, DWORD page_size)
{
    DropPages(list);
    if (!IndexReadHeader(&list->store))
        return 0;
    DWORD count = list->store.record_count;
    list->row_map = (DWORD *)Bytes((SIZE_T)count * sizeof(DWORD));
    unsigned char *runs = (unsigned char *)Bytes(count);
    IndexRecord *block = (IndexRecord *)Bytes(kIndexRecordBatch * sizeof(IndexRecord));
    DWORD run_rows[kHidden + 1] = {0, 0, 0, 0};
    int ok = list->row_map && runs && block;
    if (ok) {
        ScopedFile index(OpenForReading(list->store.index_path));
        ok = index.valid() && SeekFile(index.get(), IndexRecordOffset(0));
        for (DWORD done = 0; ok && done < count;) {
            DWORD wanted = count - done < kIndexRecordBatch ? count - done : kIndexRecordBatch, got = 0;
            ok = ReadBytes(index.get(), block, wanted * kIndexRecordSize, &got);
            if (ok && got < wanted * kIndexRecordSize) {
                SetLastError(ERROR_HANDLE_EOF);
                ok = 0;
            }
            for (DWORD i = 0; ok && i < wanted; i++)
                run_rows[runs[done + i] = RunOf(list, &block[i])]++;
            done += wanted;
        }
    }
    if (ok) {
        /* Each run's rows start where the runs before it end. */
        DWORD next[kRunLow + 1] = {0, run_rows[kRunHigh], run_rows[kRunHigh] + run_rows[kRunNormal]};
        for (DWORD number = 0; number < count; number++)
            if (runs[number] != kHidden)
                list->row_map[next[runs[number]]++] = number;
        list->visible_count = next[kRunLow];
        list->page_size = page_size;
        list->page = (IndexRecord *)Bytes((SIZE_T)page_size * sizeof(IndexRecord));
        ok = list->page != nullptr;
    }
    DWORD error = GetLastError();
    free(runs);
    free(block);
    if (!ok) {
        DropPages(list);
        SetLastError(error);
        return 0;
    }
    /* The header's counts are taken as they stand; toggles move the
     * unread count from there. */
    list->current_in_page = 0;
    return ArticleListLoadPage(list, 0);
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

wchar_t *ArticleListReadSubject(ArticleList *list)
{
    if (list->current_in_page >= list->rows_in_page) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return ReadSubjectText(&list->store, &list->page[list->current_in_page]);
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

int ArticleListClose(ArticleList *list)
{
    int ok = 1;
    if (list->open) {
        list->store.saved_position = list->first_row + list->current_in_page;
        ok = IndexWriteHeader(&list->store, INVALID_HANDLE_VALUE);
    }
    DWORD error = GetLastError();
    DropPages(list);
    GroupStoreRelease(&list->store);
    list->open = 0;
    SetLastError(error);
    return ok;
}
