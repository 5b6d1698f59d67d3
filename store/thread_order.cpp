#include "thread_order.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/scoped_win.h"
#include "store/file_io.h"

namespace {

const char kMagic[4] = {'P', 'T', 'H', 'R'};
enum : DWORD {
    kThreadFileVersion = 1,
    kRecordBatch = 512,
    kLogWindow = 1u << 20,  /* the log is read a megabyte at a time */
    kMostHeadBytes = 16384, /* of one article's head, for its three lines */
};

DWORD RecordOffset(DWORD number)
{
    return (DWORD)sizeof(ThreadFileHeader) + (DWORD)sizeof(ThreadFileRecord) * number;
}

/* Heads read through one window on the log: articles come in offset order,
 * so each window serves many of them. */
struct LogWindow {
    HANDLE file;
    char *buffer;
    DWORD start;
    DWORD length;
};

/* Up to `want` bytes at `offset`; *got says how many are there. */
const char *LogBytes(LogWindow *window, DWORD offset, DWORD want, DWORD *got)
{
    if (offset < window->start || offset - window->start + (unsigned long long)want > window->length) {
        DWORD read = 0;
        if (!ReadBytesAt(window->file, offset, window->buffer, kLogWindow, &read))
            return nullptr;
        window->start = offset;
        window->length = read;
    }
    DWORD available = window->length - (offset - window->start);
    *got = want < available ? want : available;
    return window->buffer + (offset - window->start);
}

/* The keys of the article whose head begins at `head`. */
void HeadKeys(const char *head, DWORD length, ThreadKeys *keys)
{
    struct Line {
        const char *name;
        size_t name_length;
        const char *value;
        size_t value_length;
    } lines[3] = {{"Message-ID: ", 12, nullptr, 0}, {"References: ", 12, nullptr, 0}, {"Date: ", 6, nullptr, 0}};
    const char *p = head, *end = head + length;
    while (p < end) {
        const char *lf = (const char *)memchr(p, '\n', (size_t)(end - p));
        const char *stop = lf ? lf : end;
        const char *text_end = stop > p && stop[-1] == '\r' ? stop - 1 : stop;
        if (text_end == p)
            break; /* the empty line after the head */
        for (Line &line : lines)
            if ((size_t)(text_end - p) >= line.name_length && memcmp(p, line.name, line.name_length) == 0) {
                line.value = p + line.name_length;
                line.value_length = (size_t)(text_end - line.value);
            }
        p = lf ? lf + 1 : end;
    }
    MakeThreadKeys(lines[0].value, lines[0].value_length, lines[1].value, lines[1].value_length, lines[2].value,
                   lines[2].value_length, keys);
}

/* How many leading thread records name the same articles as the index. */
int AgreeingRecords(HANDLE thread_file, HANDLE index, DWORD count, DWORD *agreeing)
{
    *agreeing = 0;
    IndexRecord *records = (IndexRecord *)malloc(kRecordBatch * sizeof(IndexRecord));
    ThreadFileRecord *threads = (ThreadFileRecord *)malloc(kRecordBatch * sizeof(ThreadFileRecord));
    int ok = records && threads;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    for (DWORD done = 0; ok && done < count;) {
        DWORD wanted = count - done < kRecordBatch ? count - done : kRecordBatch, got_index = 0, got_threads = 0;
        ok = ReadBytesAt(index, IndexRecordOffset(done), records, wanted * kIndexRecordSize, &got_index) &&
             ReadBytesAt(thread_file, RecordOffset(done), threads, wanted * (DWORD)sizeof(ThreadFileRecord),
                         &got_threads);
        DWORD whole = got_index / kIndexRecordSize;
        if (got_threads / sizeof(ThreadFileRecord) < whole)
            whole = got_threads / (DWORD)sizeof(ThreadFileRecord);
        DWORD i = 0;
        while (ok && i < whole && records[i].article_number == threads[i].article_number &&
               records[i].log_offset == threads[i].log_offset)
            i++;
        *agreeing = done + i;
        if (i < wanted)
            break;
        done += wanted;
    }
    free(records);
    free(threads);
    return ok;
}

/* Makes the thread records of index records [from, count) from the log
 * and writes them in place. */
int MakeRecords(const GroupStore *store, HANDLE thread_file, HANDLE index, DWORD from, DWORD count)
{
    ScopedFile log(OpenForReading(store->log_path));
    if (!log.valid())
        return 0;
    IndexRecord *records = (IndexRecord *)malloc(kRecordBatch * sizeof(IndexRecord));
    ThreadFileRecord *threads = (ThreadFileRecord *)malloc(kRecordBatch * sizeof(ThreadFileRecord));
    LogWindow window = {log.get(), (char *)malloc(kLogWindow), 0, 0};
    int ok = records && threads && window.buffer;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    for (DWORD done = from; ok && done < count;) {
        DWORD wanted = count - done < kRecordBatch ? count - done : kRecordBatch, got = 0;
        ok = ReadBytesAt(index, IndexRecordOffset(done), records, wanted * kIndexRecordSize, &got);
        if (ok && got < wanted * kIndexRecordSize) {
            SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
        }
        for (DWORD i = 0; ok && i < wanted; i++) {
            const IndexRecord &record = records[i];
            DWORD want = record.log_length < kMostHeadBytes ? record.log_length : kMostHeadBytes, head_length = 0;
            const char *head = LogBytes(&window, record.log_offset, want, &head_length);
            ok = head != nullptr;
            ThreadKeys keys = {0, 0, 0, 0};
            if (ok)
                HeadKeys(head, head_length, &keys);
            threads[i] = {record.article_number, record.log_offset, keys.id, keys.parent, keys.root, keys.date, 0};
        }
        ok = ok && SeekFile(thread_file, RecordOffset(done)) &&
             WriteBytes(thread_file, threads, wanted * (DWORD)sizeof(ThreadFileRecord));
        done += wanted;
    }
    free(records);
    free(threads);
    free(window.buffer);
    return ok;
}

int WriteHeader(HANDLE file, DWORD count)
{
    ThreadFileHeader header = {{kMagic[0], kMagic[1], kMagic[2], kMagic[3]}, kThreadFileVersion, count, 0};
    return SeekFile(file, 0) && WriteBytes(file, &header, sizeof header);
}

} // namespace

wchar_t *ThreadFilePath(const GroupStore *store)
{
    size_t length = wcslen(store->index_path);
    wchar_t *path = (wchar_t *)malloc((length + 1) * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    wcscpy(path, store->index_path);
    if (length >= 4)
        wcscpy(path + length - 4, L".thr");
    return path;
}

int RefreshThreadFile(const GroupStore *store, DWORD *made)
{
    if (made)
        *made = 0;
    wchar_t *path = ThreadFilePath(store);
    if (!path)
        return 0;
    ScopedFile file(CreateFileW(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    free(path);
    ScopedFile index(OpenForReading(store->index_path));
    if (!file.valid() || !index.valid())
        return 0;
    DWORD count = store->record_count;
    /* A file of another kind, or whose size does not match its count, is
     * made again from the start. */
    ThreadFileHeader header = {};
    DWORD got = 0, size = GetFileSize(file.get(), nullptr);
    if (!ReadBytesAt(file.get(), 0, &header, sizeof header, &got))
        return 0;
    DWORD held = 0;
    if (got == sizeof header && memcmp(header.magic, kMagic, 4) == 0 && header.version == kThreadFileVersion &&
        size == RecordOffset(header.record_count))
        held = header.record_count;
    DWORD agreeing = 0;
    if (!AgreeingRecords(file.get(), index.get(), held < count ? held : count, &agreeing))
        return 0;
    if (agreeing == count && held == count)
        return 1;
    /* The header first counts only what is known good, so that a write cut
     * short leaves nothing to be trusted past it. */
    int ok = WriteHeader(file.get(), agreeing) && MakeRecords(store, file.get(), index.get(), agreeing, count) &&
             SeekFile(file.get(), RecordOffset(count)) && SetEndOfFile(file.get()) && WriteHeader(file.get(), count);
    if (ok && made)
        *made = count - agreeing;
    return ok;
}

int ThreadOrder(const RowOrderInput *input, DWORD *rows, unsigned char *depths)
{
    if (!RefreshThreadFile(input->store, nullptr))
        return 0;
    wchar_t *path = ThreadFilePath(input->store);
    if (!path)
        return 0;
    ScopedFile file(OpenForReading(path));
    free(path);
    if (!file.valid())
        return 0;
    DWORD count = input->count;
    ThreadKeys *keys = (ThreadKeys *)malloc(((size_t)count + 1) * sizeof(ThreadKeys));
    uint32_t *order = (uint32_t *)malloc(((size_t)count + 1) * sizeof(uint32_t));
    ThreadFileRecord *batch = (ThreadFileRecord *)malloc(kRecordBatch * sizeof(ThreadFileRecord));
    int ok = keys && order && batch;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    /* The numbers come in index order: the file is read once, a batch at a
     * time, and each visible record's keys picked from it. */
    DWORD batch_first = 0, batch_count = 0;
    for (DWORD i = 0; ok && i < count; i++) {
        DWORD number = input->numbers[i];
        if (number < batch_first || number >= batch_first + batch_count) {
            DWORD got = 0;
            batch_first = number;
            ok = ReadBytesAt(file.get(), RecordOffset(number), batch, kRecordBatch * (DWORD)sizeof(ThreadFileRecord),
                             &got);
            batch_count = got / (DWORD)sizeof(ThreadFileRecord);
            if (ok && batch_count == 0) {
                SetLastError(ERROR_HANDLE_EOF);
                ok = 0;
            }
        }
        if (ok) {
            const ThreadFileRecord &record = batch[number - batch_first];
            keys[i] = {record.id, record.parent, record.root, record.date};
        }
    }
    if (ok)
        ok = OrderThreads(keys, input->runs, count, order, depths, kMostRowDepth, kRowStartsThread);
    for (DWORD i = 0; ok && i < count; i++)
        rows[i] = input->numbers[order[i]];
    free(keys);
    free(order);
    free(batch);
    return ok;
}
