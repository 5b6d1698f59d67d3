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

#endif
