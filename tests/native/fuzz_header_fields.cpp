/*
 * Fuzzes the header block and the index fields cut from it: the input is
 * taken as stored header lines (CR LF ends a line, a leading blank or tab
 * makes a continuation), and also handed straight to the field cutters.
 * Every buffer is exactly as large as the text, so AddressSanitizer sees a
 * read past a line's NUL.
 */
#include "fuzz_text.h"
#include "store/header_block.h"
#include "store/header_fields.h"
#include "text/stored_text.h"

namespace {

bool EndsLine(char c)
{
    return c == '\0' || c == '\r' || c == '\n';
}

/* A field of `size` bytes holds a NUL-padded text of at most size - 1
 * bytes, without line ends, in which every lead byte has its trail byte. */
size_t CheckTextField(const char *field, size_t size)
{
    size_t length = strnlen(field, size);
    CHECK(length < size);
    for (size_t i = length; i < size; i++)
        CHECK(field[i] == '\0');
    CHECK(!memchr(field, '\r', length) && !memchr(field, '\n', length));
    CHECK(EndsOnBoundary(field, length));
    return length;
}

/* "0000", or a month 01-12 and a day of two digits. */
void CheckDate(const char *line)
{
    char field[kDateFieldSize];
    DateField(line, field);
    if (memcmp(field, "0000", 4) == 0)
        return;
    for (int i = 0; i < 4; i++)
        CHECK(field[i] >= '0' && field[i] <= '9');
    int month = (field[0] - '0') * 10 + (field[1] - '0');
    CHECK(month >= 1 && month <= 12);
}

/* The subject cut is a prefix of the text, ending on a character boundary
 * and before any line end. */
void CheckSubject(const char *text)
{
    char field[kSubjectFieldSize];
    SubjectField(text, field);
    size_t length = CheckTextField(field, sizeof field);
    CHECK(length <= 47);
    CHECK(memcmp(field, text, length) == 0);
    /* Stopped early only at a line end, at 47 bytes, before a lead byte
     * whose pair would not fit or is cut by the line end, or before a
     * reference that would not fit. */
    size_t reference = StoredReferenceLength(text + length);
    if (length < 47 && !EndsLine(text[length]))
        CHECK((IsSjisLeadByte((unsigned char)text[length]) && (length + 1 >= 47 || EndsLine(text[length + 1]))) ||
              (reference != 0 && length + reference > 47));
    /* ...and never inside a reference. */
    for (size_t i = 0; i < length; i++)
        CHECK(i + StoredReferenceLength(text + i) <= length);
}

void CheckFrom(const char *line)
{
    char field[kFromFieldSize];
    FromField(line, field);
    size_t length = CheckTextField(field, sizeof field);
    CHECK(length >= 1 && length <= 15);
}

void CheckBlock(const char *text, size_t length)
{
    HeaderBlock block;
    HeaderBlockInit(&block);
    CHECK(HeaderBlockPrepare(&block));
    /* Lines end after CR LF (the input holds no NUL); the last may not. */
    bool all_ended = length == 0 || (length >= 2 && memcmp(text + length - 2, "\r\n", 2) == 0);
    for (size_t start = 0, end; start < length; start = end) {
        const char *crlf = strstr(text + start, "\r\n");
        end = crlf ? (size_t)(crlf - text) + 2 : length;
        size_t line_length = end - start;
        char *line = (char *)malloc(line_length + 1);
        CHECK(line);
        memcpy(line, text + start, line_length);
        line[line_length] = '\0';
        size_t before = HeaderBlockSize(&block);
        CHECK(HeaderBlockAdd(&block, line));
        size_t after = HeaderBlockSize(&block);
        /* A continuation replaces the CR LF before it, less its blanks. */
        if (line[0] == ' ' || line[0] == '\t')
            CHECK(after == (before > 2 ? before - 2 : before) + (line_length - strspn(line, " \t")));
        else
            CHECK(after == before + line_length);
        free(line);
    }
    size_t size = HeaderBlockSize(&block);
    CHECK(block.buffer[size] == '\0');
    CHECK(block.capacity % kHeaderBlockStep == 0 && size < block.capacity);
    CHECK(block.buffer_end == block.buffer + block.capacity);
    if (block.subject_line != kNoHeaderLine) {
        CHECK(block.subject_line < size);
        CHECK(memcmp(block.buffer + block.subject_line, "Subject: ", 9) == 0);
        if (all_ended)
            CHECK(block.subject_line + block.subject_length <= size);
        CheckSubject(block.buffer + block.subject_line + 9);
    }
    if (block.date_line != kNoHeaderLine) {
        CHECK(block.date_line < size);
        CheckDate(block.buffer + block.date_line);
    }
    if (block.from_line != kNoHeaderLine) {
        CHECK(block.from_line < size);
        CheckFrom(block.buffer + block.from_line);
    }
    if (block.newsgroup_line != kNoHeaderLine && all_ended)
        CHECK(block.newsgroup_line + block.newsgroup_length <= size);
    HeaderBlockFree(&block);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    size_t length;
    char *text = FuzzText(data, size, &length);
    CheckSubject(text);
    CheckDate(text);
    CheckFrom(text);
    CheckBlock(text, length);
    free(text);
    return 0;
}
