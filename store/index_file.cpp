#include "index_file.h"

#include <stdlib.h>
#include <string.h>

#include "base/scoped_win.h"
#include "store/article_reader.h"
#include "store/file_io.h"
#include "store/header_fields.h"
#include "store/log_scanner.h"
#include "text/widestr.h"

namespace {


/* The store's open index, or a handle opened for the call. */
class IndexHandle {
public:
    IndexHandle(GroupStore *store, DWORD access)
    {
        if (store->index_file != INVALID_HANDLE_VALUE) {
            handle_ = store->index_file;
            return;
        }
        if (!store->index_path) {
            SetLastError(ERROR_INVALID_PARAMETER);
            return;
        }
        DWORD share = access == GENERIC_READ ? FILE_SHARE_READ : 0;
        owned_.reset(CreateFileW(store->index_path, access, share, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                 nullptr));
        handle_ = owned_.get();
    }
    HANDLE get() const { return handle_; }
    bool valid() const { return handle_ != INVALID_HANDLE_VALUE; }

private:
    ScopedFile owned_;
    HANDLE handle_ = INVALID_HANDLE_VALUE;
};

void BuildHeader(const GroupStore *store, const char *status, IndexHeader *header)
{
    memset(header, 0, sizeof *header);
    header->version = kIndexVersion;
    header->last_fetched = store->last_fetched;
    header->server_last = store->server_last;
    header->reserved = store->reserved;
    header->record_count = store->record_count;
    header->saved_position = store->saved_position;
    memcpy(header->status_text, status, FieldCutLength(status, kStatusTextSize - 1));
    header->unread_count = store->unread_count;
    header->high_count = store->high_count;
    header->low_count = store->low_count;
}

/* Matches the subject line's text after "Subject: " (its CR LF included)
 * against the filter; an article without a subject line matches the empty
 * text. With `log`, the line is read from the log where the block says it
 * stands. */
int MatchSubject(const HeaderBlock *block, DWORD start, const KeywordFilter *filter, HANDLE log, int *priority)
{
    *priority = kPriorityNormal;
    if (!filter->high && !filter->low)
        return 1;
    if (block->subject_line == kNoHeaderLine) {
        *priority = MatchKeywordFilter(filter, "");
        return 1;
    }
    DWORD length = block->subject_length;
    char small[1024];
    char *line = length < sizeof small ? small : (char *)malloc((size_t)length + 1);
    if (!line) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    if (log == INVALID_HANDLE_VALUE) {
        memcpy(line, block->buffer + block->subject_line, length);
        line[length] = '\0';
    } else {
        DWORD position, got = 0;
        if (!FilePosition(log, &position) || !ReadBytesAt(log, start + block->subject_line, line, length, &got) ||
            !SeekFile(log, position)) {
            DWORD error = GetLastError();
            if (line != small)
                free(line);
            SetLastError(error);
            return 0;
        }
        line[got] = '\0';
    }
    *priority = MatchKeywordFilter(filter, strlen(line) > 9 ? line + 9 : "");
    if (line != small)
        free(line);
    return 1;
}

/* Raises the store's header counts by one record. */
void CountStoreRecord(GroupStore *store, const IndexRecord *record)
{
    RecordCounts counts = {store->record_count, store->unread_count, store->high_count, store->low_count};
    CountRecord(&counts, record);
    store->record_count = counts.records;
    store->unread_count = counts.unread;
    store->high_count = counts.high;
    store->low_count = counts.low;
}

} // namespace

void CountRecord(RecordCounts *counts, const IndexRecord *record)
{
    counts->records++;
    if (!(record->flags & kRecordRead))
        counts->unread++;
    DWORD priority = RecordPriority(record);
    if (priority == kPriorityHigh)
        counts->high++;
    else if (priority == kPriorityLow)
        counts->low++;
}

int IndexReadHeader(GroupStore *store)
{
    if (!store->index_path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    GroupStoreReset(store);
    ScopedFile file(OpenForReading(store->index_path));
    if (!file.valid())
        return 0;
    IndexHeader header;
    DWORD got = 0;
    if (!ReadBytes(file.get(), &header, sizeof header, &got))
        return 0;
    if (got < sizeof header || header.version != kIndexVersion) {
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
    char status[kStatusTextSize + 1];
    memcpy(status, header.status_text, kStatusTextSize);
    status[kStatusTextSize] = '\0';
    if (status[0]) {
        store->status_text = ToWide(status);
        if (!store->status_text)
            return 0;
    }
    store->last_fetched = header.last_fetched;
    store->server_last = header.server_last;
    store->reserved = header.reserved;
    store->record_count = header.record_count;
    store->saved_position = header.saved_position;
    store->unread_count = header.unread_count;
    store->high_count = header.high_count;
    store->low_count = header.low_count;
    return 1;
}

int IndexWriteHeader(GroupStore *store, HANDLE file)
{
    char *status = ToNarrow(GroupStoreStatusText(store));
    if (!status)
        return 0;
    IndexHeader header;
    BuildHeader(store, status, &header);
    free(status);

    if (file == INVALID_HANDLE_VALUE)
        file = store->index_file;
    if (file != INVALID_HANDLE_VALUE)
        return SeekFile(file, 0) && WriteBytes(file, &header, sizeof header);
    if (!store->index_path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    ScopedFile own(CreateFileW(store->index_path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                               nullptr));
    if (!own.valid())
        return 0;
    return WriteBytes(own.get(), &header, sizeof header);
}

int IndexReadRecords(GroupStore *store, IndexRecord *buffer, DWORD first, DWORD *count)
{
    if (first >= store->record_count) {
        *count = 0;
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    DWORD wanted = *count;
    if (wanted > store->record_count - first)
        wanted = store->record_count - first;
    *count = 0;
    IndexHandle file(store, GENERIC_READ);
    if (!file.valid())
        return 0;
    DWORD got = 0;
    if (!ReadBytesAt(file.get(), IndexRecordOffset(first), buffer, wanted * kIndexRecordSize, &got))
        return 0;
    *count = got / kIndexRecordSize;
    return 1;
}

int IndexWriteRecord(GroupStore *store, const IndexRecord *record, DWORD number)
{
    IndexHandle file(store, GENERIC_READ | GENERIC_WRITE);
    if (!file.valid())
        return 0;
    if (number != 0xFFFFFFFFu && !SeekFile(file.get(), IndexRecordOffset(number)))
        return 0;
    return WriteBytes(file.get(), record, sizeof *record);
}

int IndexFillRecord(IndexRecord *record, DWORD start, DWORD end, const HeaderBlock *block,
                    const KeywordFilter *filter, HANDLE log)
{
    int priority;
    if (!MatchSubject(block, start, filter, log, &priority))
        return 0;
    memset(record, 0, sizeof *record);
    record->flags = (DWORD)priority << kRecordPriorityShift;
    record->article_number = block->sequence;
    record->log_offset = start;
    record->log_length = end - start;
    const char *buffer = block->buffer;
    SubjectField(block->subject_line == kNoHeaderLine ? nullptr : buffer + block->subject_line + 9, record->subject);
    DateField(block->date_line == kNoHeaderLine ? nullptr : buffer + block->date_line, record->date);
    FromField(block->from_line == kNoHeaderLine ? nullptr : buffer + block->from_line, record->from);
    if (block->subject_line == kNoHeaderLine) {
        record->subject_text_offset = start;
        record->subject_text_length = 0;
    } else {
        record->subject_text_offset = start + block->subject_line + 9;
        record->subject_text_length = block->subject_length >= 11 ? block->subject_length - 11 : 0;
    }
    return 1;
}

int IndexAppend(GroupStore *store, DWORD start, DWORD end, const HeaderBlock *block, const KeywordFilter *filter)
{
    IndexRecord record;
    if (!IndexFillRecord(&record, start, end, block, filter, INVALID_HANDLE_VALUE) ||
        !IndexWriteRecord(store, &record, store->record_count))
        return 0;
    CountStoreRecord(store, &record);
    return 1;
}

int IndexCutLogTail(GroupStore *store)
{
    DWORD end = 0;
    if (store->record_count > 0) {
        IndexRecord last;
        DWORD one = 1;
        if (!IndexReadRecords(store, &last, store->record_count - 1, &one))
            return 0;
        if (one != 1) {
            SetLastError(ERROR_HANDLE_EOF);
            return 0;
        }
        end = last.log_offset + last.log_length;
    }
    DWORD high = 0, size = GetFileSize(store->log_file, &high);
    if (size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
        return 0;
    if ((high || size > end) && (!SeekFile(store->log_file, end) || !SetEndOfFile(store->log_file)))
        return 0;
    return SeekFile(store->index_file, IndexRecordOffset(store->record_count)) && SetEndOfFile(store->index_file);
}

/* Records written at once by a rebuild: a few writes for a large group. */
const DWORD kRebuildBatch = 8192;

int IndexRebuild(GroupStore *store)
{
    if (!GroupStoreOpenIndex(store))
        return 0;
    HANDLE index = store->index_file;
    ScopedFile log(OpenForReading(store->log_path));
    if (!log.valid() && GetLastError() != ERROR_FILE_NOT_FOUND) {
        GroupStoreCloseIndex(store);
        return 0;
    }
    KeywordFilter filter;
    KeywordFilterInit(&filter);
    if (!LoadKeywordFilter(&filter, store->filter_path)) {
        ClearKeywordFilter(&filter); /* a load cut short keeps what it read */
        GroupStoreCloseIndex(store);
        return 0;
    }
    store->record_count = 0;
    store->saved_position = 0;
    store->unread_count = 0;
    store->high_count = 0;
    store->low_count = 0;

    /* The log's highest article number: a lost index's last fetched was at
     * least that, so a rebuild never has those articles fetched again. */
    DWORD highest_number = 0;
    int ok = SeekFile(index, kIndexHeaderSize);
    DWORD error = NO_ERROR;
    IndexRecord *batch = (IndexRecord *)malloc(kRebuildBatch * sizeof(IndexRecord));
    if (ok && !batch) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        ok = 0;
    }
    if (ok && log.valid()) {
        LogScanner scanner;
        HeaderBlock block;
        HeaderBlockInit(&block);
        ok = LogScannerInit(&scanner, log.get());
        DWORD pending = 0;
        while (ok) {
            DWORD start, end;
            int scanned = LogScanArticle(&scanner, &block, &start, &end);
            if (scanned && block.sequence != kNoHeaderLine && block.sequence > highest_number)
                highest_number = block.sequence;
            if (scanned) {
                /* A head with continuation lines is longer in the log than
                 * in the block: its subject line is read from the log. */
                ok = IndexFillRecord(&batch[pending], start, end, &block, &filter,
                                     block.joined ? log.get() : INVALID_HANDLE_VALUE);
                if (ok)
                    pending++;
            } else if (GetLastError() != ERROR_HANDLE_EOF) {
                ok = 0;
            }
            if (pending && (!scanned || !ok || pending == kRebuildBatch)) {
                DWORD kept = GetLastError();
                if (!WriteBytes(index, batch, pending * kIndexRecordSize)) {
                    ok = 0;
                    break;
                }
                for (DWORD i = 0; i < pending; i++)
                    CountStoreRecord(store, &batch[i]);
                pending = 0;
                SetLastError(kept);
            }
            if (!scanned)
                break;
        }
        LogScannerFree(&scanner);
        HeaderBlockFree(&block);
    }
    if (!ok)
        error = GetLastError();
    else if (store->last_fetched != kCaughtUpOnServer && highest_number > store->last_fetched)
        store->last_fetched = highest_number;
    free(batch);
    ClearKeywordFilter(&filter);
    /* Nothing stays after the last record (an old, longer index). */
    if ((!SeekFile(index, IndexRecordOffset(store->record_count)) || !SetEndOfFile(index)) && ok) {
        ok = 0;
        error = GetLastError();
    }
    log.Close();
    GroupStoreCloseIndex(store);
    if (!IndexWriteHeader(store, INVALID_HANDLE_VALUE) && ok) {
        ok = 0;
        error = GetLastError();
    }
    if (!ok)
        SetLastError(error);
    return ok;
}

int IndexRefilter(GroupStore *store)
{
    KeywordFilter filter;
    KeywordFilterInit(&filter);
    if (!LoadKeywordFilter(&filter, store->filter_path)) {
        ClearKeywordFilter(&filter);
        return 0;
    }
    IndexHandle index(store, GENERIC_READ | GENERIC_WRITE);
    if (!index.valid()) {
        ClearKeywordFilter(&filter);
        return 0;
    }
    int ok = 1;
    ScopedFile log;
    if (store->record_count > 0) {
        log.reset(OpenForReading(store->log_path));
        ok = log.valid();
    }
    DWORD high = 0, low = 0;
    for (DWORD number = 0; ok && number < store->record_count; number++) {
        IndexRecord record;
        DWORD got = 0;
        if (!ReadBytesAt(index.get(), IndexRecordOffset(number), &record, sizeof record, &got) ||
            got < sizeof record) {
            if (got < sizeof record)
                SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
            break;
        }
        char *subject = ReadLogBytes(log.get(), record.subject_text_offset, record.subject_text_length, 0);
        if (!subject) {
            ok = 0;
            break;
        }
        DWORD priority = (DWORD)MatchKeywordFilter(&filter, subject);
        free(subject);
        if (priority == kPriorityHigh)
            high++;
        else if (priority == kPriorityLow)
            low++;
        if (priority != RecordPriority(&record)) {
            record.flags = (record.flags & ~kRecordPriorityMask) | (priority << kRecordPriorityShift);
            if (!SeekFile(index.get(), IndexRecordOffset(number)) || !WriteBytes(index.get(), &record, sizeof record))
                ok = 0;
        }
    }
    DWORD error = GetLastError();
    ClearKeywordFilter(&filter);
    store->high_count = high;
    store->low_count = low;
    if (!IndexWriteHeader(store, index.get()) && ok)
        return 0;
    if (!ok)
        SetLastError(error);
    return ok;
}

int IndexMarkAllRead(GroupStore *store)
{
    if (!IndexReadHeader(store) || !GroupStoreOpenIndex(store))
        return 0;
    HANDLE index = store->index_file;
    /* Record by record, so that a failure leaves every record before it
     * read and the header's count says how far the marking got. */
    int ok = SeekFile(index, kIndexHeaderSize);
    for (DWORD number = 0; ok && number < store->record_count; number++) {
        IndexRecord record;
        DWORD got = 0;
        if (!ReadBytes(index, &record, sizeof record, &got) || got < sizeof record) {
            if (got < sizeof record)
                SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
            break;
        }
        record.flags |= kRecordRead;
        if (!SeekFile(index, IndexRecordOffset(number)) || !WriteBytes(index, &record, sizeof record)) {
            ok = 0;
            break;
        }
        if (store->unread_count > 0)
            store->unread_count--;
    }
    DWORD error = GetLastError();
    if (ok)
        store->unread_count = 0;
    int written = IndexWriteHeader(store, index);
    if (!written && ok)
        error = GetLastError();
    GroupStoreCloseIndex(store);
    SetLastError(error);
    return ok && written;
}

int IndexProbeVersion(GroupStore *store, DWORD *version)
{
    if (!store->index_path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    ScopedFile file(CreateFileW(store->index_path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid())
        return 0;
    DWORD word = 0, got = 0;
    if (!ReadBytes(file.get(), &word, sizeof word, &got))
        return 0;
    if (got < sizeof word) {
        SetLastError(ERROR_INVALID_DATA);
        return 0;
    }
    *version = word > 500 ? 1 : word;
    return 1;
}
