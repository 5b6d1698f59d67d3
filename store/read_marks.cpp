#include "read_marks.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/scoped_win.h"
#include "store/file_io.h"
#include "store/index_file.h"

namespace {

enum : DWORD {
    kCopyBuffer = 64 * 1024, /* bytes of the old log read at once */
};

/* The index path with its last three characters ("idx") replaced;
 * caller must free. */
wchar_t *TemporaryPath(const wchar_t *index_path, const wchar_t *ending)
{
    size_t length = wcslen(index_path);
    wchar_t *path = (wchar_t *)malloc((length + 1) * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    memcpy(path, index_path, (length + 1) * sizeof(wchar_t));
    if (length >= 3)
        memcpy(path + length - 3, ending, 3 * sizeof(wchar_t));
    return path;
}

/* Writes through a buffer; `written` counts every byte given so far. */
struct BufferedOutput {
    HANDLE file;
    char *data;
    DWORD used;
    DWORD written;
};

int Flush(BufferedOutput *out)
{
    if (out->used && !WriteBytes(out->file, out->data, out->used))
        return 0;
    out->used = 0;
    return 1;
}

int Put(BufferedOutput *out, const void *bytes, DWORD size)
{
    if (out->used + size > kCopyBuffer) {
        if (!Flush(out))
            return 0;
        if (size > kCopyBuffer) {
            if (!WriteBytes(out->file, bytes, size))
                return 0;
            out->written += size;
            return 1;
        }
    }
    memcpy(out->data + out->used, bytes, size);
    out->used += size;
    out->written += size;
    return 1;
}

/* The old log, read ahead in large pieces: kept articles normally follow
 * one another, so most of them come from bytes already read. */
struct LogWindow {
    HANDLE file;
    char *data;
    DWORD offset; /* log offset of data[0] */
    DWORD filled;
};

/* Copies `length` bytes at `offset` of the old log to `out`; 38 when the
 * log ends first. */
int CopyArticle(LogWindow *window, DWORD offset, DWORD length, BufferedOutput *out)
{
    while (length > 0) {
        if (offset >= window->offset && offset - window->offset < window->filled) {
            DWORD from = offset - window->offset;
            DWORD size = window->filled - from < length ? window->filled - from : length;
            if (!Put(out, window->data + from, size))
                return 0;
            offset += size;
            length -= size;
            continue;
        }
        DWORD got = 0;
        if (!ReadBytesAt(window->file, offset, window->data, kCopyBuffer, &got))
            return 0;
        window->offset = offset;
        window->filled = got;
        if (got == 0) {
            SetLastError(ERROR_HANDLE_EOF);
            return 0;
        }
    }
    return 1;
}

/* Steps 3 to 5 of the rewrite: header, kept records and articles, then
 * the header with the kept counts. */
int WriteKept(GroupStore *store, HANDLE old_log, HANDLE new_index, HANDLE new_log)
{
    if (!IndexReadHeader(store) || !IndexWriteHeader(store, new_index) || !GroupStoreOpenIndex(store))
        return 0;
    char *log_data = (char *)malloc(kCopyBuffer);
    char *log_out = (char *)malloc(kCopyBuffer);
    char *index_out = (char *)malloc(kCopyBuffer);
    IndexRecord *records = (IndexRecord *)malloc(kIndexRecordBatch * sizeof(IndexRecord));
    int ok = log_data && log_out && index_out && records;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    LogWindow window = {old_log, log_data, 0, 0};
    BufferedOutput articles = {new_log, log_out, 0, 0};
    BufferedOutput kept_records = {new_index, index_out, 0, 0};
    RecordCounts kept = {0, 0, 0, 0};
    HANDLE old_index = store->index_file;
    if (ok)
        ok = SeekFile(old_index, kIndexHeaderSize) && SeekFile(new_index, kIndexHeaderSize);
    for (DWORD first = 0; ok && first < store->record_count; first += kIndexRecordBatch) {
        DWORD count = store->record_count - first < kIndexRecordBatch ? store->record_count - first : kIndexRecordBatch;
        DWORD got = 0;
        if (!ReadBytes(old_index, records, count * kIndexRecordSize, &got)) {
            ok = 0;
            break;
        }
        if (got < count * kIndexRecordSize) {
            SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
            break;
        }
        for (DWORD i = 0; ok && i < count; i++) {
            IndexRecord record = records[i];
            if (record.flags & kRecordRead)
                continue;
            DWORD offset = record.log_offset;
            record.log_offset = articles.written;
            /* The subject text moves with its article. */
            record.subject_text_offset = record.subject_text_offset - offset + articles.written;
            ok = CopyArticle(&window, offset, record.log_length, &articles) &&
                 Put(&kept_records, &record, sizeof record);
            if (!ok)
                break;
            CountRecord(&kept, &record);
        }
    }
    if (ok)
        ok = Flush(&articles) && Flush(&kept_records);
    DWORD error = GetLastError();
    free(log_data);
    free(log_out);
    free(index_out);
    free(records);
    GroupStoreCloseIndex(store);
    if (!ok) {
        SetLastError(error);
        return 0;
    }
    /* Only read records were dropped: the unread count stays. */
    store->record_count = kept.records;
    store->high_count = kept.high;
    store->low_count = kept.low;
    store->saved_position = 0;
    return IndexWriteHeader(store, new_index);
}

} // namespace

int DeleteReadArticles(GroupStore *store)
{
    if (!store->index_path || !store->log_path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    ScopedFile old_log(CreateFileW(store->log_path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                   nullptr));
    if (!old_log.valid())
        return 0;
    wchar_t *index_temporary = TemporaryPath(store->index_path, L"id~");
    wchar_t *log_temporary = index_temporary ? TemporaryPath(store->index_path, L"lo~") : nullptr;
    if (!log_temporary) {
        free(index_temporary);
        return 0;
    }
    ScopedFile new_index(CreateFileW(index_temporary, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
    ScopedFile new_log;
    if (new_index.valid())
        new_log.reset(CreateFileW(log_temporary, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!new_index.valid() || !new_log.valid()) {
        DWORD error = GetLastError();
        if (new_index.valid()) {
            new_index.Close();
            DeleteFileW(index_temporary);
        }
        free(index_temporary);
        free(log_temporary);
        SetLastError(error);
        return 0;
    }

    int ok = WriteKept(store, old_log.get(), new_index.get(), new_log.get());
    DWORD error = GetLastError();
    old_log.Close();
    new_index.Close();
    new_log.Close();
    if (ok) {
        /* Log first, index second; what these report is not looked at. */
        DeleteFileW(store->log_path);
        MoveFileW(log_temporary, store->log_path);
        DeleteFileW(store->index_path);
        MoveFileW(index_temporary, store->index_path);
    } else {
        DeleteFileW(log_temporary);
        DeleteFileW(index_temporary);
    }
    free(index_temporary);
    free(log_temporary);
    SetLastError(error);
    return ok;
}

int CatchUpServer(GroupStore *store)
{
    if (!IndexReadHeader(store))
        return 0;
    store->last_fetched = kCaughtUpOnServer;
    return IndexWriteHeader(store, INVALID_HANDLE_VALUE);
}
