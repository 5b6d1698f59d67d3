#include "text_match.h"

#include <stdlib.h>
#include <string.h>

#include "base/line_scan.h"
#include "text/codeconv.h"
#include "text/byte_error.h"
#include "text/stored_text.h"

namespace {

/* Keys: a single byte is itself (ASCII letters in lower case); a two-byte
 * character is lead * 256 + trail; a reference is kReferenceKey plus its
 * code point. The three never meet. */
const uint32_t kReferenceKey = 0x01000000u;
const size_t kLongestReference = 10; /* "&#x10FFFF;" */

/* The full-width forms of ASCII signs in the 0x81 row: trail byte, ASCII.
 * (Letters and digits are in the 0x82 row, in ASCII order.) */
const unsigned char kFullWidthSigns[][2] = {
    {0x40, ' '}, {0x43, ','}, {0x44, '.'}, {0x46, ':'}, {0x47, ';'}, {0x48, '?'}, {0x49, '!'}, {0x4D, '`'},
    {0x4F, '^'}, {0x51, '_'}, {0x5E, '/'}, {0x5F, '\\'}, {0x60, '~'}, {0x62, '|'}, {0x69, '('}, {0x6A, ')'},
    {0x6D, '['}, {0x6E, ']'}, {0x6F, '{'}, {0x70, '}'}, {0x7B, '+'}, {0x7C, '-'}, {0x81, '='}, {0x83, '<'},
    {0x84, '>'}, {0x90, '$'}, {0x93, '%'}, {0x94, '#'}, {0x95, '&'}, {0x96, '*'}, {0x97, '@'},
};

/* The full-width character of each half-width one, 0xA1 to 0xDF. */
const uint16_t kHalfWidthKana[63] = {
    0x8142, 0x8175, 0x8176, 0x8141, 0x8145, 0x8392, 0x8340, 0x8342, 0x8344, 0x8346, 0x8348, 0x8383, 0x8385,
    0x8387, 0x8362, 0x815B, 0x8341, 0x8343, 0x8345, 0x8347, 0x8349, 0x834A, 0x834C, 0x834E, 0x8350, 0x8352,
    0x8354, 0x8356, 0x8358, 0x835A, 0x835C, 0x835E, 0x8360, 0x8363, 0x8365, 0x8367, 0x8369, 0x836A, 0x836B,
    0x836C, 0x836D, 0x836E, 0x8371, 0x8374, 0x8377, 0x837A, 0x837D, 0x837E, 0x8380, 0x8381, 0x8382, 0x8384,
    0x8386, 0x8388, 0x8389, 0x838A, 0x838B, 0x838C, 0x838D, 0x838F, 0x8393, 0x814A, 0x814B,
};

uint32_t FoldAscii(unsigned char c)
{
    return c >= 'A' && c <= 'Z' ? (uint32_t)(c + ('a' - 'A')) : c;
}

/* A half-width kana with a voiced (0xDE) or semi-voiced (0xDF) mark as one
 * full-width character, or 0 when the two do not make one. */
uint32_t VoicedKana(unsigned char kana, unsigned char mark)
{
    if (mark == 0xDE) {
        if (kana == 0xB3) /* U */
            return 0x8394;
        if ((kana >= 0xB6 && kana <= 0xC4) || (kana >= 0xCA && kana <= 0xCE))
            return kHalfWidthKana[kana - 0xA1] + 1u;
    } else if (mark == 0xDF && kana >= 0xCA && kana <= 0xCE) {
        return kHalfWidthKana[kana - 0xA1] + 2u;
    }
    return 0;
}

uint32_t FoldPair(unsigned char lead, unsigned char trail)
{
    if (lead == 0x82) {
        if (trail >= 0x4F && trail <= 0x58)
            return '0' + (trail - 0x4Fu);
        if (trail >= 0x60 && trail <= 0x79)
            return 'a' + (trail - 0x60u);
        if (trail >= 0x81 && trail <= 0x9A)
            return 'a' + (trail - 0x81u);
    } else if (lead == 0x81) {
        for (const auto &sign : kFullWidthSigns)
            if (sign[0] == trail)
                return sign[1];
    } else if (lead == 0x83 && trail >= 0x9F && trail <= 0xB6) {
        return 0x8300u + trail + 0x20u; /* Greek capitals */
    } else if (lead == 0x84 && trail >= 0x40 && trail <= 0x60) {
        unsigned i = trail - 0x40u; /* Cyrillic capitals; the small ones skip 0x7F */
        return 0x8470u + i + (i >= 15 ? 1u : 0u);
    }
    return lead * 256u + trail;
}

uint32_t FoldCodePoint(unsigned long code_point)
{
    if (code_point < 0x80)
        return FoldAscii((unsigned char)code_point);
    if (code_point >= 0xC0 && code_point <= 0xDE && code_point != 0xD7)
        code_point += 0x20;
    return kReferenceKey + (uint32_t)code_point;
}

void SetBit(uint8_t *bits, unsigned char b)
{
    bits[b >> 3] |= (uint8_t)(1u << (b & 7));
}

bool HasBit(const uint8_t *bits, unsigned char b)
{
    return (bits[b >> 3] >> (b & 7)) & 1u;
}

/* Every first byte of a character whose key is `key`, with, for each,
 * the second bytes of its two-byte forms (`pairs`); `singles` gets the
 * first bytes of its one-byte forms. */
void FirstBytesOf(uint32_t key, uint8_t singles[32], uint8_t pairs[256][32])
{
    unsigned char text[2];
    uint32_t folded;
    for (unsigned b = 0; b < 256; b++) {
        text[0] = (unsigned char)b;
        if (FoldCharacter(text, text + 1, &folded) == 1 && folded == key)
            SetBit(singles, (unsigned char)b);
        for (unsigned t = 0x40; t <= 0xFC; t++) {
            text[1] = (unsigned char)t;
            if (FoldCharacter(text, text + 2, &folded) == 2 && folded == key)
                SetBit(pairs[b], (unsigned char)t);
        }
    }
    if (key >= kReferenceKey || key == '&')
        SetBit(pairs[(unsigned char)'&'], '#');
}

/* Bit i set where byte p[i] is one of the pattern's first bytes, for 64
 * bytes. */
uint64_t LeadMask(const TextPattern *pattern, const char *p)
{
#ifdef PELNOR_SSE2_BYTE_SEARCH
    /* Each block of sixteen loaded once, whatever the number of bytes. */
    __m128i leads[kPatternLeads];
    for (int i = 0; i < pattern->lead_count; i++)
        leads[i] = _mm_set1_epi8((char)pattern->leads[i]);
    uint64_t mask = 0;
    for (int block = 0; block < 4; block++) {
        __m128i bytes = _mm_loadu_si128((const __m128i *)(p + 16 * block));
        __m128i any = _mm_cmpeq_epi8(bytes, leads[0]);
        for (int i = 1; i < pattern->lead_count; i++)
            any = _mm_or_si128(any, _mm_cmpeq_epi8(bytes, leads[i]));
        mask |= (uint64_t)(unsigned)_mm_movemask_epi8(any) << (16 * block);
    }
    return mask;
#else
    uint64_t mask = 0;
    for (int i = 0; i < pattern->lead_count; i++)
        mask |= ByteMask(p, (char)pattern->leads[i]);
    return mask;
#endif
}

} // namespace

bool TextContains(const char *haystack, size_t haystack_length, const char *needle, size_t needle_length)
{
    if (needle_length == 0)
        return true;
    const char first = needle[0];
    for (size_t i = 0; i + needle_length <= haystack_length; i++)
        if (haystack[i] == first && memcmp(haystack + i + 1, needle + 1, needle_length - 1) == 0)
            return true;
    return false;
}

size_t FoldCharacter(const unsigned char *p, const unsigned char *end, uint32_t *key)
{
    unsigned char c = p[0];
    size_t available = (size_t)(end - p);
    if (c < 0x80) {
        unsigned long code_point;
        size_t reference;
        if (c == '&' && (reference = StoredReferenceAt((const char *)p, available < kLongestReference
                                                                            ? available
                                                                            : kLongestReference,
                                                       &code_point)) != 0) {
            *key = FoldCodePoint(code_point);
            return reference;
        }
        *key = FoldAscii(c);
        return 1;
    }
    if (c >= 0xA1 && c <= 0xDF) {
        uint32_t voiced = available > 1 ? VoicedKana(c, p[1]) : 0;
        *key = voiced ? voiced : kHalfWidthKana[c - 0xA1];
        return voiced ? 2 : 1;
    }
    if (IsSjisLeadByte(c) && available > 1 && p[1] >= 0x40 && p[1] <= 0xFC && p[1] != 0x7F) {
        *key = FoldPair(c, p[1]);
        return 2;
    }
    *key = c;
    return 1;
}

bool IsCharacterStart(const char *start, const char *at, const char *end)
{
    const unsigned char *s = (const unsigned char *)start, *a = (const unsigned char *)at;
    if (a == s)
        return true;
    /* Inside a reference: its '&' (never a trail byte) is a few bytes back. */
    for (const unsigned char *amp = a - 1; amp >= s && a - amp < (ptrdiff_t)kLongestReference; amp--) {
        unsigned long code_point;
        size_t reference;
        if (*amp == '&' &&
            (reference = StoredReferenceAt((const char *)amp, (size_t)((const unsigned char *)end - amp),
                                           &code_point)) != 0 &&
            amp + reference > a)
            return false;
    }
    /* The bytes that can only be lead bytes pair up from the last byte
     * before them that cannot be one. */
    const unsigned char *q = a;
    while (q > s && IsSjisLeadByte(q[-1]))
        q--;
    if ((a - q) % 2 != 0)
        return false;
    /* A voiced mark belongs to the kana before it. */
    if ((*a == 0xDE || *a == 0xDF) && VoicedKana(a[-1], *a) && IsCharacterStart(start, at - 1, end))
        return false;
    return true;
}

int TextPatternCompile(TextPattern *pattern, const char *stored, size_t length)
{
    memset(pattern, 0, sizeof *pattern);
    pattern->keys = (uint32_t *)malloc((length ? length : 1) * sizeof(uint32_t));
    if (!pattern->keys) {
        SetByteError(kErrorNotEnoughMemory);
        return 0;
    }
    const unsigned char *p = (const unsigned char *)stored, *end = p + length;
    while (p < end)
        p += FoldCharacter(p, end, &pattern->keys[pattern->count++]);
    if (pattern->count == 0)
        return 1;

    uint8_t(*pairs)[32] = (uint8_t(*)[32])calloc(2 * 256, 32);
    if (!pairs) {
        TextPatternFree(pattern);
        SetByteError(kErrorNotEnoughMemory);
        return 0;
    }
    uint8_t(*next_pairs)[32] = pairs + 256;
    uint8_t singles[32] = {};
    FirstBytesOf(pattern->keys[0], singles, pairs);
    /* After a one-byte first character: the first bytes of the second. */
    uint8_t next[32];
    memset(next, pattern->count > 1 ? 0 : 0xFF, sizeof next);
    if (pattern->count > 1) {
        FirstBytesOf(pattern->keys[1], next, next_pairs);
        for (unsigned b = 0; b < 256; b++)
            for (int i = 0; i < 32; i++)
                if (next_pairs[b][i])
                    SetBit(next, (unsigned char)b);
    }
    for (unsigned b = 0; b < 256; b++) {
        for (int i = 0; i < 32; i++)
            pattern->second[b][i] = (uint8_t)(pairs[b][i] | (HasBit(singles, (unsigned char)b) ? next[i] : 0));
        bool any = false;
        for (int i = 0; i < 32 && !any; i++)
            any = pattern->second[b][i] != 0;
        /* A one-byte character at the end of the text has no second byte. */
        if (any || HasBit(singles, (unsigned char)b)) {
            pattern->can_start[b] = 1;
            if (pattern->lead_count < kPatternLeads)
                pattern->leads[pattern->lead_count] = (unsigned char)b;
            pattern->lead_count++;
        }
    }
    free(pairs);
    return 1;
}

void TextPatternFree(TextPattern *pattern)
{
    free(pattern->keys);
    pattern->keys = nullptr;
    pattern->count = 0;
}

size_t TextPatternMatchAt(const TextPattern *pattern, const char *at, const char *end)
{
    const unsigned char *p = (const unsigned char *)at, *e = (const unsigned char *)end;
    for (size_t k = 0; k < pattern->count; k++) {
        uint32_t key;
        if (p >= e)
            return 0;
        p += FoldCharacter(p, e, &key);
        if (key != pattern->keys[k])
            return 0;
    }
    return (size_t)(p - (const unsigned char *)at);
}

const char *TextPatternFind(const TextPattern *pattern, const char *text, const char *end, size_t *length)
{
    if (pattern->count == 0)
        return nullptr;
    /* A place worth comparing: a first byte and a second byte a match can
     * begin with, on a character's start. */
    auto try_at = [&](const char *q) -> bool {
        const unsigned char *u = (const unsigned char *)q;
        if (q + 1 < end && !HasBit(pattern->second[u[0]], u[1]))
            return false;
        return IsCharacterStart(text, q, end) && (*length = TextPatternMatchAt(pattern, q, end)) != 0;
    };
    const char *p = text;
    if (pattern->lead_count <= kPatternLeads) {
        /* 64 bytes at a time; the second byte of the last may be the 65th. */
        for (; end - p > 64; p += 64) {
            for (uint64_t places = LeadMask(pattern, p); places; places &= places - 1) {
                const char *q = p + __builtin_ctzll(places);
                if (try_at(q))
                    return q;
            }
        }
    }
    for (; p < end; p++)
        if (pattern->can_start[(unsigned char)*p] && try_at(p))
            return p;
    return nullptr;
}
