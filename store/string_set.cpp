#include "string_set.h"

#include <string.h>

namespace {

enum : SIZE_T { kInitialHeap = 102400, kMaximumHeap = 1024000 };

} // namespace

unsigned StringSetBucket(const char *text)
{
    unsigned hash = 0;
    for (const char *p = text; *p; p++)
        hash ^= (unsigned)(int)(signed char)*p;
    return hash % kStringSetBuckets;
}

void StringSetInit(StringSet *set)
{
    set->heap = nullptr;
    memset(set->buckets, 0, sizeof set->buckets); /* an uncreated set finds nothing */
}

int StringSetCreate(StringSet *set)
{
    set->heap = HeapCreate(0, kInitialHeap, kMaximumHeap);
    if (!set->heap)
        return 0;
    memset(set->buckets, 0, sizeof set->buckets);
    return 1;
}

StringSetNode *StringSetAdd(StringSet *set, const char *text)
{
    StringSetNode *node = (StringSetNode *)HeapAlloc(set->heap, 0, sizeof(StringSetNode));
    if (!node) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    size_t size = strlen(text) + 1;
    node->text = (char *)HeapAlloc(set->heap, 0, size);
    if (!node->text) {
        HeapFree(set->heap, 0, node);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    memcpy(node->text, text, size);
    node->spare = nullptr;
    unsigned bucket = StringSetBucket(text);
    node->next = set->buckets[bucket];
    set->buckets[bucket] = node;
    return node;
}

StringSetNode *StringSetFind(const StringSet *set, const char *text)
{
    for (StringSetNode *node = set->buckets[StringSetBucket(text)]; node; node = node->next)
        if (strcmp(node->text, text) == 0)
            return node;
    return nullptr;
}

int StringSetRemove(StringSet *set, const char *text)
{
    StringSetNode **link = &set->buckets[StringSetBucket(text)];
    for (; *link; link = &(*link)->next) {
        StringSetNode *node = *link;
        if (strcmp(node->text, text) == 0) {
            *link = node->next;
            HeapFree(set->heap, 0, node->text);
            HeapFree(set->heap, 0, node);
            return 1;
        }
    }
    return 0;
}

void StringSetBegin(StringSetIterator *it, StringSet *set)
{
    it->set = set;
    it->next_bucket = 0;
    it->node = nullptr;
}

StringSetNode *StringSetNext(StringSetIterator *it)
{
    if (it->node && it->node->next) {
        it->node = it->node->next;
        return it->node;
    }
    while (it->next_bucket < kStringSetBuckets) {
        StringSetNode *head = it->set->buckets[it->next_bucket++];
        if (head) {
            it->node = head;
            return head;
        }
    }
    it->node = nullptr;
    return nullptr;
}

void StringSetDestroy(StringSet *set)
{
    if (set->heap) {
        HeapDestroy(set->heap);
        set->heap = nullptr;
    }
}
