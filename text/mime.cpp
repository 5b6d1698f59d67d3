#include "mime.h"

namespace {

/* What follows "=?" in the two spellings of the opening that are decoded;
 * no other mix of case is. */
const char kCharsetLower[] = "iso-2022-jp?B?";
const char kCharsetUpper[] = "ISO-2022-JP?B?";
const size_t kOpeningLength = 16; /* "=?" and the fourteen bytes above */

/* The value of every byte outside the alphabet, "=" included. */
const unsigned kNotBase64 = 64;

unsigned Base64Value(unsigned char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return kNotBase64;
}

/* Compares byte by byte and stops at the first difference, so it never
 * reads past a NUL in `s`. */
bool StartsWith(const unsigned char *s, const char *prefix)
{
    for (; *prefix; s++, prefix++) {
        if (*s != (unsigned char)*prefix)
            return false;
    }
    return true;
}

bool EndsBase64(unsigned char c)
{
    return c == '?' || c == '\0';
}

/* Decodes groups of four characters from `s` to *out until a group would
 * start at "?" or NUL, and returns that position. A group cut short by "?"
 * or NUL stops there; its missing characters count as padding. Every group
 * is read before it is written, so *out may trail `s` in the same buffer. */
const unsigned char *DecodeGroups(const unsigned char *s, unsigned char **out)
{
    unsigned char *d = *out;

    while (!EndsBase64(*s)) {
        unsigned value[4];
        size_t taken = 0;
        while (taken < 4 && !EndsBase64(s[taken])) {
            value[taken] = Base64Value(s[taken]);
            taken++;
        }
        for (size_t i = taken; i < 4; i++)
            value[i] = kNotBase64;
        s += taken;

        *d++ = (unsigned char)(value[0] * 4 + value[1] / 16);
        if (value[2] == kNotBase64)
            continue;
        *d++ = (unsigned char)((value[1] % 16) * 16 + value[2] / 4);
        if (value[3] == kNotBase64)
            continue;
        *d++ = (unsigned char)((value[2] % 4) * 64 + value[3]);
    }
    *out = d;
    return s;
}

} // namespace

void DecodeEncodedWords(char *dst, const char *src)
{
    const unsigned char *s = (const unsigned char *)src;
    unsigned char *d = (unsigned char *)dst;

    while (*s) {
        if (s[0] != '=' || s[1] != '?') {
            *d++ = *s++;
            continue;
        }
        if (!StartsWith(s + 2, kCharsetLower) && !StartsWith(s + 2, kCharsetUpper)) {
            *d++ = *s++;
            *d++ = *s++;
            continue;
        }
        s = DecodeGroups(s + kOpeningLength, &d);
        if (*s == '\0')
            break;
        if (s[0] == '?' && s[1] == '=') {
            s += 2;
            continue;
        }
        break; /* no closing: the rest of the line is dropped */
    }
    *d = '\0';
}
