/*
 * ASCII case folding for protocol words (header names, MIME parameters,
 * charset names), which compare without regard to case whatever the
 * locale. Byte-level: no windows.h.
 */
#ifndef PELNOR_ASCII_CASE_H
#define PELNOR_ASCII_CASE_H

#include <stddef.h>

inline unsigned char AsciiLower(unsigned char c)
{
    return c >= 'A' && c <= 'Z' ? (unsigned char)(c + 32) : c;
}

/* Whether `length` bytes of `s` are the lowercase `word`, in any case. */
inline bool EqualsNoCase(const unsigned char *s, size_t length, const char *word)
{
    size_t i = 0;
    for (; i < length && word[i]; i++)
        if (AsciiLower(s[i]) != (unsigned char)word[i])
            return false;
    return i == length && word[i] == '\0';
}

inline bool EqualsNoCase(const char *s, size_t length, const char *word)
{
    return EqualsNoCase((const unsigned char *)s, length, word);
}

/* Whether `s` begins with the lowercase `word`, in any case. */
inline bool StartsNoCase(const unsigned char *s, size_t length, const char *word)
{
    size_t i = 0;
    for (; word[i]; i++)
        if (i >= length || AsciiLower(s[i]) != (unsigned char)word[i])
            return false;
    return true;
}

#endif
