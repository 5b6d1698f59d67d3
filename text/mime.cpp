#include "mime.h"

#include <stdlib.h>
#include <string.h>

#include "byte_error.h"

namespace {

const unsigned char kEsc = 0x1B;

const char kBase64Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/* What follows "=?" in the two spellings of the opening that are decoded;
 * no other mix of case is. */
const char kCharsetLower[] = "iso-2022-jp?B?";
const char kCharsetUpper[] = "ISO-2022-JP?B?";
const size_t kOpeningLength = 16; /* "=?" and the fourteen bytes above */

/* The opening and closing the encoder writes. */
const char kWordOpening[] = "=?iso-2022-jp?B?";
const char kWordClosing[] = "?=";

/* The value of every byte outside the alphabet, "=" included. */
const unsigned kNotBase64 = 64;

/* A raw piece plus its next token plus three bytes stays below this; the
 * piece, a closing escape and a NUL always fit in as many bytes. */
const size_t kPieceLimit = 26;

static_assert(sizeof(kWordOpening) - 1 + Base64EncodedSize(kPieceLimit - 1) - 1 + sizeof(kWordClosing) <=
                  kEncodedWordSize,
              "the longest word fits its buffer");


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

enum TokenKind { kNoToken, kSingleToken, kPairToken, kEscapeToken };

struct Token {
    TokenKind kind;
    size_t length;
};

/* The token at `s` (not at the NUL): a three-byte escape ending in "B", a
 * pair in two-byte mode (one byte when the text ends after it), otherwise
 * one byte. */
Token NextToken(const unsigned char *s, bool two_byte)
{
    if (s[0] == kEsc && s[1] != '\0' && s[2] == 'B')
        return {kEscapeToken, 3};
    if (two_byte)
        return {kPairToken, s[1] != '\0' ? 2u : 1u};
    return {kSingleToken, 1};
}

void PutEscape(unsigned char *piece, size_t *length, unsigned char second)
{
    piece[(*length)++] = kEsc;
    piece[(*length)++] = second;
    piece[(*length)++] = 'B';
}

/* Cuts the next raw piece from *text and moves past it. *two_byte is the
 * mode left by the previous piece and becomes the mode this one leaves.
 * The piece starts and ends in single-byte mode and is NUL-terminated. */
size_t CutPiece(const unsigned char **text, bool *two_byte, unsigned char piece[kPieceLimit])
{
    const unsigned char *s = *text;
    size_t length = 0;
    Token last = {kNoToken, 0};

    if (*two_byte) {
        Token first = NextToken(s, true);
        if (first.kind == kPairToken) {
            PutEscape(piece, &length, '$');
        } else {
            /* The previous piece has already gone back to single bytes. */
            s += first.length;
            *two_byte = false;
        }
    }
    while (*s) {
        Token token = NextToken(s, *two_byte);
        if (length + token.length + 3 >= kPieceLimit)
            break;
        if (token.kind == kEscapeToken) {
            if (s[1] == '$')
                *two_byte = true;
            else if (s[1] == '(')
                *two_byte = false;
        }
        memcpy(piece + length, s, token.length);
        length += token.length;
        s += token.length;
        last = token;
    }
    if (last.kind == kPairToken)
        PutEscape(piece, &length, '(');
    else if (last.kind == kEscapeToken && piece[length - 2] == '$')
        length -= 3; /* the next piece opens two-byte mode itself */
    piece[length] = '\0';
    *text = s;
    return length;
}

} // namespace

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

int EncodeAsWords(EncodedWord **list, const char *text)
{
    EncodedWord **tail = list;
    const unsigned char *s = (const unsigned char *)text;
    bool two_byte = false;

    while (*tail)
        tail = &(*tail)->next;
    while (*s) {
        unsigned char piece[kPieceLimit];
        size_t length = CutPiece(&s, &two_byte, piece);

        EncodedWord *word = (EncodedWord *)malloc(sizeof(EncodedWord));
        if (!word) {
            SetByteError(kErrorNotEnoughMemory);
            return 0;
        }
        word->next = nullptr;
        word->text[0] = '\0';
        if (length) {
            const size_t base64_at = sizeof(kWordOpening) - 1;
            memcpy(word->text, kWordOpening, base64_at);
            Base64Encode((const char *)piece, word->text + base64_at);
            strcat(word->text, kWordClosing);
        }
        *tail = word;
        tail = &word->next;
    }
    return 1;
}

void ReleaseWordList(EncodedWord *list)
{
    while (list) {
        EncodedWord *next = list->next;
        free(list);
        list = next;
    }
}

void Base64Encode(const char *src, char *dst)
{
    const unsigned char *s = (const unsigned char *)src;

    while (s[0]) {
        unsigned b0 = s[0];
        unsigned b1 = s[1];
        unsigned b2 = b1 ? s[2] : 0;
        *dst++ = kBase64Alphabet[b0 >> 2];
        *dst++ = kBase64Alphabet[((b0 & 0x03) << 4) | (b1 >> 4)];
        if (!b1) {
            *dst++ = '=';
            *dst++ = '=';
            break;
        }
        *dst++ = kBase64Alphabet[((b1 & 0x0F) << 2) | (b2 >> 6)];
        if (!b2) {
            *dst++ = '=';
            break;
        }
        *dst++ = kBase64Alphabet[b2 & 0x3F];
        s += 3;
    }
    *dst = '\0';
}
