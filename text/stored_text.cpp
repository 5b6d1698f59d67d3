#include "stored_text.h"

#include <stdlib.h>
#include <string.h>

#include "byte_error.h"
#include "charset_tables.h"
#include "codeconv.h"

namespace {

const unsigned long kReplacement = 0xFFFD;
const size_t kInitialSize = 256;
/* "&#x10FFFF;" */
const size_t kLongestReference = 10;

bool IsSurrogate(unsigned long c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}

/* CP932 bytes of a code point above 0x7F: one byte (below 0x100), a pair
 * (lead << 8 | trail), or 0 when CP932 has no such character. */
unsigned Cp932Encode(unsigned long c)
{
    return c > 0xFFFF ? 0 : FindSorted(kCp932EncodeKeys, kCp932EncodeValues, kCp932EncodeCount, c);
}

int PutByte(StoredBuffer *out, char c)
{
    return StoredBufferAppend(out, &c, 1);
}

int PutReference(StoredBuffer *out, unsigned long c)
{
    char text[16] = "&#x";
    char digits[8];
    size_t count = 0;
    do {
        digits[count++] = "0123456789ABCDEF"[c & 0xF];
        c >>= 4;
    } while (c);
    if (count < 2)
        digits[count++] = '0';
    size_t length = 3;
    while (count)
        text[length++] = digits[--count];
    text[length++] = ';';
    return StoredBufferAppend(out, text, length);
}

/* The character written without looking at what is held. */
int PutPlain(StoredBuffer *out, unsigned long c)
{
    if (c == 0 || IsSurrogate(c) || c > 0x10FFFF)
        c = kReplacement;
    if (c < 0x80)
        return PutByte(out, (char)c);
    unsigned bytes = Cp932Encode(c);
    if (!bytes)
        return PutReference(out, c);
    if (bytes < 0x100)
        return PutByte(out, (char)bytes);
    char pair[2] = {(char)(bytes >> 8), (char)(bytes & 0xFF)};
    return StoredBufferAppend(out, pair, 2);
}

unsigned HexValue(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return 16;
}

/* The length of the reference at `s` (which starts "&#x") and its code
 * point, or 0 when the bytes there are not a reference this writer makes. */
size_t MatchReference(const unsigned char *s, size_t length, unsigned long *code_point)
{
    size_t at = 3;
    unsigned long value = 0;
    while (at < length && at < kLongestReference && HexValue(s[at]) < 16)
        value = value * 16 + HexValue(s[at++]);
    size_t digits = at - 3;
    if (digits < 2 || at >= length || s[at] != ';')
        return 0;
    if (digits > 2 && s[3] == '0')
        return 0;
    if (value > 0x10FFFF || IsSurrogate(value))
        return 0;
    if (value != '&' && IsStorableCodePoint(value))
        return 0;
    *code_point = value;
    return at + 1;
}

} // namespace

void StoredBufferInit(StoredBuffer *buffer)
{
    buffer->data = nullptr;
    buffer->used = 0;
    buffer->size = 0;
}

void StoredBufferRelease(StoredBuffer *buffer)
{
    free(buffer->data);
    StoredBufferInit(buffer);
}

void StoredBufferClear(StoredBuffer *buffer)
{
    buffer->used = 0;
    if (buffer->data)
        buffer->data[0] = '\0';
}

int StoredBufferAppend(StoredBuffer *buffer, const char *bytes, size_t length)
{
    if (length + 1 > buffer->size - buffer->used || !buffer->data) {
        size_t size = buffer->size ? buffer->size : kInitialSize;
        while (size - buffer->used < length + 1) {
            if (size > (size_t)-1 / 2) {
                SetByteError(kErrorNotEnoughMemory);
                return 0;
            }
            size *= 2;
        }
        char *larger = (char *)realloc(buffer->data, size);
        if (!larger) {
            SetByteError(kErrorNotEnoughMemory);
            return 0;
        }
        buffer->data = larger;
        buffer->size = size;
    }
    if (length)
        memcpy(buffer->data + buffer->used, bytes, length);
    buffer->used += length;
    buffer->data[buffer->used] = '\0';
    return 1;
}

void StoredWriterInit(StoredWriter *writer, StoredBuffer *out)
{
    writer->out = out;
    writer->held = 0;
}

int StoredWriterFlush(StoredWriter *writer)
{
    int held = writer->held;
    writer->held = 0;
    return StoredBufferAppend(writer->out, "&#", (size_t)held);
}

int StoredWriterPut(StoredWriter *writer, unsigned long c)
{
    if (writer->held == 1 && c == '#') {
        writer->held = 2;
        return 1;
    }
    if (writer->held == 2 && c == 'x') {
        /* The sender's "&#x": its '&' as a reference. */
        writer->held = 0;
        return StoredBufferAppend(writer->out, "&#x26;#x", 8);
    }
    if (!StoredWriterFlush(writer))
        return 0;
    if (c == '&') {
        writer->held = 1;
        return 1;
    }
    return PutPlain(writer->out, c);
}

int StoredWriterPutPair(StoredWriter *writer, unsigned char lead, unsigned char trail)
{
    if (!StoredWriterFlush(writer))
        return 0;
    char pair[2] = {(char)lead, (char)trail};
    return StoredBufferAppend(writer->out, pair, 2);
}

bool IsStorableCodePoint(unsigned long c)
{
    if (c == 0 || IsSurrogate(c) || c > 0x10FFFF)
        return false;
    return c < 0x80 || Cp932Encode(c) != 0;
}

int Utf16ToStored(StoredBuffer *out, const char16_t *text, size_t length)
{
    StoredWriter writer;
    StoredWriterInit(&writer, out);
    for (size_t i = 0; i < length; i++) {
        unsigned long c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < length && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            i++;
        }
        if (!StoredWriterPut(&writer, c))
            return 0;
    }
    return StoredWriterFlush(&writer);
}

size_t StoredToUtf16(const char *stored, size_t length, char16_t *dst)
{
    const unsigned char *s = (const unsigned char *)stored;
    size_t units = 0;
    size_t at = 0;
    while (at < length && s[at]) {
        unsigned char c = s[at];
        unsigned long code_point;
        size_t reference;
        if (c == '&' && length - at >= 3 && s[at + 1] == '#' && s[at + 2] == 'x' &&
            (reference = MatchReference(s + at, length - at, &code_point)) != 0) {
            if (code_point >= 0x10000) {
                code_point -= 0x10000;
                dst[units++] = (char16_t)(0xD800 + (code_point >> 10));
                dst[units++] = (char16_t)(0xDC00 + (code_point & 0x3FF));
            } else {
                dst[units++] = (char16_t)code_point;
            }
            at += reference;
        } else if (c < 0x80) {
            dst[units++] = c;
            at++;
        } else if (IsSjisLeadByte(c) && at + 1 < length && IsCp932TrailByte(s[at + 1])) {
            uint16_t u = Cp932Pair(c, s[at + 1]);
            dst[units++] = u ? u : (char16_t)kReplacement;
            at += 2;
        } else {
            uint16_t u = kCp932Singles[c - 0x80];
            dst[units++] = u ? u : (char16_t)kReplacement;
            at++;
        }
    }
    return units;
}

size_t StoredReferenceLength(const char *text)
{
    const unsigned char *s = (const unsigned char *)text;
    if (s[0] != '&' || s[1] != '#' || s[2] != 'x')
        return 0;
    unsigned long code_point;
    return MatchReference(s, strnlen(text, kLongestReference), &code_point);
}

size_t StoredReferenceAt(const char *text, size_t available, unsigned long *code_point)
{
    const unsigned char *s = (const unsigned char *)text;
    if (available < 3 || s[0] != '&' || s[1] != '#' || s[2] != 'x')
        return 0;
    return MatchReference(s, available, code_point);
}

size_t StoredCutLength(const char *text, size_t limit)
{
    const unsigned char *s = (const unsigned char *)text;
    size_t length = 0;
    while (length < limit && s[length]) {
        size_t step = 1;
        unsigned long code_point;
        if (IsSjisLeadByte(s[length]) && s[length + 1]) {
            step = 2;
        } else if (s[length] == '&' && s[length + 1] == '#' && s[length + 2] == 'x') {
            size_t available = strnlen(text + length, kLongestReference);
            size_t reference = MatchReference(s + length, available, &code_point);
            if (reference)
                step = reference;
        }
        if (length + step > limit)
            break;
        length += step;
    }
    return length;
}

bool IsWellFormedStoredText(const char *text, size_t length)
{
    const unsigned char *s = (const unsigned char *)text;
    for (size_t at = 0; at < length;) {
        unsigned long code_point;
        if (s[at] == 0)
            return false;
        if (IsSjisLeadByte(s[at])) {
            if (at + 1 >= length || !IsCp932TrailByte(s[at + 1]))
                return false;
            at += 2;
        } else if (s[at] == '&' && length - at >= 3 && s[at + 1] == '#' && s[at + 2] == 'x') {
            size_t reference = MatchReference(s + at, length - at, &code_point);
            if (!reference)
                return false;
            at += reference;
        } else {
            at++;
        }
    }
    return true;
}
