#include "draft_file.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/path.h"
#include "base/scoped_win.h"
#include "store/file_io.h"

namespace {

const wchar_t kRootLetters[kDraftRootCount] = {L'o', L'd', L's'};

/* A draft file bigger than this is not a draft anyone typed. */
const DWORD kMostDraftBytes = 16u << 20;

char *CopyBytes(const char *bytes, size_t length)
{
    char *copy = (char *)malloc(length + 1);
    if (!copy) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    memcpy(copy, bytes, length);
    copy[length] = '\0';
    return copy;
}

/* Appends `length` bytes of `line` and CR LF to out, which has room. */
size_t PutLine(char *out, const char *line, size_t length)
{
    memcpy(out, line, length);
    out[length] = '\r';
    out[length + 1] = '\n';
    return length + 2;
}

/* The end of the line at `p` (before its CR LF or LF) and where the next
 * line begins. */
const char *LineEnd(const char *p, const char *end, const char **next)
{
    const char *stop = (const char *)memchr(p, '\n', (size_t)(end - p));
    if (!stop) {
        *next = end;
        return end;
    }
    *next = stop + 1;
    return stop > p && stop[-1] == '\r' ? stop - 1 : stop;
}

/* Whether the header line at `line` is named `name` (without regard to
 * case), with the colon right after the name. */
bool IsNamed(const char *line, size_t length, const char *name, size_t name_length)
{
    return length > name_length && line[name_length] == ':' && _strnicmp(line, name, name_length) == 0;
}

/* Writes the whole of `bytes` to a new file at `path`. */
int WriteNewFile(const wchar_t *path, const char *const parts[], const size_t lengths[], int count)
{
    ScopedFile file(CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid())
        return 0;
    for (int i = 0; i < count; i++)
        if (lengths[i] && !WriteBytes(file.get(), parts[i], (DWORD)lengths[i]))
            return 0;
    return 1;
}

/* `length` bytes of text with every line end made CR LF: a new text. */
char *WithCrLf(const char *text, size_t length, size_t *out_length)
{
    size_t lone = 0;
    for (size_t i = 0; i < length; i++)
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r'))
            lone++;
    char *out = (char *)malloc(length + lone + 1);
    if (!out) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    size_t used = 0;
    for (size_t i = 0; i < length; i++) {
        if (text[i] == '\n' && (i == 0 || text[i - 1] != '\r'))
            out[used++] = '\r';
        out[used++] = text[i];
    }
    out[used] = '\0';
    *out_length = used;
    return out;
}

bool FileExists(const wchar_t *path)
{
    return GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
}

} // namespace

DraftRoot DraftRootOf(const wchar_t *file_name)
{
    if (file_name[0] == L'o')
        return kDraftsWaiting;
    if (file_name[0] == L's')
        return kDraftsSent;
    return kDraftsDrafts;
}

void DraftInit(Draft *draft)
{
    draft->head = nullptr;
    draft->head_length = 0;
    draft->body = nullptr;
    draft->body_length = 0;
}

void DraftFree(Draft *draft)
{
    free(draft->head);
    free(draft->body);
    DraftInit(draft);
}

int ReadDraft(const wchar_t *path, Draft *draft)
{
    DraftInit(draft);
    ScopedFile file(OpenForReading(path));
    if (!file.valid())
        return 0;
    DWORD size = GetFileSize(file.get(), nullptr);
    if (size == INVALID_FILE_SIZE)
        return 0;
    if (size > kMostDraftBytes) {
        SetLastError(ERROR_FILE_TOO_LARGE);
        return 0;
    }
    char *bytes = (char *)malloc(size + 1);
    if (!bytes) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    DWORD got = 0;
    if (!ReadBytes(file.get(), bytes, size, &got)) {
        free(bytes);
        return 0;
    }
    const char *end = bytes + got;
    /* The head, continuations joined, each line with CR LF: never longer
     * than the bytes it came from plus one CR per line. */
    char *head = (char *)malloc(2 * (size_t)got + 1);
    if (!head) {
        free(bytes);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    size_t used = 0;
    const char *p = bytes;
    while (p < end) {
        const char *next;
        const char *stop = LineEnd(p, end, &next);
        if (stop == p) { /* the empty line */
            p = next;
            break;
        }
        if ((*p == ' ' || *p == '\t') && used >= 2) {
            /* A continuation: joined to the line before with one blank. */
            used -= 2;
            while (p < stop && (*p == ' ' || *p == '\t'))
                p++;
            head[used++] = ' ';
        }
        used += PutLine(head + used, p, (size_t)(stop - p));
        p = next;
    }
    head[used] = '\0';
    draft->head = head;
    draft->head_length = used;
    draft->body = CopyBytes(p, (size_t)(end - p));
    draft->body_length = (size_t)(end - p);
    free(bytes);
    if (!draft->body) {
        DraftFree(draft);
        return 0;
    }
    return 1;
}

int WriteDraft(const wchar_t *path, const Draft *draft)
{
    size_t body_length = 0;
    char *body = WithCrLf(draft->body ? draft->body : "", draft->body_length, &body_length);
    if (!body)
        return 0;
    wchar_t *temporary = JoinPath(L"", path, L".new");
    int ok = temporary != nullptr;
    if (ok) {
        const char *parts[] = {draft->head, "\r\n", body};
        const size_t lengths[] = {draft->head_length, 2, body_length};
        ok = WriteNewFile(temporary, parts, lengths, 3);
        if (ok) {
            DeleteFileW(path);
            ok = MoveFileW(temporary, path);
        }
        if (!ok) {
            DWORD error = GetLastError();
            DeleteFileW(temporary);
            SetLastError(error);
        }
    }
    free(temporary);
    free(body);
    return ok;
}

char *DraftHeaderValue(const Draft *draft, const char *name)
{
    size_t name_length = strlen(name);
    const char *found = nullptr, *found_end = nullptr;
    const char *end = draft->head + draft->head_length;
    for (const char *p = draft->head; p && p < end;) {
        const char *next;
        const char *stop = LineEnd(p, end, &next);
        if (IsNamed(p, (size_t)(stop - p), name, name_length)) {
            found = p + name_length + 1;
            found_end = stop;
        }
        p = next;
    }
    while (found && found < found_end && (*found == ' ' || *found == '\t'))
        found++;
    while (found && found_end > found && (found_end[-1] == ' ' || found_end[-1] == '\t'))
        found_end--;
    if (!found || found == found_end) {
        SetLastError(ERROR_NOT_FOUND);
        return nullptr;
    }
    return CopyBytes(found, (size_t)(found_end - found));
}

int DraftSetHeader(Draft *draft, const char *name, const char *value)
{
    size_t name_length = strlen(name);
    size_t value_length = value ? strlen(value) : 0;
    char *head = (char *)malloc(draft->head_length + name_length + value_length + 5);
    if (!head) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    size_t used = 0;
    bool placed = value_length == 0;
    const char *end = draft->head + draft->head_length;
    auto put_new = [&]() {
        memcpy(head + used, name, name_length);
        used += name_length;
        head[used++] = ':';
        head[used++] = ' ';
        used += PutLine(head + used, value, value_length);
        placed = true;
    };
    for (const char *p = draft->head; p && p < end;) {
        const char *next;
        const char *stop = LineEnd(p, end, &next);
        if (IsNamed(p, (size_t)(stop - p), name, name_length)) {
            if (!placed)
                put_new();
        } else {
            used += PutLine(head + used, p, (size_t)(stop - p));
        }
        p = next;
    }
    if (!placed)
        put_new();
    head[used] = '\0';
    free(draft->head);
    draft->head = head;
    draft->head_length = used;
    return 1;
}

int DraftSetBody(Draft *draft, const char *body, size_t length)
{
    char *copy = CopyBytes(body, length);
    if (!copy)
        return 0;
    free(draft->body);
    draft->body = copy;
    draft->body_length = length;
    return 1;
}

wchar_t *NewDraftPath(const wchar_t *draft_path, DraftRoot root)
{
    /* Names from the clock, so that drafts list in the order they were
     * begun; a name in use by a draft of any folder is passed over. */
    /* Windows CE has no GetSystemTimeAsFileTime. */
    SYSTEMTIME clock;
    GetSystemTime(&clock);
    FILETIME now;
    SystemTimeToFileTime(&clock, &now);
    unsigned long long seconds = (((unsigned long long)now.dwHighDateTime << 32) | now.dwLowDateTime) / 10000000ull;
    for (unsigned long stem = (unsigned long)seconds;; stem++) {
        wchar_t names[kDraftRootCount][16];
        bool taken = false;
        for (int i = 0; i < kDraftRootCount; i++) {
            _snwprintf(names[i], 15, L"%lc%08lx", kRootLetters[i], stem);
            names[i][15] = L'\0';
            wchar_t *candidate = JoinPath(draft_path, names[i], L".txt");
            if (!candidate)
                return nullptr;
            taken = taken || FileExists(candidate);
            free(candidate);
        }
        if (!taken)
            return JoinPath(draft_path, names[root], L".txt");
    }
}

wchar_t *MoveDraft(const wchar_t *path, DraftRoot root)
{
    const wchar_t *slash = wcsrchr(path, L'\\');
    const wchar_t *name = slash ? slash + 1 : path;
    size_t folder_length = (size_t)(name - path);
    if (DraftRootOf(name) == root) {
        wchar_t *same = JoinPath(L"", path);
        return same;
    }
    /* The letters the program gives are replaced; any other name keeps its
     * first letter behind the new one. */
    bool ours = name[0] == kRootLetters[0] || name[0] == kRootLetters[1] || name[0] == kRootLetters[2];
    const wchar_t *rest = ours ? name + 1 : name;
    const wchar_t *dot = wcsrchr(rest, L'.');
    size_t stem_length = dot ? (size_t)(dot - rest) : wcslen(rest);
    size_t capacity = folder_length + 1 + stem_length + 16 + (dot ? wcslen(dot) : 0) + 1;
    wchar_t *target = (wchar_t *)malloc(capacity * sizeof(wchar_t));
    if (!target) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    for (unsigned copy = 1;; copy++) {
        _snwprintf(target, capacity - 1, L"%.*ls%lc%.*ls", (int)folder_length, path, kRootLetters[root],
                   (int)stem_length, rest);
        target[capacity - 1] = L'\0';
        if (copy > 1)
            _snwprintf(target + wcslen(target), 15, L"-%u", copy);
        if (dot)
            wcscat(target, dot);
        if (!FileExists(target))
            break;
    }
    if (!MoveFileW(path, target)) {
        DWORD error = GetLastError();
        free(target);
        SetLastError(error);
        return nullptr;
    }
    return target;
}
