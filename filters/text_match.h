/*
 * Finding one text within another, both stored text (Shift_JIS with
 * "&#x...;" references, text/stored_text.h). Two ways:
 *
 *   - byte for byte, as keywords are matched against subjects;
 *   - the way a reader searches: characters compared whole (a match starts
 *     and ends on character boundaries, a reference counts as one
 *     character), with full-width letters, digits and ASCII signs taken as
 *     their ASCII forms, half-width katakana as full-width ones (a voiced
 *     or semi-voiced mark joined to its kana), and upper case as lower
 *     case (ASCII, full-width Latin, Greek, Cyrillic, accented Latin-1).
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers.
 */
#ifndef PELNOR_TEXT_MATCH_H
#define PELNOR_TEXT_MATCH_H

#include <stddef.h>
#include <stdint.h>

/* Whether `needle` occurs in `haystack`, byte for byte; an empty needle
 * always does. */
bool TextContains(const char *haystack, size_t haystack_length, const char *needle, size_t needle_length);

/* The character of stored text that begins at `p` (p < end), folded as
 * above, into *key; returns its length in bytes. A lead byte at the end
 * is a character of its own. */
size_t FoldCharacter(const unsigned char *p, const unsigned char *end, uint32_t *key);

/* Whether `at` begins a character of the text [start, end) (`start` does):
 * not the second byte of a pair, a voiced mark joined to its kana, nor
 * inside a reference. */
bool IsCharacterStart(const char *start, const char *at, const char *end);

enum { kPatternLeads = 8 };

/* A text compiled for folded searching: its characters' keys, and which
 * first two bytes a match can begin with. */
struct TextPattern {
    uint32_t *keys; /* owned */
    size_t count;
    /* The bytes a match can begin with; a byte outside them rules a place
     * out at once. More than kPatternLeads: every byte is looked at. */
    unsigned char leads[kPatternLeads];
    int lead_count;
    /* For each first byte, a bit per second byte that can follow it. */
    uint8_t can_start[256];
    uint8_t second[256][32];
};

/* Compiles `length` bytes of stored text. An empty text matches nowhere.
 * 1, or 0 with error 8. */
int TextPatternCompile(TextPattern *pattern, const char *stored, size_t length);
void TextPatternFree(TextPattern *pattern);

/* The first match in [text, end) that starts on a character boundary
 * (`text` begins a character), and its length in *length; null when there
 * is none. */
const char *TextPatternFind(const TextPattern *pattern, const char *text, const char *end, size_t *length);

/* The length of the match at `at` (a character start), or 0. */
size_t TextPatternMatchAt(const TextPattern *pattern, const char *at, const char *end);

#endif
