#include "outgoing_article.h"

#include <stdlib.h>
#include <string.h>

#include "base/ascii_case.h"
#include "text/byte_error.h"
#include "text/codeconv.h"
#include "text/mime.h"

namespace {

/* Header lines the poster's program writes itself, and those only a server
 * writes (a draft made from a downloaded article may carry them). */
const char *const kReplacedHeaders[] = {
    "from", "message-id", "date", "mime-version", "content-type", "content-transfer-encoding", "user-agent",
    "path", "xref", "lines", "nntp-posting-host", "nntp-posting-date", "injection-info", "injection-date",
    "x-trace", "x-complaints-to", "x-local-seq",
};

/* UTF-8 bytes in one encoded word: 60 base64 characters, so that a word
 * with its charset stays well inside a 78-byte line. */
const size_t kUtf8WordBytes = 45;

/* A long header value is folded between its encoded words. */
const char kFold[] = "\r\n ";

bool Put(StoredBuffer *out, const char *text, size_t length)
{
    return StoredBufferAppend(out, text, length) != 0;
}

bool Put(StoredBuffer *out, const char *text)
{
    return Put(out, text, strlen(text));
}

bool HasReference(const char *text, size_t length)
{
    for (size_t i = 0; i + 3 <= length; i++)
        if (text[i] == '&' && text[i + 1] == '#' && text[i + 2] == 'x')
            return true;
    return false;
}

bool IsAscii(const char *text, size_t length)
{
    for (size_t i = 0; i < length; i++)
        if ((unsigned char)text[i] >= 0x80)
            return false;
    return !HasReference(text, length);
}

bool IsJisLead(unsigned char c)
{
    /* The rows of JIS X 0208; 0x87 (NEC's row 13) and 0xED up (the IBM
     * and user-defined areas) have no place in ISO-2022-JP. */
    return (c >= 0x81 && c <= 0x84) || (c >= 0x88 && c <= 0x9F) || (c >= 0xE0 && c <= 0xEA);
}

/* `length` bytes of ASCII-safe stored text as encoded words, joined by
 * folds. */
bool PutJisWords(StoredBuffer *out, const char *text, size_t length)
{
    char *sjis = (char *)malloc(length + 1);
    if (!sjis) {
        SetByteError(kErrorNotEnoughMemory);
        return false;
    }
    memcpy(sjis, text, length);
    sjis[length] = '\0';
    char *jis = SjisToJis(sjis);
    free(sjis);
    if (!jis)
        return false;
    /* Every word is closed back to single-byte by the encoder: the closing
     * escape of the whole text would only make an empty word. */
    size_t jis_length = strlen(jis);
    if (jis_length >= 3 && memcmp(jis + jis_length - 3, "\x1b(B", 3) == 0)
        jis[jis_length - 3] = '\0';
    EncodedWord *words = nullptr;
    bool ok = EncodeAsWords(&words, jis) != 0;
    free(jis);
    bool first = true;
    for (EncodedWord *word = words; ok && word; word = word->next) {
        if (!word->text[0])
            continue;
        ok = (first || Put(out, kFold)) && Put(out, word->text);
        first = false;
    }
    ReleaseWordList(words);
    return ok;
}

bool PutUtf8Words(StoredBuffer *out, const char *text, size_t length)
{
    StoredBuffer utf8;
    StoredBufferInit(&utf8);
    bool ok = StoredToUtf8(&utf8, text, length) != 0;
    char piece[kUtf8WordBytes + 1];
    char encoded[Base64EncodedSize(kUtf8WordBytes)];
    for (size_t at = 0; ok && at < utf8.used;) {
        size_t take = utf8.used - at < kUtf8WordBytes ? utf8.used - at : kUtf8WordBytes;
        /* Never split a character: back up over continuation bytes. */
        while (at + take < utf8.used && take > 0 && ((unsigned char)utf8.data[at + take] & 0xC0) == 0x80)
            take--;
        memcpy(piece, utf8.data + at, take);
        piece[take] = '\0';
        Base64Encode(piece, encoded);
        ok = (at == 0 || Put(out, kFold)) && Put(out, "=?UTF-8?B?") && Put(out, encoded) && Put(out, "?=");
        at += take;
    }
    StoredBufferRelease(&utf8);
    return ok;
}

/* A header value: as it is when plain ASCII; otherwise the ASCII words
 * before the first other character stay readable and the rest goes as
 * encoded words. */
bool PutHeaderText(StoredBuffer *out, const char *text, size_t length)
{
    if (IsAscii(text, length))
        return Put(out, text, length);
    size_t first = 0;
    while (first < length && (unsigned char)text[first] < 0x80 &&
           !(text[first] == '&' && first + 2 < length && text[first + 1] == '#' && text[first + 2] == 'x'))
        first++;
    size_t plain = first;
    while (plain > 0 && text[plain - 1] != ' ')
        plain--;
    if (!Put(out, text, plain))
        return false;
    const char *rest = text + plain;
    size_t rest_length = length - plain;
    return FitsIso2022Jp(rest, rest_length) ? PutJisWords(out, rest, rest_length)
                                            : PutUtf8Words(out, rest, rest_length);
}

bool IsSpecial(char c)
{
    return strchr("()<>@,;:\\\".[]", c) != nullptr;
}

/* The From header: "name <address>", the name quoted when it holds
 * characters an address list gives meaning to, encoded when not ASCII. */
bool PutFrom(StoredBuffer *out, const OutgoingHeaders *headers)
{
    if (!Put(out, "From: "))
        return false;
    const char *name = headers->user_name;
    size_t name_length = name ? strlen(name) : 0;
    if (name_length > 0) {
        bool ok;
        if (!IsAscii(name, name_length)) {
            ok = FitsIso2022Jp(name, name_length) ? PutJisWords(out, name, name_length)
                                                  : PutUtf8Words(out, name, name_length);
        } else {
            bool quote = false;
            for (size_t i = 0; i < name_length; i++)
                quote = quote || IsSpecial(name[i]);
            ok = !quote || Put(out, "\"");
            for (size_t i = 0; ok && i < name_length; i++)
                ok = (!(quote && (name[i] == '"' || name[i] == '\\')) || Put(out, "\\")) && Put(out, name + i, 1);
            ok = ok && (!quote || Put(out, "\""));
        }
        if (!ok || !Put(out, " <"))
            return false;
    }
    const char *address = headers->mail_address ? headers->mail_address : "";
    return Put(out, address) && (name_length == 0 || Put(out, ">")) && Put(out, "\r\n");
}

bool PutHeader(StoredBuffer *out, const char *name, const char *value)
{
    if (!value || !value[0])
        return true;
    return Put(out, name) && Put(out, ": ") && PutHeaderText(out, value, strlen(value)) && Put(out, "\r\n");
}

bool IsReplaced(const char *name, size_t length)
{
    for (const char *replaced : kReplacedHeaders)
        if (EqualsNoCase(name, length, replaced))
            return true;
    return false;
}

/* The draft's own header lines, but those the program replaces and those
 * without a value. Sets *has_organization when the draft names one. */
bool PutDraftHeaders(StoredBuffer *out, const char *head, size_t head_length, bool *has_organization)
{
    *has_organization = false;
    const char *end = head + head_length;
    for (const char *line = head; line < end;) {
        const char *stop = line;
        while (stop < end && *stop != '\r' && *stop != '\n')
            stop++;
        const char *next = stop;
        while (next < end && (*next == '\r' || *next == '\n'))
            next++;
        const char *colon = (const char *)memchr(line, ':', (size_t)(stop - line));
        if (colon && colon > line && !IsReplaced(line, (size_t)(colon - line))) {
            const char *value = colon + 1;
            while (value < stop && (*value == ' ' || *value == '\t'))
                value++;
            const char *value_end = stop;
            while (value_end > value && (value_end[-1] == ' ' || value_end[-1] == '\t'))
                value_end--;
            if (value < value_end) {
                if (EqualsNoCase(line, (size_t)(colon - line), "organization"))
                    *has_organization = true;
                if (!Put(out, line, (size_t)(colon - line)) || !Put(out, ": ") ||
                    !PutHeaderText(out, value, (size_t)(value_end - value)) || !Put(out, "\r\n"))
                    return false;
            }
        }
        line = next;
    }
    return true;
}

/* The body with every line ended by CR LF, the last one too. */
bool PutBodyLines(StoredBuffer *out, const char *body, size_t length)
{
    for (size_t i = 0; i < length; i++) {
        if (body[i] == '\n' && (i == 0 || body[i - 1] != '\r')) {
            if (!Put(out, "\r\n"))
                return false;
        } else if (body[i] == '\r' && (i + 1 == length || body[i + 1] != '\n')) {
            if (!Put(out, "\r\n"))
                return false;
        } else if (!Put(out, body + i, 1)) {
            return false;
        }
    }
    return out->used == 0 || out->data[out->used - 1] == '\n' || Put(out, "\r\n");
}

} // namespace

bool FitsIso2022Jp(const char *text, size_t length)
{
    if (HasReference(text, length))
        return false;
    for (size_t i = 0; i < length; i++) {
        unsigned char c = (unsigned char)text[i];
        if (c < 0x80)
            continue;
        if (!IsJisLead(c) || i + 1 == length)
            return false;
        i++;
    }
    return true;
}

int StoredToUtf8(StoredBuffer *out, const char *text, size_t length)
{
    char16_t *units = (char16_t *)malloc((length + 1) * sizeof(char16_t));
    if (!units) {
        SetByteError(kErrorNotEnoughMemory);
        return 0;
    }
    size_t count = StoredToUtf16(text, length, units);
    bool ok = true;
    for (size_t i = 0; ok && i < count; i++) {
        unsigned long c = units[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < count && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (units[++i] - 0xDC00);
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
        char bytes[4];
        size_t n;
        if (c < 0x80) {
            bytes[0] = (char)c;
            n = 1;
        } else if (c < 0x800) {
            bytes[0] = (char)(0xC0 | (c >> 6));
            bytes[1] = (char)(0x80 | (c & 0x3F));
            n = 2;
        } else if (c < 0x10000) {
            bytes[0] = (char)(0xE0 | (c >> 12));
            bytes[1] = (char)(0x80 | ((c >> 6) & 0x3F));
            bytes[2] = (char)(0x80 | (c & 0x3F));
            n = 3;
        } else {
            bytes[0] = (char)(0xF0 | (c >> 18));
            bytes[1] = (char)(0x80 | ((c >> 12) & 0x3F));
            bytes[2] = (char)(0x80 | ((c >> 6) & 0x3F));
            bytes[3] = (char)(0x80 | (c & 0x3F));
            n = 4;
        }
        ok = Put(out, bytes, n);
    }
    free(units);
    return ok;
}

int BuildOutgoingArticle(const char *head, size_t head_length, const char *body, size_t body_length,
                         const OutgoingHeaders *headers, StoredBuffer *out)
{
    bool has_organization;
    if (!PutDraftHeaders(out, head, head_length, &has_organization) || !PutFrom(out, headers) ||
        (!has_organization && !PutHeader(out, "Organization", headers->organization)) ||
        !PutHeader(out, "Message-ID", headers->message_id) || !PutHeader(out, "Date", headers->date) ||
        !Put(out, "MIME-Version: 1.0\r\n"))
        return 0;
    bool jis = FitsIso2022Jp(body, body_length);
    if (!Put(out, jis ? "Content-Type: text/plain; charset=ISO-2022-JP\r\nContent-Transfer-Encoding: 7bit\r\n"
                      : "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 8bit\r\n") ||
        !PutHeader(out, "User-Agent", headers->user_agent) || !Put(out, "\r\n"))
        return 0;

    StoredBuffer lines;
    StoredBufferInit(&lines);
    bool ok = PutBodyLines(&lines, body, body_length);
    if (ok && lines.used > 0) {
        if (!jis) {
            ok = StoredToUtf8(out, lines.data, lines.used) != 0;
        } else if (IsAscii(lines.data, lines.used)) {
            ok = Put(out, lines.data, lines.used);
        } else {
            char *converted = SjisToJis(lines.data);
            ok = converted != nullptr;
            if (ok) {
                /* The body ends with a line end, where the text is back in
                 * single-byte mode: the closing escape is not needed. */
                size_t converted_length = strlen(converted);
                if (converted_length >= 3 && memcmp(converted + converted_length - 3, "\x1b(B", 3) == 0)
                    converted_length -= 3;
                ok = Put(out, converted, converted_length);
                free(converted);
            }
        }
    }
    StoredBufferRelease(&lines);
    return ok ? 1 : 0;
}
