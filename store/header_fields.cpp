#include "header_fields.h"

#include <string.h>

#include "text/codeconv.h"
#include "text/stored_text.h"

namespace {

bool EndsLine(char c)
{
    return c == '\0' || c == '\r' || c == '\n';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/* The text of a header line after its first six bytes ("Date: ",
 * "From: "), never past the line's NUL. */
const char *TextAfterName(const char *line)
{
    for (int i = 0; i < 6 && *line; i++)
        line++;
    return line;
}

void SetText(char *field, size_t size, const char *text, size_t length)
{
    memset(field, 0, size);
    memcpy(field, text, length);
}

} // namespace

size_t FieldCutLength(const char *text, size_t limit)
{
    size_t i = 0;
    while (i < limit && !EndsLine(text[i])) {
        size_t reference;
        if (IsSjisLeadByte((unsigned char)text[i])) {
            if (i + 1 >= limit || EndsLine(text[i + 1]))
                break; /* a lead byte goes only with its trail byte */
            i += 2;
        } else if ((reference = StoredReferenceLength(text + i)) != 0) {
            /* A character kept as a reference is cut whole or not at all. */
            if (i + reference > limit)
                break;
            i += reference;
        } else {
            i++;
        }
    }
    return i;
}

void SubjectField(const char *text, char field[kSubjectFieldSize])
{
    if (!text) {
        SetText(field, kSubjectFieldSize, "(none)", 6);
        return;
    }
    SetText(field, kSubjectFieldSize, text, FieldCutLength(text, kSubjectFieldSize - 1));
}

void DateField(const char *line, char field[kDateFieldSize])
{
    static const char kMonths[12][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                        "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    memcpy(field, "0000", kDateFieldSize);
    if (!line)
        return;
    const char *p = TextAfterName(line);
    while (!EndsLine(*p) && !IsDigit(*p))
        p++;
    if (!IsDigit(*p))
        return;
    char day[2];
    if (IsDigit(p[1])) {
        day[0] = p[0];
        day[1] = p[1];
        p += 2;
    } else {
        day[0] = '0';
        day[1] = p[0];
        p += 1;
    }
    /* The byte after the day (normally a blank) is stepped over unread. */
    if (*p == '\0')
        return;
    const char *month = p + 1;
    for (int i = 0; i < 3; i++)
        if (month[i] == '\0')
            return;
    for (int m = 0; m < 12; m++) {
        if (memcmp(month, kMonths[m], 3) == 0) {
            field[0] = (char)('0' + (m + 1) / 10);
            field[1] = (char)('0' + (m + 1) % 10);
            field[2] = day[0];
            field[3] = day[1];
            return;
        }
    }
}

void FromField(const char *line, char field[kFromFieldSize])
{
    size_t begin = 0, end = 0;
    const char *text = line ? TextAfterName(line) : "";
    /* One pass over the line, two-byte characters stepped over whole: the
     * last '<', the first '(' and the last character, on single bytes. */
    long last_angle = -1, first_paren = -1;
    char last_single = '\0';
    size_t last_single_at = 0;
    size_t i = 0;
    while (!EndsLine(text[i])) {
        if (IsSjisLeadByte((unsigned char)text[i]) && !EndsLine(text[i + 1])) {
            last_single = '\0';
            i += 2;
            continue;
        }
        if (text[i] == '<')
            last_angle = (long)i;
        if (text[i] == '(' && first_paren < 0)
            first_paren = (long)i;
        last_single = text[i];
        last_single_at = i;
        i++;
    }
    if (last_single == '>' && last_angle >= 0) {
        /* "name <address>": up to the byte before '<' (normally a blank),
         * quotes dropped; a name written against '<' loses its last byte. */
        long name_begin = 0, name_end = last_angle - 1;
        if (text[0] == '"') {
            name_begin = 1;
            name_end = last_angle - 2;
        }
        if (name_end > name_begin) {
            begin = (size_t)name_begin;
            end = (size_t)name_end;
        }
    } else if (last_single == ')' && first_paren >= 0) {
        begin = (size_t)first_paren + 1;
        end = last_single_at;
    } else {
        end = i;
    }
    size_t limit = end - begin < kFromFieldSize - 1 ? end - begin : kFromFieldSize - 1;
    size_t length = FieldCutLength(text + begin, limit);
    if (length == 0)
        SetText(field, kFromFieldSize, "(Unknown)", 9);
    else
        SetText(field, kFromFieldSize, text + begin, length);
}

size_t SkipReplyPrefixes(const char *subject, size_t length)
{
    size_t at = 0;
    while (at + 3 <= length && (subject[at] == 'R' || subject[at] == 'r') &&
           (subject[at + 1] == 'E' || subject[at + 1] == 'e') && subject[at + 2] == ':') {
        at += 3;
        while (at < length && subject[at] == ' ')
            at++;
    }
    return at;
}
