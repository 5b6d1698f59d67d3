#include "thread_order.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/scoped_win.h"
#include "store/file_io.h"
#include "store/log_window.h"

namespace {

const char kMagic[4] = {'P', 'T', 'H', 'R'};
enum : DWORD {
    kThreadFileVersion = 1,
    kRecordBatch = 512,
    kKeyBatch = 4096,       /* records read at once when the keys are taken */
    kLogWindow = 1u << 20,  /* the log is read a megabyte at a time */
    kMostHeadBytes = 16384, /* of one article's head, for its three lines */
};

DWORD RecordOffset(DWORD number)
{
    return (DWORD)sizeof(ThreadFileHeader) + (DWORD)sizeof(ThreadFileRecord) * number;
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

/* What a pass over the held records found. */
struct Agreement {
    DWORD agreeing;                /* leading records that name the index's articles */
    unsigned long long held_sum;   /* ThreadRecordSum of every held record */
    unsigned long long prefix_sum; /* ...of the agreeing ones */
    unsigned long long index_mark; /* IndexRecordMark of the agreeing index records */
};

/* Reads the `held` records of the thread file and the index's first
 * `count` beside them. */
int Agree(HANDLE thread_file, HANDLE index, DWORD held, DWORD count, Agreement *agreement)
{
    *agreement = {0, 0, 0, 0};
    IndexRecord *records = (IndexRecord *)malloc(kRecordBatch * sizeof(IndexRecord));
    ThreadFileRecord *threads = (ThreadFileRecord *)malloc(kRecordBatch * sizeof(ThreadFileRecord));
    int ok = records && threads;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    bool agreeing = true;
    for (DWORD done = 0; ok && done < held;) {
        DWORD wanted = held - done < kRecordBatch ? held - done : kRecordBatch, got = 0;
        ok = ReadBytesAt(thread_file, RecordOffset(done), threads, wanted * (DWORD)sizeof(ThreadFileRecord), &got);
        if (ok && got < wanted * sizeof(ThreadFileRecord)) {
            SetLastError(ERROR_HANDLE_EOF);
            ok = 0;
        }
        DWORD compared = 0;
        if (ok && agreeing && done < count) {
            compared = count - done < wanted ? count - done : wanted;
            ok = ReadBytesAt(index, IndexRecordOffset(done), records, compared * kIndexRecordSize, &got);
            if (ok && got < compared * kIndexRecordSize) {
                SetLastError(ERROR_HANDLE_EOF);
                ok = 0;
            }
        }
        for (DWORD i = 0; ok && i < wanted; i++) {
            unsigned long long sum = ThreadRecordSum(done + i, &threads[i]);
            agreement->held_sum += sum;
            agreeing = agreeing && i < compared && records[i].article_number == threads[i].article_number &&
                       records[i].log_offset == threads[i].log_offset;
            if (agreeing) {
                agreement->agreeing++;
                agreement->prefix_sum += sum;
                agreement->index_mark += IndexRecordMark(done + i, &records[i]);
            }
        }
        done += wanted;
    }
    free(records);
    free(threads);
    return ok;
}

/* Makes the thread records of index records [from, count) from the log
 * and writes them in place. */
int MakeRecords(const GroupStore *store, HANDLE thread_file, HANDLE index, DWORD from, DWORD count,
                unsigned long long *records_sum, unsigned long long *index_mark)
{
    ScopedFile log(OpenForReading(store->log_path));
    if (!log.valid())
        return 0;
    IndexRecord *records = (IndexRecord *)malloc(kRecordBatch * sizeof(IndexRecord));
    ThreadFileRecord *threads = (ThreadFileRecord *)malloc(kRecordBatch * sizeof(ThreadFileRecord));
    LogWindow window;
    int ok = LogWindowInit(&window, log.get(), kLogWindow) && records && threads;
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
            const char *head = LogWindowRead(&window, record.log_offset, want, &head_length);
            ok = head != nullptr;
            ThreadKeys keys = {0, 0, 0, 0};
            if (ok)
                HeadKeys(head, head_length, &keys);
            threads[i] = {record.article_number, record.log_offset, keys.id, keys.parent, keys.root, keys.date, 0};
            *records_sum += ThreadRecordSum(done + i, &threads[i]);
            *index_mark += IndexRecordMark(done + i, &record);
        }
        ok = ok && SeekFile(thread_file, RecordOffset(done)) &&
             WriteBytes(thread_file, threads, wanted * (DWORD)sizeof(ThreadFileRecord));
        done += wanted;
    }
    free(records);
    free(threads);
    LogWindowFree(&window);
    return ok;
}

int WriteHeader(HANDLE file, DWORD count, unsigned long long index_mark, unsigned long long records_sum)
{
    ThreadFileHeader header = {{kMagic[0], kMagic[1], kMagic[2], kMagic[3]}, kThreadFileVersion, count, 0,
                               index_mark, records_sum};
    return SeekFile(file, 0) && WriteBytes(file, &header, sizeof header);
}

/* The header when it is one of ours and the file's size is what it says. */
bool ReadHeader(HANDLE file, ThreadFileHeader *header)
{
    DWORD got = 0;
    return ReadBytesAt(file, 0, header, sizeof *header, &got) && got == sizeof *header &&
           memcmp(header->magic, kMagic, 4) == 0 && header->version == kThreadFileVersion &&
           GetFileSize(file, nullptr) == RecordOffset(header->record_count);
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

unsigned long long ThreadRecordSum(DWORD number, const ThreadFileRecord *record)
{
    unsigned long long words[5];
    memcpy(words, record, sizeof words);
    unsigned long long x = number * 0x9E3779B97F4A7C15ull;
    for (unsigned long long word : words) {
        x = (x ^ word) * 0xBF58476D1CE4E5B9ull;
        x ^= x >> 31;
    }
    return x;
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
    ThreadFileHeader header;
    DWORD held = ReadHeader(file.get(), &header) ? header.record_count : 0;
    Agreement agreement;
    if (!Agree(file.get(), index.get(), held, count, &agreement))
        return 0;
    /* Records that do not add up to the header's sum were damaged: none of
     * them is kept. */
    if (held > 0 && agreement.held_sum != header.records_sum)
        agreement = {0, 0, 0, 0};
    if (agreement.agreeing == count && held == count && header.index_mark == agreement.index_mark)
        return 1;
    /* The header first counts only what is known good, so that a write cut
     * short leaves nothing to be trusted past it. */
    DWORD from = agreement.agreeing;
    unsigned long long sum = agreement.prefix_sum, mark = agreement.index_mark;
    int ok = WriteHeader(file.get(), from, mark, sum) &&
             MakeRecords(store, file.get(), index.get(), from, count, &sum, &mark) &&
             SeekFile(file.get(), RecordOffset(count)) && SetEndOfFile(file.get()) &&
             WriteHeader(file.get(), count, mark, sum);
    if (ok && made)
        *made = count - from;
    return ok;
}

namespace {

/* Reads the thread file once: the keys of the input's records into `keys`.
 * 1 with *trusted when the file was made for this index and its records
 * add up; 0 on a failure to read. */
int ReadKeys(const RowOrderInput *input, ThreadKeys *keys, bool *trusted)
{
    *trusted = false;
    wchar_t *path = ThreadFilePath(input->store);
    if (!path)
        return 0;
    ScopedFile file(OpenForReading(path));
    free(path);
    ThreadFileHeader header;
    if (!file.valid() || !ReadHeader(file.get(), &header) || header.record_count != input->store->record_count ||
        header.index_mark != input->index_mark)
        return 1;
    ThreadFileRecord *batch = (ThreadFileRecord *)malloc(kKeyBatch * sizeof(ThreadFileRecord));
    if (!batch) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    unsigned long long sum = 0;
    DWORD next = 0; /* the next of the input's records */
    int ok = SeekFile(file.get(), RecordOffset(0));
    for (DWORD done = 0; ok && done < header.record_count;) {
        DWORD wanted = header.record_count - done < kKeyBatch ? header.record_count - done : kKeyBatch, got = 0;
        ok = ReadBytes(file.get(), batch, wanted * (DWORD)sizeof(ThreadFileRecord), &got);
        if (ok && got < wanted * sizeof(ThreadFileRecord))
            break; /* short: not trusted */
        for (DWORD i = 0; ok && i < wanted; i++)
            sum += ThreadRecordSum(done + i, &batch[i]);
        /* The numbers come in index order. */
        while (next < input->count && input->numbers[next] < done + wanted) {
            const ThreadFileRecord &record = batch[input->numbers[next] - done];
            keys[next++] = {record.id, record.parent, record.root, record.date};
        }
        done += wanted;
    }
    free(batch);
    *trusted = ok && next == input->count && sum == header.records_sum;
    return ok;
}

} // namespace

int ThreadOrder(const RowOrderInput *input, DWORD *rows, unsigned char *depths)
{
    DWORD count = input->count;
    ThreadKeys *keys = (ThreadKeys *)malloc(((size_t)count + 1) * sizeof(ThreadKeys));
    uint32_t *order = (uint32_t *)malloc(((size_t)count + 1) * sizeof(uint32_t));
    int ok = keys && order;
    if (!ok)
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    bool trusted = false;
    ok = ok && ReadKeys(input, keys, &trusted);
    if (ok && !trusted)
        ok = RefreshThreadFile(input->store, nullptr) && ReadKeys(input, keys, &trusted);
    if (ok && !trusted) {
        SetLastError(ERROR_FILE_CORRUPT);
        ok = 0;
    }
    if (ok)
        ok = OrderThreads(keys, input->runs, count, order, depths, kMostRowDepth, kRowStartsThread);
    for (DWORD i = 0; ok && i < count; i++)
        rows[i] = input->numbers[order[i]];
    free(keys);
    free(order);
    return ok;
}
