/*
 * A set of 8-bit strings: 91 hash chains whose nodes and strings all live on
 * one private heap, so the whole set goes with a single HeapDestroy.
 * Iteration order (bucket 0 to 90, each chain newest first) follows the hash
 * and is what files written from a set are ordered by.
 */
#ifndef PELNOR_STRING_SET_H
#define PELNOR_STRING_SET_H

#include <windows.h>

enum { kStringSetBuckets = 91 };

struct StringSetNode {
    StringSetNode *next;
    char *text;
    void *spare; /* unused */
};

struct StringSet {
    HANDLE heap; /* null until created */
    StringSetNode *buckets[kStringSetBuckets];
};

struct StringSetIterator {
    StringSet *set;
    unsigned next_bucket; /* 0..91 */
    StringSetNode *node;
};

/* The bucket of a string: the exclusive-or of its bytes, each widened as a
 * signed 8-bit value, reduced modulo 91 as an unsigned number. */
unsigned StringSetBucket(const char *text);

void StringSetInit(StringSet *set);
/* Creates the heap (102400 bytes initial, 1024000 maximum). 1, or 0. */
int StringSetCreate(StringSet *set);
/* Adds a copy at the head of its chain; duplicates are not looked for.
 * Returns the node, or null when the heap is exhausted. */
StringSetNode *StringSetAdd(StringSet *set, const char *text);
/* The first node whose string equals `text` byte for byte, or null. */
StringSetNode *StringSetFind(const StringSet *set, const char *text);
/* Unlinks and frees the first equal node: 1, or 0 when there is none. */
int StringSetRemove(StringSet *set, const char *text);
void StringSetBegin(StringSetIterator *it, StringSet *set);
StringSetNode *StringSetNext(StringSetIterator *it);
/* Destroys the heap with every node and string. */
void StringSetDestroy(StringSet *set);

#endif
