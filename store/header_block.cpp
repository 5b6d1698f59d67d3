#include "header_block.h"

#include <stdlib.h>
#include <string.h>

#include "text/byte_error.h"

namespace {

bool StartsWith(const char *line, size_t length, const char *name, size_t name_length)
{
    return length >= name_length && memcmp(line, name, name_length) == 0;
}

/* The number of an "X-Local-Seq:" line: blanks after the name are skipped,
 * then decimal digits up to a NUL, blank, CR or the end of the line. Any
 * other byte, or a number beyond 32 bits, gives kNoHeaderLine. */
uint32_t ParseSequence(const char *text, size_t length)
{
    size_t i = 0;
    while (i < length && text[i] == ' ')
        i++;
    uint64_t value = 0;
    for (; i < length; i++) {
        char c = text[i];
        if (c == '\0' || c == ' ' || c == '\r')
            break;
        if (c < '0' || c > '9')
            return kNoHeaderLine;
        value = value * 10 + (uint64_t)(c - '0');
        if (value > 0xFFFFFFFFu)
            return kNoHeaderLine;
    }
    return (uint32_t)value;
}

/* Grows the buffer by 2048-byte steps until `length` more bytes and a NUL
 * fit after the write position. */
int MakeRoom(HeaderBlock *block, size_t length)
{
    size_t used = HeaderBlockSize(block);
    size_t capacity = block->capacity;
    while (used + length >= capacity)
        capacity += kHeaderBlockStep;
    if (capacity == block->capacity)
        return 1;
    if (capacity > 0xFFFFFFFFu) {
        SetByteError(kErrorNotEnoughMemory);
        return 0;
    }
    char *grown = (char *)realloc(block->buffer, capacity);
    if (!grown) {
        SetByteError(kErrorNotEnoughMemory);
        return 0;
    }
    block->buffer = grown;
    block->buffer_end = grown + capacity;
    block->write_position = grown + used;
    block->capacity = (uint32_t)capacity;
    return 1;
}

void Append(HeaderBlock *block, const char *text, size_t length)
{
    memcpy(block->write_position, text, length);
    block->write_position[length] = '\0';
    block->write_position += length;
}

} // namespace

void HeaderBlockInit(HeaderBlock *block)
{
    memset(block, 0, sizeof *block);
    block->subject_line = kNoHeaderLine;
    block->from_line = kNoHeaderLine;
    block->date_line = kNoHeaderLine;
    block->sequence = kNoHeaderLine;
    block->newsgroup_line = kNoHeaderLine;
}

int HeaderBlockPrepare(HeaderBlock *block)
{
    if (!block->buffer) {
        block->buffer = (char *)malloc(kHeaderBlockStep);
        if (!block->buffer) {
            SetByteError(kErrorNotEnoughMemory);
            return 0;
        }
        block->capacity = kHeaderBlockStep;
        block->buffer_end = block->buffer + kHeaderBlockStep;
    }
    block->write_position = block->buffer;
    block->buffer[0] = '\0';
    block->subject_line = kNoHeaderLine;
    block->from_line = kNoHeaderLine;
    block->date_line = kNoHeaderLine;
    block->sequence = kNoHeaderLine;
    block->newsgroup_line = kNoHeaderLine;
    block->subject_length = 0;
    block->newsgroup_length = 0;
    block->in_subject = 0;
    block->in_newsgroup = 0;
    block->joined = 0;
    return 1;
}

void HeaderBlockFree(HeaderBlock *block)
{
    free(block->buffer);
    HeaderBlockInit(block);
}

int HeaderBlockAddLine(HeaderBlock *block, const char *line, size_t length)
{
    if (!block->buffer && !HeaderBlockPrepare(block))
        return 0;
    if (!MakeRoom(block, length))
        return 0;
    block->in_subject = 0;
    block->in_newsgroup = 0;
    uint32_t offset = (uint32_t)HeaderBlockSize(block);
    if (StartsWith(line, length, "Subject: ", 9)) {
        block->subject_line = offset;
        block->subject_length = (uint32_t)length;
        block->in_subject = 1;
    } else if (StartsWith(line, length, "Newsgroup: ", 11)) {
        block->newsgroup_line = offset;
        block->newsgroup_length = (uint32_t)length;
        block->in_newsgroup = 1;
    } else if (StartsWith(line, length, "X-Local-Seq:", 12)) {
        block->sequence = ParseSequence(line + 12, length - 12);
    } else if (StartsWith(line, length, "Date:", 5)) {
        block->date_line = offset;
    } else if (StartsWith(line, length, "From:", 5)) {
        block->from_line = offset;
    }
    Append(block, line, length);
    return 1;
}

int HeaderBlockAddContinuation(HeaderBlock *block, const char *line, size_t length)
{
    if (!block->buffer && !HeaderBlockPrepare(block))
        return 0;
    while (length > 0 && (*line == ' ' || *line == '\t')) {
        line++;
        length--;
    }
    if (!MakeRoom(block, length))
        return 0;
    if (HeaderBlockSize(block) > 2)
        block->write_position -= 2; /* over the previous line's CR LF */
    Append(block, line, length);
    block->joined = 1;
    if (block->in_subject)
        block->subject_length += (uint32_t)length - 2;
    else if (block->in_newsgroup)
        block->newsgroup_length += (uint32_t)length - 2;
    return 1;
}

int HeaderBlockAdd(HeaderBlock *block, const char *line)
{
    size_t length = strlen(line);
    if (line[0] == ' ' || line[0] == '\t')
        return HeaderBlockAddContinuation(block, line, length);
    return HeaderBlockAddLine(block, line, length);
}
