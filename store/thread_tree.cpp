#include "thread_tree.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>

#include "text/byte_error.h"

namespace {

const uint32_t kNone = 0xFFFFFFFFu;

/* FNV-1a, 64 bits. */
uint64_t Hash(const char *text, size_t length)
{
    uint64_t hash = 14695981039346656037ull;
    for (size_t i = 0; i < length; i++) {
        hash ^= (unsigned char)text[i];
        hash *= 1099511628211ull;
    }
    return hash ? hash : 1;
}

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

/* Positions by key: open addressing over a power of two. */
struct KeyTable {
    uint32_t *slots; /* position + 1, 0 for empty */
    uint64_t mask;
};

bool KeyTableInit(KeyTable *table, uint32_t count)
{
    uint64_t size = 16;
    while (size < (uint64_t)count * 2)
        size <<= 1;
    table->slots = (uint32_t *)calloc((size_t)size, sizeof(uint32_t));
    table->mask = size - 1;
    return table->slots != nullptr;
}

/* The first position put with `key`, or kNone. */
uint32_t KeyTableFind(const KeyTable *table, const uint64_t *keys, uint64_t key)
{
    if (key == 0)
        return kNone;
    for (uint64_t at = key & table->mask;; at = (at + 1) & table->mask) {
        uint32_t slot = table->slots[at];
        if (slot == 0)
            return kNone;
        if (keys[slot - 1] == key)
            return slot - 1;
    }
}

/* Puts `position` under its key unless an earlier one holds it. */
void KeyTablePut(KeyTable *table, const uint64_t *keys, uint32_t position)
{
    uint64_t key = keys[position];
    if (key == 0)
        return;
    for (uint64_t at = key & table->mask;; at = (at + 1) & table->mask) {
        uint32_t slot = table->slots[at];
        if (slot == 0) {
            table->slots[at] = position + 1;
            return;
        }
        if (keys[slot - 1] == key)
            return;
    }
}

int ParseNumber(const char *&p, const char *end, int most_digits)
{
    int value = 0, digits = 0;
    while (p < end && *p >= '0' && *p <= '9' && digits < most_digits) {
        value = value * 10 + (*p++ - '0');
        digits++;
    }
    return digits ? value : -1;
}

void SkipBlanks(const char *&p, const char *end)
{
    while (p < end && (*p == ' ' || *p == '\t' || *p == ','))
        p++;
}

/* Days from 1970-01-01 to the date (proleptic Gregorian). */
long long DaysFromCivil(int year, int month, int day)
{
    year -= month <= 2;
    long long era = (year >= 0 ? year : year - 399) / 400;
    long long year_of_era = year - era * 400;
    long long day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    long long day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
    return era * 146097 + day_of_era - 719468;
}

} // namespace

uint64_t MessageIdHash(const char *text, size_t length)
{
    while (length > 0 && IsBlank(*text)) {
        text++;
        length--;
    }
    while (length > 0 && IsBlank(text[length - 1]))
        length--;
    return length ? Hash(text, length) : 0;
}

void MakeThreadKeys(const char *message_id, size_t id_length, const char *references, size_t references_length,
                    const char *date, size_t date_length, ThreadKeys *keys)
{
    keys->id = message_id ? MessageIdHash(message_id, id_length) : 0;
    keys->parent = keys->root = 0;
    /* The ids are the "<...>" tokens; anything between them is ignored. */
    const char *p = references, *end = references ? references + references_length : nullptr;
    while (p && p < end) {
        const char *open = (const char *)memchr(p, '<', (size_t)(end - p));
        if (!open)
            break;
        const char *close = (const char *)memchr(open, '>', (size_t)(end - open));
        if (!close)
            break;
        uint64_t id = Hash(open, (size_t)(close + 1 - open));
        if (id != keys->id) {
            if (!keys->root)
                keys->root = id;
            keys->parent = id;
        }
        p = close + 1;
    }
    keys->date = date ? ParseArticleDate(date, date_length) : 0;
}

uint32_t ParseArticleDate(const char *text, size_t length)
{
    static const char kMonths[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const char *p = text, *end = text + length;
    SkipBlanks(p, end);
    /* An optional weekday: letters, then a comma. */
    const char *word = p;
    while (p < end && ((*p >= 'A' && *p <= 'Z') || (*p >= 'a' && *p <= 'z')))
        p++;
    if (p == word)
        p = word;
    SkipBlanks(p, end);
    int day = ParseNumber(p, end, 2);
    SkipBlanks(p, end);
    int month = 0;
    for (int m = 0; m < 12 && end - p >= 3; m++)
        if (((p[0] ^ kMonths[m * 3]) & ~0x20) == 0 && ((p[1] ^ kMonths[m * 3 + 1]) & ~0x20) == 0 &&
            ((p[2] ^ kMonths[m * 3 + 2]) & ~0x20) == 0)
            month = m + 1;
    if (month == 0 || day < 1 || day > 31)
        return 0;
    p += 3;
    SkipBlanks(p, end);
    int year = ParseNumber(p, end, 4);
    if (year < 0)
        return 0;
    if (year < 50)
        year += 2000;
    else if (year < 1000)
        year += 1900;
    SkipBlanks(p, end);
    int hour = ParseNumber(p, end, 2), minute = -1, second = 0;
    if (p < end && *p == ':') {
        p++;
        minute = ParseNumber(p, end, 2);
    }
    if (p < end && *p == ':') {
        p++;
        second = ParseNumber(p, end, 2);
    }
    if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 60)
        return 0;
    SkipBlanks(p, end);
    long zone = 0;
    if (p < end && (*p == '+' || *p == '-')) {
        int sign = *p++ == '-' ? -1 : 1;
        int hhmm = ParseNumber(p, end, 4);
        if (hhmm >= 0)
            zone = sign * ((hhmm / 100) * 3600L + (hhmm % 100) * 60L);
    }
    long long seconds = DaysFromCivil(year, month, day) * 86400 + hour * 3600 + minute * 60 + second - zone;
    return seconds > 0 && seconds < 0xFFFFFFFFll ? (uint32_t)seconds : 0;
}

int OrderThreads(const ThreadKeys *keys, const unsigned char *runs, uint32_t count, uint32_t *order,
                 unsigned char *depths, unsigned char most_depth, unsigned char start_flag)
{
    uint64_t *ids = (uint64_t *)malloc(((size_t)count + 1) * sizeof(uint64_t));
    uint32_t *parent = (uint32_t *)malloc(((size_t)count + 1) * sizeof(uint32_t));
    uint32_t *work = (uint32_t *)malloc(((size_t)count + 1) * sizeof(uint32_t));
    uint32_t *first_child = (uint32_t *)calloc((size_t)count + 2, sizeof(uint32_t));
    uint32_t *children = (uint32_t *)malloc(((size_t)count + 1) * sizeof(uint32_t));
    unsigned char *state = (unsigned char *)calloc((size_t)count + 1, 1);
    KeyTable table = {nullptr, 0}, groups = {nullptr, 0};
    uint64_t *group_keys = nullptr;
    int ok = ids && parent && work && first_child && children && state && KeyTableInit(&table, count) &&
             KeyTableInit(&groups, count);
    if (ok) {
        group_keys = (uint64_t *)malloc(((size_t)count + 1) * sizeof(uint64_t));
        ok = group_keys != nullptr;
    }
    if (!ok) {
        SetByteError(kErrorNotEnoughMemory);
    } else {
        for (uint32_t i = 0; i < count; i++) {
            ids[i] = keys[i].id;
            KeyTablePut(&table, ids, i);
        }
        /* The parent: the last id named when it is here, else the first. */
        for (uint32_t i = 0; i < count; i++) {
            uint32_t p = KeyTableFind(&table, ids, keys[i].parent);
            if (p == kNone || p == i)
                p = KeyTableFind(&table, ids, keys[i].root);
            parent[i] = p == i ? kNone : p;
        }
        /* Cycles are cut where a walk up the parents comes back to itself. */
        for (uint32_t i = 0; i < count; i++) {
            uint32_t depth = 0, u = i;
            while (u != kNone && state[u] == 0) {
                state[u] = 1;
                work[depth++] = u;
                u = parent[u];
            }
            if (u != kNone && state[u] == 1)
                parent[u] = kNone;
            while (depth > 0)
                state[work[--depth]] = 2;
        }
        /* Children, by parent, then by date and position; count + 0 is the
         * list of roots. */
        for (uint32_t i = 0; i < count; i++)
            first_child[(parent[i] == kNone ? count : parent[i]) + 1]++;
        for (uint32_t i = 0; i <= count; i++)
            first_child[i + 1] += first_child[i];
        memcpy(work, first_child, ((size_t)count + 1) * sizeof(uint32_t));
        for (uint32_t i = 0; i < count; i++)
            children[work[parent[i] == kNone ? count : parent[i]]++] = i;
        auto earlier = [keys](uint32_t a, uint32_t b) {
            return keys[a].date != keys[b].date ? keys[a].date < keys[b].date : a < b;
        };
        for (uint32_t i = 0; i < count; i++)
            std::sort(children + first_child[i], children + first_child[i + 1], earlier);

        /* Threads: a root alone, or the roots whose first article is
         * missing, gathered under it. work[] holds each root's thread,
         * group_keys[] the key each thread was found by. */
        uint32_t thread_count = 0;
        uint32_t *thread_of = work;
        for (uint32_t r = first_child[count]; r < first_child[count + 1]; r++) {
            uint32_t root = children[r];
            uint64_t missing = keys[root].root && KeyTableFind(&table, ids, keys[root].root) == kNone
                                   ? keys[root].root
                                   : 0;
            uint32_t thread = missing ? KeyTableFind(&groups, group_keys, missing) : kNone;
            if (thread == kNone) {
                thread = thread_count++;
                group_keys[thread] = missing;
                if (missing)
                    KeyTablePut(&groups, group_keys, thread);
            }
            thread_of[root] = thread;
        }
        /* Each thread's first root, its best run and whether it is
         * gathered; a thread's rows come out depth-first from its roots in
         * position order, gathered ones under the missing article. */
        uint32_t *thread_first = (uint32_t *)malloc(((size_t)thread_count + 1) * sizeof(uint32_t));
        unsigned char *thread_run = (unsigned char *)malloc((size_t)thread_count + 1);
        uint32_t *stack = (uint32_t *)malloc(((size_t)count + 1) * 2 * sizeof(uint32_t));
        ok = thread_first && thread_run && stack;
        if (!ok)
            SetByteError(kErrorNotEnoughMemory);
        for (uint32_t t = 0; ok && t < thread_count; t++) {
            thread_first[t] = kNone;
            thread_run[t] = 255;
        }
        /* Roots sorted by position for the threads' order. */
        uint32_t *roots = children + first_child[count];
        uint32_t root_count = first_child[count + 1] - first_child[count];
        if (ok)
            std::sort(roots, roots + root_count);
        for (uint32_t r = 0; ok && r < root_count; r++) {
            uint32_t thread = thread_of[roots[r]];
            if (thread_first[thread] == kNone)
                thread_first[thread] = roots[r];
            /* The best run of the tree under this root. */
            uint32_t top = 0;
            stack[top++] = roots[r];
            while (top > 0) {
                uint32_t node = stack[--top];
                unsigned char run = runs ? runs[node] : 0;
                if (run < thread_run[thread])
                    thread_run[thread] = run;
                for (uint32_t c = first_child[node]; c < first_child[node + 1]; c++)
                    stack[top++] = children[c];
            }
        }
        /* Threads in the order of their first roots. */
        uint32_t *threads = parent; /* no longer needed */
        for (uint32_t t = 0; ok && t < thread_count; t++)
            threads[t] = t;
        if (ok)
            std::sort(threads, threads + thread_count,
                      [thread_first](uint32_t a, uint32_t b) { return thread_first[a] < thread_first[b]; });
        /* Each gathered thread's roots by date among themselves. */
        if (ok)
            std::stable_sort(roots, roots + root_count, [thread_of, &earlier](uint32_t a, uint32_t b) {
                return thread_of[a] != thread_of[b] ? thread_of[a] < thread_of[b] : earlier(a, b);
            });
        /* Where each thread's roots begin in `roots`. */
        uint32_t *thread_roots = (uint32_t *)calloc((size_t)thread_count + 2, sizeof(uint32_t));
        ok = ok && thread_roots;
        for (uint32_t r = 0; ok && r < root_count; r++)
            thread_roots[thread_of[roots[r]] + 1]++;
        for (uint32_t t = 0; ok && t < thread_count; t++)
            thread_roots[t + 1] += thread_roots[t];
        uint32_t written = 0;
        for (unsigned rank = 0; ok && rank <= 255; rank++) {
            bool any_left = false;
            for (uint32_t k = 0; k < thread_count; k++) {
                uint32_t t = threads[k];
                if (thread_run[t] != rank) {
                    any_left = any_left || thread_run[t] > rank;
                    continue;
                }
                uint32_t base_depth = group_keys[t] ? 1 : 0;
                uint32_t thread_start = written;
                for (uint32_t r = thread_roots[t]; r < thread_roots[t + 1]; r++) {
                    uint32_t top = 0;
                    stack[top++] = roots[r];
                    stack[top++] = base_depth;
                    while (top > 0) {
                        uint32_t depth = stack[--top], node = stack[--top];
                        order[written] = node;
                        depths[written++] = (unsigned char)(depth < most_depth ? depth : most_depth);
                        for (uint32_t c = first_child[node + 1]; c > first_child[node]; c--) {
                            stack[top++] = children[c - 1];
                            stack[top++] = depth + 1;
                        }
                    }
                }
                if (written > thread_start)
                    depths[thread_start] |= start_flag;
            }
            if (!any_left)
                break;
        }
        free(thread_first);
        free(thread_run);
        free(stack);
        free(thread_roots);
    }
    free(ids);
    free(parent);
    free(work);
    free(first_child);
    free(children);
    free(state);
    free(table.slots);
    free(groups.slots);
    free(group_keys);
    return ok;
}
