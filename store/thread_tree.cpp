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

/* Positions by key: open addressing over a power of two; the keys stay
 * where they are, read through `key_at`. */
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
template <typename KeyAt>
uint32_t KeyTableFind(const KeyTable *table, KeyAt key_at, uint64_t key)
{
    if (key == 0)
        return kNone;
    for (uint64_t at = key & table->mask;; at = (at + 1) & table->mask) {
        uint32_t slot = table->slots[at];
        if (slot == 0)
            return kNone;
        if (key_at(slot - 1) == key)
            return slot - 1;
    }
}

/* Puts `position` under `key` unless an earlier one holds it. */
template <typename KeyAt>
void KeyTablePut(KeyTable *table, KeyAt key_at, uint64_t key, uint32_t position)
{
    if (key == 0)
        return;
    for (uint64_t at = key & table->mask;; at = (at + 1) & table->mask) {
        uint32_t slot = table->slots[at];
        if (slot == 0) {
            table->slots[at] = position + 1;
            return;
        }
        if (key_at(slot - 1) == key)
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
    size_t n = (size_t)count + 2;
    uint32_t *parent = (uint32_t *)malloc(n * sizeof(uint32_t));
    uint32_t *stack = (uint32_t *)malloc(n * sizeof(uint32_t));
    uint32_t *first_child = (uint32_t *)calloc(n, sizeof(uint32_t));
    uint32_t *children = (uint32_t *)malloc(n * sizeof(uint32_t));
    unsigned char *state = (unsigned char *)calloc(n, 1);
    KeyTable table = {nullptr, 0};
    bool ok = parent && stack && first_child && children && state && KeyTableInit(&table, count);
    auto id_at = [keys](uint32_t i) { return keys[i].id; };
    if (ok) {
        for (uint32_t i = 0; i < count; i++)
            KeyTablePut(&table, id_at, keys[i].id, i);
        /* The parent: the last id named when it is here, else the first. */
        for (uint32_t i = 0; i < count; i++) {
            uint32_t p = KeyTableFind(&table, id_at, keys[i].parent);
            if (p == kNone || p == i)
                p = KeyTableFind(&table, id_at, keys[i].root);
            parent[i] = p == i ? kNone : p;
        }
        /* Cycles are cut where a walk up the parents comes back to itself. */
        for (uint32_t i = 0; i < count; i++) {
            uint32_t depth = 0, u = i;
            while (u != kNone && state[u] == 0) {
                state[u] = 1;
                stack[depth++] = u;
                u = parent[u];
            }
            if (u != kNone && state[u] == 1)
                parent[u] = kNone;
            while (depth > 0)
                state[stack[--depth]] = 2;
        }
        /* Children by parent, in position order; count + 0 is the list of
         * roots. Then each one's children by date, when they are not so
         * already. */
        for (uint32_t i = 0; i < count; i++)
            first_child[(parent[i] == kNone ? count : parent[i]) + 1]++;
        for (uint32_t i = 0; i <= count; i++)
            first_child[i + 1] += first_child[i];
        memcpy(stack, first_child, ((size_t)count + 1) * sizeof(uint32_t));
        for (uint32_t i = 0; i < count; i++)
            children[stack[parent[i] == kNone ? count : parent[i]]++] = i;
        auto earlier = [keys](uint32_t a, uint32_t b) {
            return keys[a].date != keys[b].date ? keys[a].date < keys[b].date : a < b;
        };
        for (uint32_t i = 0; i < count; i++) {
            uint32_t *from = children + first_child[i], *to = children + first_child[i + 1];
            if (to - from > 1 && !std::is_sorted(from, to, earlier))
                std::sort(from, to, earlier);
        }
    }
    /* Threads: a root alone, or the roots whose first article is missing,
     * gathered under it. Roots come in position order, so threads are
     * numbered in the order of their first roots. */
    uint32_t *roots = ok ? children + first_child[count] : nullptr;
    uint32_t root_count = ok ? first_child[count + 1] - first_child[count] : 0;
    uint32_t *thread_of = ok ? (uint32_t *)malloc(((size_t)root_count + 1) * sizeof(uint32_t)) : nullptr;
    uint64_t *missing = ok ? (uint64_t *)malloc(((size_t)root_count + 1) * sizeof(uint64_t)) : nullptr;
    KeyTable gathered = {nullptr, 0};
    ok = ok && thread_of && missing && KeyTableInit(&gathered, root_count);
    uint32_t thread_count = 0;
    auto missing_at = [&missing](uint32_t t) { return missing[t]; };
    for (uint32_t r = 0; ok && r < root_count; r++) {
        uint64_t key = keys[roots[r]].root;
        if (key && KeyTableFind(&table, id_at, key) != kNone)
            key = 0; /* its first article is here: a cut cycle */
        uint32_t thread = key ? KeyTableFind(&gathered, missing_at, key) : kNone;
        if (thread == kNone) {
            thread = thread_count++;
            missing[thread] = key;
            KeyTablePut(&gathered, missing_at, key, thread);
        }
        thread_of[r] = thread;
    }
    /* Each thread's best run over all its rows, and its roots together. */
    unsigned char *thread_run = ok ? (unsigned char *)malloc((size_t)thread_count + 1) : nullptr;
    uint32_t *thread_roots = ok ? (uint32_t *)calloc((size_t)thread_count + 2, sizeof(uint32_t)) : nullptr;
    uint32_t *grouped = ok ? (uint32_t *)malloc(((size_t)root_count + 1) * sizeof(uint32_t)) : nullptr;
    ok = ok && thread_run && thread_roots && grouped;
    if (ok) {
        memset(thread_run, 255, thread_count);
        for (uint32_t r = 0; r < root_count; r++) {
            uint32_t top = 0;
            stack[top++] = roots[r];
            unsigned char best = thread_run[thread_of[r]];
            while (top > 0) {
                uint32_t node = stack[--top];
                if (runs && runs[node] < best)
                    best = runs[node];
                else if (!runs)
                    best = 0;
                for (uint32_t c = first_child[node]; c < first_child[node + 1]; c++)
                    stack[top++] = children[c];
            }
            thread_run[thread_of[r]] = best;
            thread_roots[thread_of[r] + 1]++;
        }
        for (uint32_t t = 0; t < thread_count; t++)
            thread_roots[t + 1] += thread_roots[t];
        memcpy(stack, thread_roots, ((size_t)thread_count + 1) * sizeof(uint32_t));
        for (uint32_t r = 0; r < root_count; r++)
            grouped[stack[thread_of[r]]++] = roots[r];
        auto earlier = [keys](uint32_t a, uint32_t b) {
            return keys[a].date != keys[b].date ? keys[a].date < keys[b].date : a < b;
        };
        for (uint32_t t = 0; t < thread_count; t++)
            if (thread_roots[t + 1] - thread_roots[t] > 1)
                std::sort(grouped + thread_roots[t], grouped + thread_roots[t + 1], earlier);

        /* The rows: threads by rank, each depth-first from its roots; a
         * node's depth is kept in `state`, counted from its parent's. */
        uint32_t written = 0;
        for (unsigned rank = 0; rank <= 255; rank++) {
            bool later = false;
            for (uint32_t t = 0; t < thread_count; t++) {
                if (thread_run[t] != rank) {
                    later = later || thread_run[t] > rank;
                    continue;
                }
                uint32_t thread_start = written;
                for (uint32_t r = thread_roots[t]; r < thread_roots[t + 1]; r++) {
                    uint32_t top = 0;
                    stack[top++] = grouped[r];
                    state[grouped[r]] = missing[t] ? 1 : 0;
                    while (top > 0) {
                        uint32_t node = stack[--top];
                        unsigned char depth = state[node];
                        order[written] = node;
                        depths[written++] = depth < most_depth ? depth : most_depth;
                        for (uint32_t c = first_child[node + 1]; c > first_child[node]; c--) {
                            state[children[c - 1]] = depth < 255 ? (unsigned char)(depth + 1) : 255;
                            stack[top++] = children[c - 1];
                        }
                    }
                }
                if (written > thread_start)
                    depths[thread_start] |= start_flag;
            }
            if (!later)
                break;
        }
    }
    if (!ok)
        SetByteError(kErrorNotEnoughMemory);
    free(parent);
    free(stack);
    free(first_child);
    free(children);
    free(state);
    free(table.slots);
    free(thread_of);
    free(missing);
    free(gathered.slots);
    free(thread_run);
    free(thread_roots);
    free(grouped);
    return ok ? 1 : 0;
}
