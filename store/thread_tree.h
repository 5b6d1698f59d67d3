/*
 * Threads from Message-ID and References: the keys an article is threaded
 * by, and the order of a set of articles as threads (each thread's root,
 * then its replies depth-first by date). Byte-level: no windows.h, so it
 * also builds natively for the sanitizers.
 */
#ifndef PELNOR_THREAD_TREE_H
#define PELNOR_THREAD_TREE_H

#include <stddef.h>
#include <stdint.h>

/* What an article is threaded by: hashes of its own Message-ID, of the
 * last and the first id its References name (0 for none), and its date
 * (seconds since 1970, UTC; 0 when unreadable). */
struct ThreadKeys {
    uint64_t id;
    uint64_t parent;
    uint64_t root;
    uint32_t date;
};

/* The hash of the id `text` (its blanks around dropped); never 0 for an
 * id, 0 for an empty text. */
uint64_t MessageIdHash(const char *text, size_t length);

/* Fills `keys` from the three header values (each `length` bytes, null or
 * empty when the article has none). An id that names the article itself
 * is no parent. */
void MakeThreadKeys(const char *message_id, size_t id_length, const char *references, size_t references_length,
                    const char *date, size_t date_length, ThreadKeys *keys);

/* Seconds since 1970 (UTC) of an article's Date text ("Thu, 26 Nov 2026
 * 01:02:03 +0900", the weekday and seconds optional), or 0. */
uint32_t ParseArticleDate(const char *text, size_t length);

/* Orders `count` articles as threads. An article goes under its parent
 * when that is among them, else under the thread's first article when that
 * is; articles whose first article is missing are grouped as one thread
 * under it (depth 1). A thread's rank is its best run (`runs`, 0 best);
 * threads come by rank, then in the order of their first articles; replies
 * by date, then position. Cycles are cut, duplicates of an id threaded
 * under its first holder's children. Writes the positions (0..count-1) in
 * row order to `order` and each row's depth (capped at `most_depth`) with
 * `start_flag` added on each thread's first row to `depths`. 1, or 0 when
 * memory runs out (error 8). */
int OrderThreads(const ThreadKeys *keys, const unsigned char *runs, uint32_t count, uint32_t *order,
                 unsigned char *depths, unsigned char most_depth, unsigned char start_flag);

#endif
