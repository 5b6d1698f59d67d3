#include "article_search.h"

#include <stdlib.h>
#include <string.h>

#include "base/line_scan.h"
#include "store/file_io.h"
#include "store/group_store.h"
#include "store/log_window.h"

namespace {

const DWORD kDefaultBlock = 1024 * 1024;
const DWORD kRecordBatch = 2048;
const DWORD kSeparatorLength = 18; /* sixteen '=' and CR LF */

struct Searcher {
    const GroupSearch *search;
    HANDLE log;        /* INVALID_HANDLE_VALUE: none */
    DWORD log_size;
    LogWindow window;  /* window.block null: the log is not read */
    char *subject;     /* a long subject read from the log */
    DWORD subject_capacity;
    bool stopped;
};

bool Stopped(Searcher *s)
{
    if (!s->stopped && JobCancelRequested(s->search->cancel))
        s->stopped = true;
    return s->stopped;
}

void Report(Searcher *s, DWORD number, const IndexRecord *record)
{
    SearchHit hit;
    hit.record_number = number;
    hit.record = *record;
    if (!s->search->hit(s->search->context, &hit))
        s->stopped = true;
}

bool Found(const Searcher *s, const char *text, size_t length)
{
    size_t matched;
    return TextPatternFind(s->search->pattern, text, text + length, &matched) != nullptr;
}

/* The record's own fields: its subject (whole or cut) and sender name. */
bool RecordMatches(const Searcher *s, const IndexRecord *r, unsigned fields)
{
    if ((fields & kSearchSubject) && r->subject_text_length > 0 &&
        Found(s, r->subject, strnlen(r->subject, sizeof r->subject)))
        return true;
    return (fields & kSearchSender) && Found(s, r->from, strnlen(r->from, sizeof r->from));
}

/* A subject longer than its record keeps, read from the log. */
bool LongSubjectMatches(Searcher *s, const IndexRecord *r)
{
    if (r->subject_text_length <= strnlen(r->subject, sizeof r->subject) || s->log == INVALID_HANDLE_VALUE)
        return false;
    DWORD length = r->subject_text_length;
    if (length > s->subject_capacity) {
        char *bigger = (char *)realloc(s->subject, length);
        if (!bigger)
            return false;
        s->subject = bigger;
        s->subject_capacity = length;
    }
    DWORD got;
    if (!ReadBytesAt(s->log, r->subject_text_offset, s->subject, length, &got))
        return false;
    return Found(s, s->subject, got);
}

/* The parts of an article that can be searched: the subject text, the
 * sender (the From line after its name) and the body, as offsets into the
 * article. */
struct ArticleParts {
    DWORD subject_start, subject_end;
    DWORD from_start, from_end;
    DWORD body_start, body_end;
};

void FindParts(const char *article, const IndexRecord *r, ArticleParts *parts)
{
    DWORD length = r->log_length;
    parts->subject_start = parts->subject_end = 0;
    if (r->subject_text_length > 0 && r->subject_text_offset >= r->log_offset &&
        r->subject_text_offset - r->log_offset + r->subject_text_length <= length) {
        parts->subject_start = r->subject_text_offset - r->log_offset;
        parts->subject_end = parts->subject_start + r->subject_text_length;
    }
    parts->from_start = parts->from_end = 0;
    parts->body_start = parts->body_end = length;
    for (DWORD line = 0; line < length;) {
        const char *lf = FindLf(article + line, article + length);
        DWORD next = lf ? (DWORD)(lf - article) + 1 : length;
        if (next - line == 2 && article[line] == '\r') { /* the blank line */
            parts->body_start = next;
            parts->body_end = length >= next + kSeparatorLength ? length - kSeparatorLength : next;
            break;
        }
        if (next - line >= 5 && memcmp(article + line, "From:", 5) == 0) {
            DWORD start = line + 5;
            while (start < next && (article[start] == ' ' || article[start] == '\t'))
                start++;
            parts->from_start = start;
            parts->from_end = next;
        }
        line = next;
    }
}

bool Within(DWORD start, DWORD end, DWORD from, DWORD to)
{
    return start >= from && end <= to && from < to;
}

/* Articles run[0..count) lie one after another in the window: their
 * chosen parts are searched, the bodies in one pass over the window. */
void SearchRun(Searcher *s, const IndexRecord *run, DWORD first_number, DWORD count)
{
    const unsigned fields = s->search->fields;
    const TextPattern *pattern = s->search->pattern;
    const char *base = s->window.block - s->window.start; /* log offset to pointer */
    if (!(fields & kSearchBody)) {
        for (DWORD i = 0; i < count && !Stopped(s); i++) {
            const IndexRecord *r = &run[i];
            const char *article = base + r->log_offset;
            ArticleParts parts;
            FindParts(article, r, &parts);
            if (((fields & kSearchSubject) &&
                 Found(s, article + parts.subject_start, parts.subject_end - parts.subject_start)) ||
                ((fields & kSearchSender) && Found(s, article + parts.from_start, parts.from_end - parts.from_start)))
                Report(s, first_number + i, r);
        }
        return;
    }
    const char *p = base + run[0].log_offset;
    const char *end = base + run[count - 1].log_offset + run[count - 1].log_length;
    DWORD i = 0;
    size_t length;
    while (i < count && !Stopped(s)) {
        const char *hit = TextPatternFind(pattern, p, end, &length);
        if (!hit)
            break;
        DWORD at = (DWORD)(hit - base);
        while (i < count && run[i].log_offset + run[i].log_length <= at)
            i++;
        if (i == count || at < run[i].log_offset) { /* between articles */
            p = hit + length;
            continue;
        }
        const IndexRecord *r = &run[i];
        ArticleParts parts;
        FindParts(base + r->log_offset, r, &parts);
        DWORD start = at - r->log_offset, stop = start + (DWORD)length;
        bool counts = Within(start, stop, parts.body_start, parts.body_end) ||
                      ((fields & kSearchSubject) && Within(start, stop, parts.subject_start, parts.subject_end)) ||
                      ((fields & kSearchSender) && Within(start, stop, parts.from_start, parts.from_end));
        if (counts) {
            Report(s, first_number + i, r);
            p = base + r->log_offset + r->log_length;
            i++;
        } else if (start < parts.body_start && !(fields & (kSearchSubject | kSearchSender))) {
            p = base + r->log_offset + parts.body_start; /* the head is not searched */
        } else {
            p = hit + length;
        }
    }
}

} // namespace

int SearchGroup(const GroupSearch *search, const wchar_t *data_folder, const wchar_t *group)
{
    GroupStore store;
    GroupStoreInit(&store);
    IndexRecord *records = nullptr;
    HANDLE index = INVALID_HANDLE_VALUE;
    Searcher s = {};
    s.search = search;
    s.log = INVALID_HANDLE_VALUE;
    int ok = 0;
    if (!GroupStoreSetNames(&store, data_folder, group) || !IndexReadHeader(&store))
        goto done;
    records = (IndexRecord *)malloc(kRecordBatch * sizeof(IndexRecord));
    if (!records) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        goto done;
    }
    index = OpenForReading(store.index_path);
    if (index == INVALID_HANDLE_VALUE || !SeekFile(index, kIndexHeaderSize))
        goto done;
    s.log = OpenForReading(store.log_path);
    if (s.log != INVALID_HANDLE_VALUE) {
        s.log_size = GetFileSize(s.log, nullptr);
        if (s.log_size == INVALID_FILE_SIZE)
            s.log_size = 0;
    }
    if (search->fields & (kSearchSender | kSearchBody)) {
        if (s.log != INVALID_HANDLE_VALUE &&
            !LogWindowInit(&s.window, s.log, search->block_size ? search->block_size : kDefaultBlock))
            goto done;
    }
    for (DWORD first = 0; first < store.record_count && !Stopped(&s);) {
        DWORD count = store.record_count - first < kRecordBatch ? store.record_count - first : kRecordBatch;
        DWORD got;
        if (!ReadBytes(index, records, count * kIndexRecordSize, &got))
            goto done;
        count = got / kIndexRecordSize;
        if (count == 0)
            break;
        for (DWORD i = 0; i < count && !Stopped(&s);) {
            const IndexRecord *r = &records[i];
            bool whole = s.log != INVALID_HANDLE_VALUE && r->log_offset <= s.log_size &&
                         r->log_length <= s.log_size - r->log_offset;
            if (!s.window.block) { /* subjects alone, or no log: the records, a long subject from the log */
                if (RecordMatches(&s, r, search->fields) ||
                    ((search->fields & kSearchSubject) && whole && LongSubjectMatches(&s, r)))
                    Report(&s, first + i, r);
                i++;
                continue;
            }
            DWORD held = 0;
            if (!whole || !LogWindowRead(&s.window, r->log_offset, r->log_length, &held) || held < r->log_length) {
                if (RecordMatches(&s, r, search->fields))
                    Report(&s, first + i, r);
                i++;
                continue;
            }
            /* Every following article the window holds, in log order. */
            DWORD j = i + 1;
            while (j < count && records[j].log_offset >= records[j - 1].log_offset + records[j - 1].log_length &&
                   LogWindowHolds(&s.window, records[j].log_offset, records[j].log_length))
                j++;
            SearchRun(&s, records + i, first + i, j - i);
            i = j;
        }
        first += count;
        if (search->progress)
            search->progress(search->context, first, store.record_count);
    }
    ok = 1;
done:
    DWORD error = GetLastError();
    LogWindowFree(&s.window);
    free(s.subject);
    free(records);
    if (s.log != INVALID_HANDLE_VALUE)
        CloseHandle(s.log);
    if (index != INVALID_HANDLE_VALUE)
        CloseHandle(index);
    GroupStoreRelease(&store);
    SetLastError(error);
    return ok;
}

int MarkHitRead(const wchar_t *data_folder, const wchar_t *group, const SearchHit *hit, DWORD *unread)
{
    GroupStore store;
    GroupStoreInit(&store);
    IndexRecord record;
    DWORD count = 1;
    int ok = GroupStoreSetNames(&store, data_folder, group) && IndexReadHeader(&store) &&
             GroupStoreOpenIndex(&store) && IndexReadRecords(&store, &record, hit->record_number, &count);
    if (ok && (count != 1 || record.log_offset != hit->record.log_offset ||
               record.article_number != hit->record.article_number)) {
        SetLastError(ERROR_INVALID_DATA);
        ok = 0;
    }
    if (ok && !(record.flags & kRecordRead)) {
        record.flags |= kRecordRead;
        if (store.unread_count > 0)
            store.unread_count--;
        ok = IndexWriteRecord(&store, &record, hit->record_number) && IndexWriteHeader(&store, INVALID_HANDLE_VALUE);
    }
    *unread = store.unread_count;
    DWORD error = GetLastError();
    GroupStoreRelease(&store);
    SetLastError(error);
    return ok;
}
