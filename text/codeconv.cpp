#include "codeconv.h"

#include <stdlib.h>
#include <string.h>

#include "byte_error.h"

namespace {

const unsigned char kEsc = 0x1B;

enum JisMode { kSingleByte, kTwoByte, kKatakana };

bool IsJisByte(unsigned char c)
{
    return c >= 0x21 && c <= 0x7E;
}

bool IsEucByte(unsigned char c)
{
    return c >= 0xA1 && c <= 0xFE;
}

/* Recognises an escape at `s` (which starts with ESC). Returns its length
 * and sets the new mode, or 0 for an escape this reader does not know. */
size_t MatchEscape(const unsigned char *s, JisMode *mode)
{
    if (s[1] == '$') {
        if (s[2] == 'B' || s[2] == '@') {
            *mode = kTwoByte;
            return 3;
        }
    } else if (s[1] == '(') {
        if (s[2] == 'B' || s[2] == 'J' || s[2] == 'H') {
            *mode = kSingleByte;
            return 3;
        }
        if (s[2] == 'I') {
            *mode = kKatakana;
            return 3;
        }
    } else if (s[1] == 'K') {
        *mode = kTwoByte;
        return 2;
    } else if (s[1] == 'H') {
        *mode = kSingleByte;
        return 2;
    }
    return 0;
}

/* Growing output of SjisToJis: starts at 256 bytes, grows by 64. */
struct JisBuffer {
    unsigned char *data;
    size_t size;
    size_t used;
};

const size_t kJisInitialSize = 256;
const size_t kJisGrowth = 64;

/* Makes room for `count` more bytes (count is at most a few bytes). */
int JisBufferReserve(JisBuffer *buffer, size_t count)
{
    while (buffer->used + count > buffer->size) {
        unsigned char *larger = (unsigned char *)malloc(buffer->size + kJisGrowth);
        if (!larger)
            return 0;
        memcpy(larger, buffer->data, buffer->used);
        free(buffer->data);
        buffer->data = larger;
        buffer->size += kJisGrowth;
    }
    return 1;
}

void JisBufferPut(JisBuffer *buffer, unsigned char c)
{
    buffer->data[buffer->used++] = c;
}

void JisBufferPutEscape(JisBuffer *buffer, unsigned char second, unsigned char third)
{
    JisBufferPut(buffer, kEsc);
    JisBufferPut(buffer, second);
    JisBufferPut(buffer, third);
}

} // namespace

void JisPairToSjis(unsigned char j1, unsigned char j2, unsigned char *s1, unsigned char *s2)
{
    if (j1 & 1)
        j2 = (unsigned char)(j2 + (j2 < 0x60 ? 0x1F : 0x20));
    else
        j2 = (unsigned char)(j2 + 0x7E);
    if (j1 < 0x5F)
        j1 = (unsigned char)((j1 + 0xE1) / 2);
    else
        j1 = (unsigned char)((j1 + 0x161) / 2);
    *s1 = j1;
    *s2 = j2;
}

void SjisPairToJis(unsigned char s1, unsigned char s2, unsigned char *j1, unsigned char *j2)
{
    unsigned int row = s1 <= 0x9F ? 2u * (s1 - 0x70u) : 2u * (s1 - 0xB0u);
    if (s2 < 0x9F)
        row -= 1;
    unsigned int cell;
    if (s2 < 0x7F)
        cell = s2 - 0x1Fu;
    else if (s2 < 0x9F)
        cell = s2 - 0x20u;
    else
        cell = s2 - 0x7Eu;
    *j1 = (unsigned char)(row & 0xFF);
    *j2 = (unsigned char)(cell & 0xFF);
}

size_t JisPartToSjis(const char *src, char *dst, JisLineState *state, int last)
{
    const unsigned char *s = (const unsigned char *)src;
    unsigned char *d = (unsigned char *)dst;
    JisMode mode = (JisMode)state->mode;

    while (*s) {
        if (!last) {
            /* Bytes the next part completes wait for it. */
            if (*s == kEsc && (s[1] == 0 || s[2] == 0))
                break;
            if (mode == kTwoByte && (IsJisByte(s[0]) || IsEucByte(s[0])) && s[1] == 0)
                break;
        }
        if (*s == kEsc) {
            size_t length = MatchEscape(s, &mode);
            if (length) {
                s += length;
                continue;
            }
            /* An unknown escape is an ordinary byte of the current mode. */
        }
        if (mode == kSingleByte) {
            *d++ = *s++;
        } else if (mode == kKatakana) {
            *d++ = (unsigned char)(*s++ | 0x80);
        } else if (IsJisByte(s[0]) || IsEucByte(s[0])) {
            unsigned char first = s[0];
            unsigned char second = s[1];
            bool euc = IsEucByte(first);
            bool paired = euc ? IsEucByte(second) : IsJisByte(second);
            if (paired) {
                JisPairToSjis(first & 0x7F, second & 0x7F, &d[0], &d[1]);
                d += 2;
                s += 2;
            } else {
                *d++ = first;
                s++;
                if (second == 0)
                    break;
                *d++ = second;
                s++;
            }
        } else {
            /* Blanks, line ends and control bytes stand alone. */
            *d++ = *s++;
        }
    }
    *d = '\0';
    state->mode = mode;
    return (size_t)((const char *)s - src);
}

void JisLineToSjis(const char *src, char *dst)
{
    JisLineState state = {kSingleByte};
    JisPartToSjis(src, dst, &state, 1);
}

char *SjisToJis(const char *text)
{
    const unsigned char *s = (const unsigned char *)text;
    JisBuffer buffer = {(unsigned char *)malloc(kJisInitialSize), kJisInitialSize, 0};
    bool two_byte = false;

    if (!buffer.data) {
        SetByteError(kErrorNotEnoughMemory);
        return nullptr;
    }
    while (*s) {
        /* The most one step writes: an escape and a pair. */
        if (!JisBufferReserve(&buffer, 5)) {
            free(buffer.data);
            SetByteError(kErrorNotEnoughMemory);
            return nullptr;
        }
        if (IsSjisLeadByte(*s)) {
            if (!two_byte) {
                JisBufferPutEscape(&buffer, '$', 'B');
                two_byte = true;
            }
            unsigned char lead = s[0];
            unsigned char trail = s[1];
            if (trail < 0x40 || trail > 0xFC || trail == 0x7F) {
                JisBufferPut(&buffer, lead);
                if (trail == 0)
                    break; /* a lead byte cut off by the end of the text */
                JisBufferPut(&buffer, trail);
            } else {
                unsigned char j1, j2;
                SjisPairToJis(lead, trail, &j1, &j2);
                JisBufferPut(&buffer, j1);
                JisBufferPut(&buffer, j2);
            }
            s += 2;
        } else {
            if (two_byte) {
                JisBufferPutEscape(&buffer, '(', 'B');
                two_byte = false;
            }
            JisBufferPut(&buffer, *s++);
        }
    }
    if (!JisBufferReserve(&buffer, 4)) {
        free(buffer.data);
        SetByteError(kErrorNotEnoughMemory);
        return nullptr;
    }
    JisBufferPutEscape(&buffer, '(', 'B');
    JisBufferPut(&buffer, '\0');
    return (char *)buffer.data;
}

size_t SjisCutLength(const char *text, size_t limit)
{
    const unsigned char *s = (const unsigned char *)text;
    size_t length = 0;

    while (length < limit && s[length]) {
        if (IsSjisLeadByte(s[length]) && s[length + 1]) {
            if (length + 2 > limit)
                break;
            length += 2;
        } else {
            length += 1;
        }
    }
    return length;
}
