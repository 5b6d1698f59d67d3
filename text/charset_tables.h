/*
 * Character set tables, generated at build time by make_charset_tables.py
 * from Python's codecs. A 0 entry is a byte or cell without a character.
 */
#ifndef PELNOR_CHARSET_TABLES_H
#define PELNOR_CHARSET_TABLES_H

#include <stddef.h>
#include <stdint.h>

/* CP932 pairs: lead bytes 0x81-0x9F then 0xE0-0xFC, 189 trail bytes each
 * (0x40-0xFC). */
const size_t kCp932TrailCount = 189;
extern const uint16_t kCp932Pairs[60 * 189];
/* CP932 single bytes 0x80-0xFF (lead bytes give 0). */
extern const uint16_t kCp932Singles[128];
/* Unicode -> CP932 for the BMP above 0x7F, sorted by code point: a value
 * below 0x100 is one byte, otherwise lead << 8 | trail. */
extern const size_t kCp932EncodeCount;
extern const uint16_t kCp932EncodeKeys[];
extern const uint16_t kCp932EncodeValues[];

/* Bytes 0x80-0xFF of ISO-8859-1..11, 13..15 then Windows-1250..1258, 128
 * entries each, in that order. */
const int kSingleByteSetCount = 23;
extern const uint16_t kSingleByteSets[23 * 128];

/* JIS X 0212 cells, row-major from 0x2121. */
extern const uint16_t kJisX0212[94 * 94];

/* JIS X 0213 plane 1 cells that differ from JIS X 0208 through CP932, and
 * plane 2 (key | 0x8000); sorted. A value above 0x10FFFF is two BMP code
 * points, the first in the top 16 bits. */
extern const size_t kJisX0213Count;
extern const uint16_t kJisX0213Keys[];
extern const uint32_t kJisX0213Values[];

/* The readers of the tables, for the decoder and for stored text alike. */

inline bool IsCp932TrailByte(unsigned char c)
{
    return c >= 0x40 && c <= 0xFC && c != 0x7F;
}

/* The character of a CP932 pair (the caller has checked both bytes), or 0. */
inline uint16_t Cp932Pair(unsigned char lead, unsigned char trail)
{
    unsigned row = lead <= 0x9F ? lead - 0x81u : lead - 0xE0u + 31;
    return kCp932Pairs[row * kCp932TrailCount + (trail - 0x40u)];
}

/* The value of `key` in `count` sorted keys, or 0. */
template <typename Value>
Value FindSorted(const uint16_t *keys, const Value *values, size_t count, unsigned long key)
{
    size_t low = 0, high = count;
    while (low < high) {
        size_t middle = (low + high) / 2;
        if (keys[middle] < key)
            low = middle + 1;
        else
            high = middle;
    }
    return low < count && keys[low] == key ? values[low] : 0;
}

#endif
