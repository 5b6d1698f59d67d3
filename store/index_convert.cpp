#include "index_convert.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/scoped_win.h"
#include "store/file_io.h"
#include "store/index_file.h"
#include "base/line_reader.h"
#include "store/log_scanner.h"
#include "text/widestr.h"

namespace {

/* Header and record sizes of each version, by version number. */
const DWORD kHeaderSizes[6] = {0, 0, 88, 92, 92, 100};
const DWORD kRecordSizes[6] = {0, 0, 64, 64, 84, 92};

/* A number line of the old text header: leading blanks, then digits up to
 * the first other byte. */
DWORD TextHeaderNumber(const char *text, DWORD length)
{
    DWORD i = 0, value = 0;
    while (i < length && (text[i] == ' ' || text[i] == '\t'))
        i++;
    for (; i < length && text[i] >= '0' && text[i] <= '9'; i++)
        value = value * 10 + (DWORD)(text[i] - '0');
    return value;
}

/* index path + "~"; caller must free. */
wchar_t *TemporaryIndexPath(const GroupStore *store)
{
    size_t size = wcslen(store->index_path) + 2;
    wchar_t *path = (wchar_t *)malloc(size * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    _snwprintf(path, size, L"%s%c", store->index_path, L'~');
    path[size - 1] = L'\0';
    return path;
}

/* The fields of an article without a head: what a record gets when the log
 * holds no article for it. */
void FillWithoutArticle(IndexRecord *record)
{
    HeaderBlock empty;
    HeaderBlockInit(&empty);
    KeywordFilter none;
    KeywordFilterInit(&none);
    IndexRecord blank;
    IndexFillRecord(&blank, record->log_offset, record->log_offset, &empty, &none, INVALID_HANDLE_VALUE);
    memcpy(record->subject, blank.subject, sizeof record->subject);
    memcpy(record->date, blank.date, sizeof record->date);
    memcpy(record->from, blank.from, sizeof record->from);
    record->subject_text_offset = blank.subject_text_offset;
    record->subject_text_length = 0;
}

/* Reads the old index of `version` and writes the next version to `to`. */
int WriteNextVersion(GroupStore *store, DWORD version, HANDLE from, HANDLE to)
{
    const DWORD old_header = kHeaderSizes[version], old_record = kRecordSizes[version];
    const DWORD new_header = kHeaderSizes[version + 1], new_record = kRecordSizes[version + 1];

    /* Every version's header and record are the leading bytes of the
     * current ones, so both are read into zeroed current records. */
    IndexHeader header;
    memset(&header, 0, sizeof header);
    DWORD got = 0;
    if (!ReadBytes(from, &header, old_header, &got))
        return 0;
    if (got < old_header) {
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
    if (!SeekFile(to, new_header))
        return 0;

    /* Versions 3 and 4 take the new fields from the log, article by article. */
    bool from_log = version >= 3;
    ScopedFile log;
    LogScanner scanner;
    bool scanning = false;
    HeaderBlock block;
    HeaderBlockInit(&block);
    KeywordFilter none;
    KeywordFilterInit(&none);
    if (from_log) {
        log.reset(OpenForReading(store->log_path));
        if (!log.valid() && GetLastError() != ERROR_FILE_NOT_FOUND)
            return 0;
        if (log.valid()) {
            if (!LogScannerInit(&scanner, log.get()))
                return 0;
            scanning = true;
        }
    }

    int ok = 1;
    DWORD written = 0;
    RecordCounts counts = {0, 0, 0, 0};
    for (; written < header.record_count; written++) {
        IndexRecord record;
        memset(&record, 0, sizeof record);
        if (!ReadBytes(from, &record, old_record, &got)) {
            ok = 0;
            break;
        }
        if (got < old_record)
            break; /* the records the file really holds */
        if (from_log) {
            DWORD start, end;
            IndexRecord filled;
            if (scanning && LogScanArticle(&scanner, &block, &start, &end)) {
                if (!IndexFillRecord(&filled, start, end, &block, &none, INVALID_HANDLE_VALUE)) {
                    ok = 0;
                    break;
                }
                memcpy(&filled, &record, 16); /* flags, number, offset, length stay */
                record = filled;
            } else {
                if (scanning && GetLastError() != ERROR_HANDLE_EOF) {
                    ok = 0;
                    break;
                }
                scanning = false;
                if (version == 3)
                    FillWithoutArticle(&record);
                else {
                    record.subject_text_offset = record.log_offset;
                    record.subject_text_length = 0;
                }
            }
        }
        CountRecord(&counts, &record);
        if (!WriteBytes(to, &record, new_record)) {
            ok = 0;
            break;
        }
    }
    DWORD error = GetLastError();
    if (log.valid())
        LogScannerFree(&scanner);
    HeaderBlockFree(&block);
    if (!ok) {
        SetLastError(error);
        return 0;
    }

    header.version = version + 1;
    header.record_count = written;
    if (version == 2)
        header.unread_count = counts.unread;
    if (version == 4) {
        header.high_count = counts.high;
        header.low_count = counts.low;
    }
    return SeekFile(to, 0) && WriteBytes(to, &header, new_header);
}

/* A fresh index: the given header values, records rebuilt from the log. */
int RebuildWithHeader(GroupStore *store)
{
    return IndexWriteHeader(store, INVALID_HANDLE_VALUE) && IndexRebuild(store);
}

/* Whether every record lies inside the log, each after the one before (the
 * download and the deletion of read articles keep them in log order). A
 * missing log is an empty one. */
int RecordsFitLog(const GroupStore *store, DWORD record_count, int *fit)
{
    *fit = 1;
    if (record_count == 0)
        return 1;
    unsigned long long log_size = 0;
    {
        ScopedFile log(OpenForReading(store->log_path));
        if (log.valid()) {
            DWORD high = 0, low = GetFileSize(log.get(), &high);
            if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
                return 0;
            log_size = ((unsigned long long)high << 32) | low;
        } else if (GetLastError() != ERROR_FILE_NOT_FOUND) {
            return 0;
        }
    }
    ScopedFile index(OpenForReading(store->index_path));
    if (!index.valid() || !SeekFile(index.get(), IndexRecordOffset(0)))
        return 0;
    IndexRecord *batch = (IndexRecord *)malloc(kIndexRecordBatch * sizeof(IndexRecord));
    if (!batch) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    unsigned long long previous_end = 0;
    int ok = 1;
    for (DWORD done = 0; ok && *fit && done < record_count;) {
        DWORD wanted = record_count - done < kIndexRecordBatch ? record_count - done : kIndexRecordBatch, got = 0;
        ok = ReadBytes(index.get(), batch, wanted * kIndexRecordSize, &got);
        if (ok && got < wanted * kIndexRecordSize) {
            SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
        }
        for (DWORD i = 0; ok && *fit && i < wanted; i++) {
            unsigned long long end = (unsigned long long)batch[i].log_offset + batch[i].log_length;
            *fit = batch[i].log_offset >= previous_end && end <= log_size;
            previous_end = end;
        }
        done += wanted;
    }
    free(batch);
    return ok;
}

/* A version 5 index shorter than its header or its records, or whose
 * records do not fit its log (a log cut short or emptied), is rebuilt from
 * the log, keeping the header numbers that are still there; when the
 * records did not fit, last fetched comes from the log alone. */
int RepairIndex(GroupStore *store)
{
    IndexHeader header;
    memset(&header, 0, sizeof header);
    DWORD size, got = 0;
    {
        ScopedFile file(OpenForReading(store->index_path));
        if (!file.valid())
            return 0;
        size = GetFileSize(file.get(), nullptr);
        if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
            return 0;
        if (!ReadBytes(file.get(), &header, sizeof header, &got))
            return 0;
    }
    int fit = 0;
    if (got >= kIndexHeaderSize &&
        (unsigned long long)size >= kIndexHeaderSize + (unsigned long long)kIndexRecordSize * header.record_count) {
        if (!RecordsFitLog(store, header.record_count, &fit))
            return 0;
        if (fit)
            return 1;
        if (header.last_fetched != kCaughtUpOnServer)
            header.last_fetched = 0;
    }
    GroupStoreReset(store);
    if (got >= 8)
        store->last_fetched = header.last_fetched;
    if (got >= 12)
        store->server_last = header.server_last;
    if (got >= 16)
        store->reserved = header.reserved;
    if (got >= 88 && header.status_text[0]) {
        char status[kStatusTextSize + 1];
        memcpy(status, header.status_text, kStatusTextSize);
        status[kStatusTextSize] = '\0';
        store->status_text = ToWide(status);
        if (!store->status_text)
            return 0;
    }
    return RebuildWithHeader(store);
}

} // namespace

int IndexConvertFromText(GroupStore *store)
{
    DWORD numbers[3] = {0, 0, 0};
    char *status = nullptr;
    {
        ScopedFile file(OpenForReading(store->index_path));
        if (!file.valid())
            return 0;
        LineReader reader;
        if (!LineReaderInit(&reader, file.get(), 4096, kLogLineLimit))
            return 0;
        const char *line;
        DWORD length;
        for (int n = 0; n < 4 && LineReaderNext(&reader, &line, &length); n++) {
            if (length >= 2 && line[length - 2] == '\r' && line[length - 1] == '\n')
                length -= 2;
            if (n == 1) {
                status = (char *)malloc(length + 1);
                if (!status) {
                    LineReaderFree(&reader);
                    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                    return 0;
                }
                memcpy(status, line, length);
                status[length] = '\0';
            } else {
                numbers[n == 0 ? 0 : n - 1] = TextHeaderNumber(line, length);
            }
        }
        LineReaderFree(&reader);
    }
    GroupStoreReset(store);
    store->last_fetched = numbers[0];
    store->server_last = numbers[1];
    store->reserved = numbers[2];
    if (status && status[0]) {
        store->status_text = ToWide(status);
        if (!store->status_text) {
            free(status);
            return 0;
        }
    }
    free(status);
    return RebuildWithHeader(store);
}

int IndexConvertStep(GroupStore *store, DWORD version)
{
    if (version < 2 || version > 4 || !store->index_path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    wchar_t *temporary = TemporaryIndexPath(store);
    if (!temporary)
        return 0;
    int ok;
    {
        ScopedFile from(CreateFileW(store->index_path, GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!from.valid()) {
            free(temporary);
            return 0;
        }
        ScopedFile to(CreateFileW(temporary, GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
        if (!to.valid()) {
            free(temporary);
            return 0;
        }
        ok = WriteNextVersion(store, version, from.get(), to.get());
    }
    if (ok && !DeleteFileW(store->index_path))
        ok = 0;
    if (!ok) {
        DWORD error = GetLastError();
        DeleteFileW(temporary);
        free(temporary);
        SetLastError(error);
        return 0;
    }
    ok = MoveFileW(temporary, store->index_path);
    DWORD error = GetLastError();
    free(temporary);
    SetLastError(error);
    return ok;
}

int IndexBringUpToDate(GroupStore *store, int *unknown_version)
{
    *unknown_version = 0;
    GroupStoreCloseIndex(store);
    DWORD version;
    if (!IndexProbeVersion(store, &version)) {
        DWORD error = GetLastError();
        if (error != ERROR_FILE_NOT_FOUND && error != ERROR_INVALID_DATA)
            return 0;
        /* Missing, or too short to say what it is: made anew from the log.
         * A new group has no log either, and its index is the header alone
         * (a first start with thousands of groups makes one file each). */
        GroupStoreReset(store);
        if (error == ERROR_FILE_NOT_FOUND && GetFileAttributesW(store->log_path) == INVALID_FILE_ATTRIBUTES &&
            GetLastError() == ERROR_FILE_NOT_FOUND)
            return IndexWriteHeader(store, INVALID_HANDLE_VALUE);
        return RebuildWithHeader(store);
    }
    switch (version) {
    case 1:
        return IndexConvertFromText(store);
    case 2:
    case 3:
    case 4:
        for (DWORD step = version; step < kIndexVersion; step++)
            if (!IndexConvertStep(store, step))
                return 0;
        return 1;
    case kIndexVersion:
        return RepairIndex(store);
    default:
        *unknown_version = 1;
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
}
