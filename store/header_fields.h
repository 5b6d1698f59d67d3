/*
 * The three header texts an index record carries, cut from the stored
 * header lines: the subject (47 bytes), the date as "MMDD" and the sender's
 * display name (15 bytes). Text is Shift_JIS: a lead byte is kept only
 * together with its trail byte.
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers
 * and the fuzzer. Every input is NUL-terminated; a line also ends at CR or
 * LF.
 */
#ifndef PELNOR_HEADER_FIELDS_H
#define PELNOR_HEADER_FIELDS_H

#include <stddef.h>

enum {
    kSubjectFieldSize = 48, /* 47 bytes and a NUL */
    kDateFieldSize = 4,     /* four digits, no NUL */
    kFromFieldSize = 16,    /* 15 bytes and a NUL */
};

/* Bytes of `text` to keep within `limit`: up to a CR, LF or NUL, never
 * ending between a lead byte and its trail byte or inside a reference. */
size_t FieldCutLength(const char *text, size_t limit);

/* The subject field from the text after "Subject: ", NUL-padded; `text`
 * null gives "(none)" (no subject line). */
void SubjectField(const char *text, char field[kSubjectFieldSize]);

/* "MMDD" from a "Date:" line (its text after the first six bytes): the
 * first digits are the day, the three bytes after the byte that follows
 * them the English month abbreviation. "0000" when either is missing, and
 * for a null line. */
void DateField(const char *line, char field[kDateFieldSize]);

/* The sender's name from a "From:" line (its text after the first six
 * bytes), NUL-padded: the name before "<address>" (quotes dropped), the
 * comment in "address (name)", else the whole text. "(Unknown)" when empty
 * and for a null line. */
void FromField(const char *line, char field[kFromFieldSize]);

/* Bytes of reply prefixes at the start of a subject of `length` bytes:
 * "Re:" in any case, each with the blanks after it ("Re: Re: x" gives 8). */
size_t SkipReplyPrefixes(const char *subject, size_t length);

#endif
