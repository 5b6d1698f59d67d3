#include "codeconv.h"

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
