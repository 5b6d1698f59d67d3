#include "compose.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include <initializer_list>

namespace {

/* A growing byte text; `failed` once memory ran out. */
struct Bytes {
    char *data;
    size_t length;
    size_t capacity;
    bool failed;
};

void Put(Bytes *out, const char *bytes, size_t length)
{
    if (out->failed)
        return;
    if (out->length + length + 1 > out->capacity) {
        size_t capacity = (out->length + length + 1) * 2;
        char *grown = (char *)realloc(out->data, capacity);
        if (!grown) {
            out->failed = true;
            return;
        }
        out->data = grown;
        out->capacity = capacity;
    }
    memcpy(out->data + out->length, bytes, length);
    out->length += length;
    out->data[out->length] = '\0';
}

void Put(Bytes *out, const char *text)
{
    Put(out, text, strlen(text));
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/* References: the ids of `references` and then `message_id` (either may be
 * null), one blank between ids; whole ids after the first are dropped
 * until the text fits kReferencesLimit. */
void PutReferences(Bytes *out, const char *references, const char *message_id)
{
    Bytes all = {};
    for (const char *list : {references, message_id}) {
        for (const char *p = list; p && *p;) {
            while (*p && IsBlank(*p))
                p++;
            const char *start = p;
            while (*p && !IsBlank(*p))
                p++;
            if (p > start) {
                if (all.length)
                    Put(&all, " ");
                Put(&all, start, (size_t)(p - start));
            }
        }
    }
    const char *first_end = all.data ? strchr(all.data, ' ') : nullptr;
    if (all.failed) {
        out->failed = true;
    } else if (all.length <= kReferencesLimit || !first_end) {
        /* Short enough, or one id alone: nothing to drop. */
        Put(out, all.data ? all.data : "", all.length);
    } else {
        /* The first id, then the last ids from the first one after it that
         * leaves the whole short enough (at least the last id). */
        size_t first_length = (size_t)(first_end - all.data);
        const char *last = strrchr(all.data, ' ') + 1;
        const char *from = first_end + 1;
        while (from < last && first_length + 1 + (size_t)(all.data + all.length - from) > kReferencesLimit)
            from = strchr(from, ' ') + 1;
        Put(out, all.data, first_length + 1);
        Put(out, from, (size_t)(all.data + all.length - from));
    }
    free(all.data);
}

/* Each line of `body` after "> " (">" alone for an empty one). */
void PutQuoted(Bytes *out, const char *body, size_t length)
{
    const char *end = body + length;
    for (const char *p = body; p < end;) {
        const char *stop = (const char *)memchr(p, '\n', (size_t)(end - p));
        const char *next = stop ? stop + 1 : end;
        if (!stop)
            stop = end;
        if (stop > p && stop[-1] == '\r')
            stop--;
        if (stop == p) {
            Put(out, ">\r\n");
        } else {
            Put(out, "> ");
            Put(out, p, (size_t)(stop - p));
            Put(out, "\r\n");
        }
        p = next;
    }
}

/* The article split as a draft: its header lines (already joined in the
 * log) and its body without the log's separator. */
int ArticleAsDraft(const char *article, size_t length, Draft *source)
{
    static const char kSeparator[] = "================\r\n";
    const size_t separator_length = sizeof kSeparator - 1;
    if (length >= separator_length && memcmp(article + length - separator_length, kSeparator, separator_length) == 0)
        length -= separator_length;
    const char *end = article + length;
    const char *body = end;
    const char *head_end = end;
    for (const char *p = article; p < end;) {
        const char *stop = (const char *)memchr(p, '\n', (size_t)(end - p));
        const char *next = stop ? stop + 1 : end;
        if (p[0] == '\n' || (p[0] == '\r' && p + 1 < end && p[1] == '\n')) {
            head_end = p;
            body = next;
            break;
        }
        p = next;
    }
    DraftInit(source);
    size_t head_length = (size_t)(head_end - article);
    char *head = (char *)malloc(head_length + 1);
    if (!head || !DraftSetBody(source, body, (size_t)(end - body))) {
        free(head);
        DraftFree(source);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    memcpy(head, article, head_length);
    head[head_length] = '\0';
    source->head = head;
    source->head_length = head_length;
    return 1;
}

} // namespace

int NewDraftFor(Draft *draft, const char *newsgroups)
{
    DraftInit(draft);
    if (newsgroups && *newsgroups && !DraftSetHeader(draft, "Newsgroups", newsgroups))
        return 0;
    return DraftSetBody(draft, "", 0);
}

int MakeFollowUp(const char *article, size_t length, const char *group, const char *attribution, Draft *draft)
{
    DraftInit(draft);
    Draft source;
    if (!ArticleAsDraft(article, length, &source))
        return 0;
    char *newsgroups = DraftHeaderValue(&source, "Newsgroups");
    char *subject = DraftHeaderValue(&source, "Subject");
    char *references = DraftHeaderValue(&source, "References");
    char *message_id = DraftHeaderValue(&source, "Message-ID");
    char *from = DraftHeaderValue(&source, "From");

    Bytes re = {}, ids = {}, body = {};
    if (subject && _strnicmp(subject, "re:", 3) == 0) {
        Put(&re, subject);
    } else {
        Put(&re, "Re: ");
        Put(&re, subject ? subject : "");
    }
    PutReferences(&ids, references, message_id);
    if (from) {
        const char *mark = strstr(attribution, "%s");
        if (mark) {
            Put(&body, attribution, (size_t)(mark - attribution));
            Put(&body, from);
            Put(&body, mark + 2);
        } else {
            Put(&body, attribution);
        }
        Put(&body, "\r\n");
    }
    PutQuoted(&body, source.body, source.body_length);
    Put(&body, "\r\n");

    int ok = !re.failed && !ids.failed && !body.failed &&
             DraftSetHeader(draft, "Newsgroups", newsgroups ? newsgroups : group) &&
             DraftSetHeader(draft, "Subject", re.data) && DraftSetHeader(draft, "References", ids.data) &&
             DraftSetBody(draft, body.data, body.length);
    for (char *text : {newsgroups, subject, references, message_id, from, re.data, ids.data, body.data})
        free(text);
    DraftFree(&source);
    if (!ok) {
        DraftFree(draft);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return ok;
}

DraftLack DraftLackForSending(const Draft *draft)
{
    static const struct {
        const char *name;
        DraftLack lack;
    } kNeeded[] = {{"Newsgroups", kDraftNoNewsgroups}, {"Subject", kDraftNoSubject}};
    for (const auto &needed : kNeeded) {
        char *value = DraftHeaderValue(draft, needed.name);
        if (!value)
            return needed.lack;
        free(value);
    }
    return kDraftComplete;
}

int AddEmptyHeaders(Draft *draft)
{
    for (const char *name : {"Newsgroups", "Subject"}) {
        char *value = DraftHeaderValue(draft, name);
        if (value) {
            free(value);
            continue;
        }
        /* DraftSetHeader drops a header without a value: added here by hand. */
        Bytes head = {};
        Put(&head, draft->head ? draft->head : "", draft->head_length);
        Put(&head, name);
        Put(&head, ": \r\n");
        if (head.failed) {
            free(head.data);
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        free(draft->head);
        draft->head = head.data;
        draft->head_length = head.length;
    }
    return 1;
}

bool DraftLeavesSent(const wchar_t *path, DraftRoot root)
{
    return DraftRootOf(DraftFileName(path)) == kDraftsSent && root != kDraftsSent;
}

wchar_t *RefileDraft(const wchar_t *path, DraftRoot root)
{
    if (DraftLeavesSent(path, root)) {
        Draft draft;
        if (!ReadDraft(path, &draft))
            return nullptr;
        int ok = DraftSetHeader(&draft, "Message-ID", nullptr) && WriteDraft(path, &draft);
        DWORD error = GetLastError();
        DraftFree(&draft);
        if (!ok) {
            SetLastError(error);
            return nullptr;
        }
    }
    return MoveDraft(path, root);
}

const wchar_t *DraftFileName(const wchar_t *path)
{
    const wchar_t *slash = wcsrchr(path, L'\\');
    return slash ? slash + 1 : path;
}
