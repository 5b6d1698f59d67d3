#include "article_decoder.h"

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "base/ascii_case.h"
#include "byte_error.h"
#include "charset_tables.h"
#include "codeconv.h"
#include "mime.h"

namespace {

const unsigned char kEsc = 0x1B;
const unsigned long kReplacement = 0xFFFD;

/* The header names kept, tested in this order, case-sensitively. */
const char *const kKeptHeaders[] = {"From:", "Subject:", "Newsgroups:", "Date:", "Message-ID:", "References:"};

/* Multipart entities nested deeper than this are listed, not opened. */
const int kDeepestNesting = 4;
/* Boundaries are at most 70 characters. */
const size_t kBoundarySize = 72;
const size_t kTypeSize = 64;
/* No boundary line is longer; a longer line of a preamble, an epilogue
 * or an entity that is not quoted-printable is read as it comes. */
const size_t kLongestBoundaryLine = 256;
/* A text line longer than this is decoded in pieces where it can be. */
const size_t kLongestHeldText = 4096;
/* Words are meant to be at most 75 bytes; some senders write longer ones. */
const size_t kLongestWord = 1024;

/* ---- Character sets ---- */

enum CharsetKind { kCharsetNone, kCharsetUnknown, kCharsetAscii, kCharsetUtf8, kCharsetJis, kCharsetSjis,
                   kCharsetEuc, kCharsetSingle };

struct Charset {
    CharsetKind kind;
    int table; /* kSingleByteSets index for kCharsetSingle */
};

/* The number after `prefix` (1-99) or -1. */
int NumberAfter(const unsigned char *s, size_t length, const char *prefix)
{
    size_t at = strlen(prefix);
    if (!StartsNoCase(s, length, prefix) || at >= length || length - at > 4)
        return -1;
    int value = 0;
    for (; at < length; at++) {
        if (s[at] < '0' || s[at] > '9')
            return -1;
        value = value * 10 + (s[at] - '0');
    }
    return value;
}

Charset CharsetFromName(const unsigned char *name, size_t length)
{
    /* A language after '*' (RFC 2231) is not part of the name. */
    for (size_t i = 0; i < length; i++)
        if (name[i] == '*')
            length = i;
    static const struct {
        const char *name;
        CharsetKind kind;
    } kNames[] = {
        {"us-ascii", kCharsetAscii},     {"ascii", kCharsetAscii},        {"utf-8", kCharsetUtf8},
        {"utf8", kCharsetUtf8},          {"iso-2022-jp", kCharsetJis},    {"iso-2022-jp-1", kCharsetJis},
        {"iso-2022-jp-2", kCharsetJis},  {"iso-2022-jp-3", kCharsetJis},  {"iso-2022-jp-2004", kCharsetJis},
        {"shift_jis", kCharsetSjis},     {"shift-jis", kCharsetSjis},     {"sjis", kCharsetSjis},
        {"x-sjis", kCharsetSjis},        {"cp932", kCharsetSjis},         {"windows-31j", kCharsetSjis},
        {"ms_kanji", kCharsetSjis},      {"shift_jisx0213", kCharsetSjis}, {"euc-jp", kCharsetEuc},
        {"x-euc-jp", kCharsetEuc},       {"eucjp", kCharsetEuc},
    };
    for (const auto &entry : kNames)
        if (EqualsNoCase(name, length, entry.name))
            return {entry.kind, 0};
    int n = NumberAfter(name, length, "iso-8859-");
    if (n < 0)
        n = NumberAfter(name, length, "iso8859-");
    if (n < 0)
        n = NumberAfter(name, length, "iso_8859-");
    if (n >= 1 && n <= 15 && n != 12)
        return {kCharsetSingle, n < 12 ? n - 1 : n - 2};
    if (EqualsNoCase(name, length, "latin1"))
        return {kCharsetSingle, 0};
    n = NumberAfter(name, length, "windows-");
    if (n < 0)
        n = NumberAfter(name, length, "cp");
    /* NumberAfter reads at most four digits. */
    if (n >= 1250 && n <= 1258)
        return {kCharsetSingle, 14 + (n - 1250)};
    return {kCharsetUnknown, 0};
}

/* ---- Byte checks ---- */

bool IsJisByte(unsigned char c)
{
    return c >= 0x21 && c <= 0x7E;
}

bool IsEucByte(unsigned char c)
{
    return c >= 0xA1 && c <= 0xFE;
}

/* The length of the UTF-8 sequence at s (strict: no overlong forms, no
 * surrogates), or 0. */
size_t Utf8Sequence(const unsigned char *s, size_t length, unsigned long *code_point)
{
    unsigned char c = s[0];
    size_t count;
    unsigned long value, least;
    if (c < 0x80) {
        *code_point = c;
        return 1;
    } else if (c >= 0xC2 && c <= 0xDF) {
        count = 2, value = c & 0x1F, least = 0x80;
    } else if (c >= 0xE0 && c <= 0xEF) {
        count = 3, value = c & 0x0F, least = 0x800;
    } else if (c >= 0xF0 && c <= 0xF4) {
        count = 4, value = c & 0x07, least = 0x10000;
    } else {
        return 0;
    }
    if (count > length)
        return 0;
    for (size_t i = 1; i < count; i++) {
        if ((s[i] & 0xC0) != 0x80)
            return 0;
        value = value << 6 | (s[i] & 0x3F);
    }
    if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return 0;
    *code_point = value;
    return count;
}

bool IsValidUtf8(const unsigned char *s, size_t length)
{
    unsigned long c;
    for (size_t at = 0; at < length;) {
        size_t step = Utf8Sequence(s + at, length - at, &c);
        if (!step)
            return false;
        at += step;
    }
    return true;
}

/* Valid CP932 (every pair one CP932 has); *kana counts half-width katakana. */
bool IsValidSjis(const unsigned char *s, size_t length, size_t *kana)
{
    *kana = 0;
    for (size_t at = 0; at < length; at++) {
        unsigned char c = s[at];
        if (c < 0x80)
            continue;
        if (c >= 0xA1 && c <= 0xDF) {
            (*kana)++;
            continue;
        }
        if (!IsSjisLeadByte(c) || at + 1 >= length || !IsCp932TrailByte(s[at + 1]) || !Cp932Pair(c, s[at + 1]))
            return false;
        at++;
    }
    return true;
}

bool IsValidEuc(const unsigned char *s, size_t length)
{
    for (size_t at = 0; at < length; at++) {
        unsigned char c = s[at];
        if (c < 0x80)
            continue;
        if (IsEucByte(c) && at + 1 < length && IsEucByte(s[at + 1])) {
            at++;
        } else if (c == 0x8E && at + 1 < length && s[at + 1] >= 0xA1 && s[at + 1] <= 0xDF) {
            at++;
        } else if (c == 0x8F && at + 2 < length && IsEucByte(s[at + 1]) && IsEucByte(s[at + 2])) {
            at += 2;
        } else {
            return false;
        }
    }
    return true;
}

/* ---- Decoding bytes of one character set ---- */

/* The graphic sets of ISO-2022-JP and its extensions. */
enum JisSet { kSetAscii, kSetKana, kSetX0208, kSetX0212, kSetX0213Plane1, kSetX0213Plane2, kSetOtherTwoByte };

struct JisState {
    JisSet g0;
    int g2; /* kSingleByteSets index, or -1 */
};

const JisState kJisStart = {kSetAscii, -1};

int PutCodePoints(StoredWriter *w, unsigned long value)
{
    if (value > 0x10FFFF)
        return StoredWriterPut(w, value >> 16) && StoredWriterPut(w, value & 0xFFFF);
    return StoredWriterPut(w, value);
}

/* A JIS X 0208 pair as the existing conversion makes it. */
int PutX0208(StoredWriter *w, unsigned char j1, unsigned char j2)
{
    unsigned char s1, s2;
    JisPairToSjis(j1, j2, &s1, &s2);
    return StoredWriterPutPair(w, s1, s2);
}

uint32_t FindX0213(unsigned key)
{
    return FindSorted(kJisX0213Keys, kJisX0213Values, kJisX0213Count, key);
}

int PutJisPair(StoredWriter *w, JisSet set, unsigned char j1, unsigned char j2)
{
    switch (set) {
    case kSetX0208:
        return PutX0208(w, j1, j2);
    case kSetX0212: {
        uint16_t u = kJisX0212[(j1 - 0x21) * 94 + (j2 - 0x21)];
        return StoredWriterPut(w, u ? u : kReplacement);
    }
    case kSetX0213Plane1: {
        uint32_t value = FindX0213((unsigned)j1 << 8 | j2);
        return value ? PutCodePoints(w, value) : PutX0208(w, j1, j2);
    }
    case kSetX0213Plane2: {
        uint32_t value = FindX0213(0x8000u | (unsigned)j1 << 8 | j2);
        return PutCodePoints(w, value ? value : kReplacement);
    }
    default:
        return StoredWriterPut(w, kReplacement);
    }
}

/* The escape at s (s[0] is ESC): its length and the new state, or 0. */
size_t MatchJisEscape(const unsigned char *s, size_t length, JisState *state)
{
    unsigned char b1 = length > 1 ? s[1] : 0, b2 = length > 2 ? s[2] : 0, b3 = length > 3 ? s[3] : 0;
    if (b1 == '(') {
        if (b2 == 'B' || b2 == 'J' || b2 == 'H')
            return state->g0 = kSetAscii, 3;
        if (b2 == 'I')
            return state->g0 = kSetKana, 3;
    } else if (b1 == '$') {
        if (b2 == 'B' || b2 == '@')
            return state->g0 = kSetX0208, 3;
        if (b2 == 'A')
            return state->g0 = kSetOtherTwoByte, 3;
        if (b2 == '(') {
            if (b3 == 'B' || b3 == '@')
                return state->g0 = kSetX0208, 4;
            if (b3 == 'D')
                return state->g0 = kSetX0212, 4;
            if (b3 == 'O' || b3 == 'Q')
                return state->g0 = kSetX0213Plane1, 4;
            if (b3 == 'P')
                return state->g0 = kSetX0213Plane2, 4;
            if (b3 == 'C')
                return state->g0 = kSetOtherTwoByte, 4;
        }
    } else if (b1 == '.') {
        if (b2 == 'A')
            return state->g2 = 0, 3;
        if (b2 == 'F')
            return state->g2 = 6, 3;
    } else if (b1 == '&' && b2 == '@') {
        return 3; /* announces the 1990 revision of JIS X 0208 */
    } else if (b1 == 'K') {
        return state->g0 = kSetX0208, 2;
    } else if (b1 == 'H') {
        return state->g0 = kSetAscii, 2;
    }
    return 0;
}

/* 7-bit text with ISO-2022-JP escapes (plain ASCII is the same). Pairs
 * of JIS X 0208, and of EUC-JP bytes in two-byte mode, take the
 * arithmetic of the existing conversion; CR, LF, blanks and controls
 * stand alone in every mode. */
int DecodeJis(const unsigned char *s, size_t length, JisState *state, StoredWriter *w)
{
    for (size_t at = 0; at < length;) {
        unsigned char c = s[at];
        if (c == kEsc) {
            if (length - at >= 3 && s[at + 1] == 'N' && state->g2 >= 0 && s[at + 2] >= 0x20 && s[at + 2] < 0x80) {
                uint16_t u = kSingleByteSets[state->g2 * 128 + (s[at + 2] | 0x80) - 0x80];
                if (!StoredWriterPut(w, u ? u : kReplacement))
                    return 0;
                at += 3;
                continue;
            }
            size_t escape = MatchJisEscape(s + at, length - at, state);
            if (escape) {
                at += escape;
                continue;
            }
        }
        bool two_byte = state->g0 >= kSetX0208;
        if (two_byte && (IsJisByte(c) || IsEucByte(c)) && at + 1 < length &&
            (IsEucByte(c) ? IsEucByte(s[at + 1]) : IsJisByte(s[at + 1]))) {
            if (!PutJisPair(w, state->g0, c & 0x7F, s[at + 1] & 0x7F))
                return 0;
            at += 2;
            continue;
        }
        unsigned long code_point = c < 0x80 ? c : kReplacement;
        if (state->g0 == kSetKana && c >= 0x21 && c <= 0x5F)
            code_point = 0xFF61 + (c - 0x21);
        if (!StoredWriterPut(w, code_point))
            return 0;
        at++;
    }
    return 1;
}

int DecodeUtf8(const unsigned char *s, size_t length, StoredWriter *w)
{
    for (size_t at = 0; at < length;) {
        unsigned long c;
        size_t step = Utf8Sequence(s + at, length - at, &c);
        if (!step)
            c = kReplacement, step = 1;
        if (!StoredWriterPut(w, c))
            return 0;
        at += step;
    }
    return 1;
}

int DecodeSjis(const unsigned char *s, size_t length, StoredWriter *w)
{
    for (size_t at = 0; at < length;) {
        unsigned char c = s[at];
        int done;
        if (c < 0x80) {
            done = StoredWriterPut(w, c);
            at++;
        } else if (IsSjisLeadByte(c) && at + 1 < length && IsCp932TrailByte(s[at + 1])) {
            uint16_t u = Cp932Pair(c, s[at + 1]);
            done = StoredWriterPut(w, u ? u : kReplacement);
            at += 2;
        } else {
            uint16_t u = IsSjisLeadByte(c) ? 0 : kCp932Singles[c - 0x80];
            done = StoredWriterPut(w, u ? u : kReplacement);
            at++;
        }
        if (!done)
            return 0;
    }
    return 1;
}

int DecodeEuc(const unsigned char *s, size_t length, StoredWriter *w)
{
    for (size_t at = 0; at < length;) {
        unsigned char c = s[at];
        int done;
        if (c < 0x80) {
            done = StoredWriterPut(w, c);
            at++;
        } else if (IsEucByte(c) && at + 1 < length && IsEucByte(s[at + 1])) {
            /* Through the code point, like every 8-bit set: CP932's own
             * choice among its duplicates is stored. */
            unsigned char s1, s2;
            JisPairToSjis(c & 0x7F, s[at + 1] & 0x7F, &s1, &s2);
            uint16_t u = Cp932Pair(s1, s2);
            done = StoredWriterPut(w, u ? u : kReplacement);
            at += 2;
        } else if (c == 0x8E && at + 1 < length && s[at + 1] >= 0xA1 && s[at + 1] <= 0xDF) {
            done = StoredWriterPut(w, 0xFF61 + (s[at + 1] - 0xA1));
            at += 2;
        } else if (c == 0x8F && at + 2 < length && IsEucByte(s[at + 1]) && IsEucByte(s[at + 2])) {
            uint16_t u = kJisX0212[(s[at + 1] - 0xA1) * 94 + (s[at + 2] - 0xA1)];
            done = StoredWriterPut(w, u ? u : kReplacement);
            at += 3;
        } else {
            done = StoredWriterPut(w, kReplacement);
            at++;
        }
        if (!done)
            return 0;
    }
    return 1;
}

int DecodeSingle(const unsigned char *s, size_t length, int table, StoredWriter *w)
{
    for (size_t at = 0; at < length; at++) {
        unsigned long c = s[at];
        if (c >= 0x80) {
            c = kSingleByteSets[table * 128 + (c - 0x80)];
            if (!c)
                c = kReplacement;
        }
        if (!StoredWriterPut(w, c))
            return 0;
    }
    return 1;
}

/* 8-bit text of no known character set: UTF-8 when it is valid UTF-8,
 * else EUC-JP when only EUC-JP reads it (or when Shift_JIS would need
 * half-width katakana to), else Shift_JIS. */
int DecodeGuessed(const unsigned char *s, size_t length, StoredWriter *w)
{
    if (IsValidUtf8(s, length))
        return DecodeUtf8(s, length, w);
    size_t kana;
    bool sjis = IsValidSjis(s, length, &kana);
    if (IsValidEuc(s, length) && (!sjis || kana > 0))
        return DecodeEuc(s, length, w);
    return DecodeSjis(s, length, w);
}

/* A run of text (a line, or the bytes of adjacent encoded words) in its
 * declared character set. 7-bit text is read as ISO-2022-JP whatever is
 * declared. 8-bit text that is not what is declared is guessed; so is
 * text declared in a single-byte set that is valid UTF-8. */
int DecodeText(const unsigned char *s, size_t length, Charset charset, JisState *state, StoredWriter *w)
{
    bool eight_bit = false;
    for (size_t i = 0; i < length && !eight_bit; i++)
        eight_bit = s[i] >= 0x80;
    if (!eight_bit)
        return DecodeJis(s, length, state, w);
    size_t kana;
    switch (charset.kind) {
    case kCharsetUtf8:
        if (IsValidUtf8(s, length))
            return DecodeUtf8(s, length, w);
        break;
    case kCharsetSjis:
        if (IsValidSjis(s, length, &kana))
            return DecodeSjis(s, length, w);
        break;
    case kCharsetEuc:
        if (IsValidEuc(s, length))
            return DecodeEuc(s, length, w);
        break;
    case kCharsetSingle:
        if (IsValidUtf8(s, length))
            return DecodeUtf8(s, length, w);
        return DecodeSingle(s, length, charset.table, w);
    default:
        break;
    }
    return DecodeGuessed(s, length, w);
}

/* ---- Transfer encodings ---- */

unsigned HexDigit(unsigned char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    c = AsciiLower(c);
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return 16;
}

/* Base64 across lines: bits not yet making a byte. */
struct Base64State {
    unsigned long bits;
    int count;
};

/* Decodes what it can: other bytes are skipped, "=" drops the bits of a
 * group cut short. */
int DecodeBase64(const unsigned char *s, size_t length, Base64State *state, StoredBuffer *out)
{
    for (size_t i = 0; i < length; i++) {
        if (s[i] == '=') {
            state->bits = 0;
            state->count = 0;
            continue;
        }
        unsigned value = Base64Value(s[i]);
        if (value == 64)
            continue;
        state->bits = (state->bits << 6 | value) & 0xFFFFFF;
        state->count += 6;
        if (state->count >= 8) {
            state->count -= 8;
            char byte = (char)((state->bits >> state->count) & 0xFF);
            if (!StoredBufferAppend(out, &byte, 1))
                return 0;
        }
    }
    return 1;
}

/* Quoted-printable bytes (no line end); `underscore` for Q words. */
int DecodeQuoted(const unsigned char *s, size_t length, bool underscore, StoredBuffer *out)
{
    for (size_t i = 0; i < length; i++) {
        char byte = (char)s[i];
        /* An "=" without two hex digits is kept as written. */
        if (s[i] == '=' && i + 2 < length && HexDigit(s[i + 1]) < 16 && HexDigit(s[i + 2]) < 16) {
            byte = (char)(HexDigit(s[i + 1]) * 16 + HexDigit(s[i + 2]));
            i += 2;
        } else if (underscore && s[i] == '_') {
            byte = ' ';
        }
        if (!StoredBufferAppend(out, &byte, 1))
            return 0;
    }
    return 1;
}

/* The length of the line end at the end of s (CR LF, LF or none). */
size_t LineEndLength(const unsigned char *s, size_t length)
{
    if (length >= 2 && s[length - 2] == '\r' && s[length - 1] == '\n')
        return 2;
    if (length >= 1 && s[length - 1] == '\n')
        return 1;
    return 0;
}

/* ---- Encoded words ---- */

struct EncodedWordView {
    const unsigned char *charset;
    size_t charset_length;
    unsigned char encoding; /* 'b' or 'q' */
    const unsigned char *text;
    size_t text_length;
    size_t length; /* the whole word */
};

/* The encoded word at s ("=?" there), or false when the bytes there are
 * not one: a word has no blank or control byte, ends in "?=" and is at
 * most kLongestWord bytes long (so that a line of openings without their
 * closing is read in linear time). */
bool MatchEncodedWord(const unsigned char *s, size_t length, EncodedWordView *word)
{
    if (length > kLongestWord)
        length = kLongestWord;
    size_t at = 2;
    while (at < length && s[at] != '?' && s[at] > 0x20 && s[at] < 0x7F)
        at++;
    if (at == 2 || at + 2 >= length || s[at] != '?' || s[at + 2] != '?')
        return false;
    unsigned char encoding = AsciiLower(s[at + 1]);
    if (encoding != 'b' && encoding != 'q')
        return false;
    word->charset = s + 2;
    word->charset_length = at - 2;
    word->encoding = encoding;
    size_t text = at + 3;
    for (at = text; at + 1 < length; at++) {
        if (s[at] == '?' && s[at + 1] == '=') {
            word->text = s + text;
            word->text_length = at - text;
            word->length = at + 2;
            return true;
        }
        if (s[at] <= 0x20 || s[at] >= 0x7F)
            return false;
    }
    return false;
}

} // namespace

/* ---- The decoder ---- */

enum TransferEncoding { kTransferPlain, kTransferQuoted, kTransferBase64 };

struct EntityInfo {
    char type[kTypeSize]; /* "type/subtype" in lower case, empty when none */
    Charset charset;
    char boundary[kBoundarySize];
    size_t boundary_length;
    TransferEncoding encoding;
    StoredBuffer name;      /* stored, decoded */
    int name_rank;          /* 4 filename*, 3 filename, 2 name*, 1 name */
};

enum BodyPlace { kPlaceText, kPlaceAttachment, kPlaceSkip, kPlaceEntityHeaders };

struct ArticleDecoderState {
    /* The header */
    StoredBuffer logical; /* the header line being unfolded */
    EntityInfo article;
    EntityInfo entity;
    StoredBuffer words; /* bytes of adjacent encoded words */
    /* The body */
    StoredBuffer raw;     /* the physical line being received */
    StoredBuffer decoded; /* decoded bytes of the text not yet a line */
    StoredBuffer list;    /* the attachment lines */
    char boundaries[kDeepestNesting][kBoundarySize];
    size_t boundary_lengths[kDeepestNesting];
    int depth;
    BodyPlace place;
    bool body_found;
    bool continued; /* the start of the physical line was read already */
    Charset charset;
    TransferEncoding encoding;
    Base64State base64;
    JisState text_jis; /* of the text line being read */
    unsigned long long size;
    size_t held_line_end; /* of an attachment: counted if a line follows */
    char last_taken;      /* the last byte ArticleDecoderTake dropped */
    StoredWriter writer;
};

namespace {

void EntityInfoClear(EntityInfo *info)
{
    info->type[0] = '\0';
    info->charset = {kCharsetNone, 0};
    info->boundary[0] = '\0';
    info->boundary_length = 0;
    info->encoding = kTransferPlain;
    StoredBufferClear(&info->name);
    info->name_rank = 0;
}

bool IsBlank(unsigned char c)
{
    return c == ' ' || c == '\t';
}

int DecodeHeaderText(ArticleDecoderState *st, const unsigned char *s, size_t length, StoredWriter *w);

/* Flushes the words collected in st->words in `charset`. */
int FlushWords(ArticleDecoderState *st, Charset charset, StoredWriter *w)
{
    if (!st->words.used)
        return 1;
    JisState state = kJisStart;
    int done = DecodeText((const unsigned char *)st->words.data, st->words.used, charset, &state, w);
    StoredBufferClear(&st->words);
    return done;
}

/* A header text: encoded words decoded (adjacent words joined, those of
 * one character set decoded together), other text read as DecodeText
 * reads undeclared text. */
int DecodeHeaderText(ArticleDecoderState *st, const unsigned char *s, size_t length, StoredWriter *w)
{
    JisState raw_state = kJisStart;
    Charset group = {kCharsetNone, 0};
    bool in_group = false;
    const unsigned char *group_name = nullptr;
    size_t group_name_length = 0;
    size_t raw_start = 0;
    StoredBufferClear(&st->words);

    for (size_t at = 0; at < length;) {
        EncodedWordView word;
        if (!(s[at] == '=' && at + 1 < length && s[at + 1] == '?' && MatchEncodedWord(s + at, length - at, &word))) {
            at++;
            continue;
        }
        Charset charset = CharsetFromName(word.charset, word.charset_length);
        bool known = charset.kind != kCharsetUnknown;
        bool only_blanks = true;
        for (size_t i = raw_start; i < at; i++)
            only_blanks = only_blanks && IsBlank(s[i]);
        /* Blanks between two decoded words go; words of one character
         * set are decoded together, so a character may span them. */
        bool adjacent = in_group && only_blanks && known;
        bool same = adjacent && word.charset_length == group_name_length;
        for (size_t i = 0; same && i < group_name_length; i++)
            same = AsciiLower(word.charset[i]) == AsciiLower(group_name[i]);
        if (!same) {
            if (in_group && !FlushWords(st, group, w))
                return 0;
            in_group = false;
            if (!adjacent && !DecodeText(s + raw_start, at - raw_start, {kCharsetNone, 0}, &raw_state, w))
                return 0;
        }
        if (!known) {
            if (!DecodeText(s + at, word.length, {kCharsetNone, 0}, &raw_state, w))
                return 0;
        } else {
            if (!in_group) {
                in_group = true;
                group = charset;
                group_name = word.charset;
                group_name_length = word.charset_length;
            }
            int done;
            if (word.encoding == 'b') {
                Base64State base64 = {0, 0};
                done = DecodeBase64(word.text, word.text_length, &base64, &st->words);
            } else {
                done = DecodeQuoted(word.text, word.text_length, true, &st->words);
            }
            if (!done)
                return 0;
        }
        at += word.length;
        raw_start = at;
    }
    if (in_group && !FlushWords(st, group, w))
        return 0;
    return DecodeText(s + raw_start, length - raw_start, {kCharsetNone, 0}, &raw_state, w);
}

/* ---- Content headers ---- */

const unsigned char *SkipBlanks(const unsigned char *s, const unsigned char *end)
{
    while (s < end && (IsBlank(*s) || *s == '\r' || *s == '\n'))
        s++;
    return s;
}

bool IsTokenByte(unsigned char c)
{
    return c > 0x20 && c < 0x7F && !strchr("()<>@,;:\\\"/[]?=", c);
}

void CopyLower(char *dst, size_t size, const unsigned char *s, size_t length)
{
    size_t n = length < size - 1 ? length : size - 1;
    for (size_t i = 0; i < n; i++)
        dst[i] = (char)AsciiLower(s[i]);
    dst[n] = '\0';
}

/* A name given as charset'language'percent-encoded text (RFC 2231). */
int DecodeExtendedName(ArticleDecoderState *st, const unsigned char *s, size_t length, StoredBuffer *out)
{
    const unsigned char *end = s + length;
    const unsigned char *quote = (const unsigned char *)memchr(s, '\'', length);
    const unsigned char *second = quote ? (const unsigned char *)memchr(quote + 1, '\'', end - quote - 1) : nullptr;
    Charset charset = {kCharsetNone, 0};
    if (second) {
        charset = CharsetFromName(s, quote - s);
        s = second + 1;
    }
    StoredBufferClear(&st->words);
    for (; s < end; s++) {
        char byte = (char)*s;
        if (*s == '%' && end - s >= 3 && HexDigit(s[1]) < 16 && HexDigit(s[2]) < 16) {
            byte = (char)(HexDigit(s[1]) * 16 + HexDigit(s[2]));
            s += 2;
        }
        if (!StoredBufferAppend(&st->words, &byte, 1))
            return 0;
    }
    StoredWriter writer;
    StoredWriterInit(&writer, out);
    JisState state = kJisStart;
    int done = DecodeText((const unsigned char *)st->words.data, st->words.used, charset, &state, &writer) &&
               StoredWriterFlush(&writer);
    StoredBufferClear(&st->words);
    return done;
}

/* Reads the parameters after a Content-Type or Content-Disposition value. */
int ReadParameters(ArticleDecoderState *st, const unsigned char *s, const unsigned char *end, EntityInfo *info)
{
    StoredBuffer value;
    StoredBufferInit(&value);
    int done = 1;
    while (done && s < end) {
        const unsigned char *semicolon = (const unsigned char *)memchr(s, ';', end - s);
        if (!semicolon)
            break;
        s = SkipBlanks(semicolon + 1, end);
        const unsigned char *key = s;
        while (s < end && IsTokenByte(*s))
            s++;
        size_t key_length = s - key;
        s = SkipBlanks(s, end);
        if (s >= end || *s != '=')
            continue;
        s = SkipBlanks(s + 1, end);
        StoredBufferClear(&value);
        if (s < end && *s == '"') {
            for (s++; done && s < end && *s != '"'; s++) {
                if (*s == '\\' && s + 1 < end)
                    s++;
                if (*s != '\r' && *s != '\n')
                    done = StoredBufferAppend(&value, (const char *)s, 1);
            }
        } else {
            const unsigned char *start = s;
            while (s < end && *s != ';' && !IsBlank(*s) && *s != '\r' && *s != '\n')
                s++;
            done = StoredBufferAppend(&value, (const char *)start, s - start);
        }
        if (!done)
            break;
        const unsigned char *v = (const unsigned char *)value.data;
        size_t v_length = value.used;
        if (EqualsNoCase(key, key_length, "charset")) {
            info->charset = CharsetFromName(v, v_length);
        } else if (EqualsNoCase(key, key_length, "boundary")) {
            if (v_length > 0 && v_length < kBoundarySize) {
                memcpy(info->boundary, v, v_length);
                info->boundary[v_length] = '\0';
                info->boundary_length = v_length;
            }
        } else {
            static const char *const kNameKeys[] = {"name", "name*", "filename", "filename*"};
            for (int rank = 4; rank >= 1; rank--) {
                if (!EqualsNoCase(key, key_length, kNameKeys[rank - 1]) || rank <= info->name_rank)
                    continue;
                StoredBufferClear(&info->name);
                if (rank % 2 == 0) {
                    done = DecodeExtendedName(st, v, v_length, &info->name);
                } else {
                    StoredWriter writer;
                    StoredWriterInit(&writer, &info->name);
                    done = DecodeHeaderText(st, v, v_length, &writer) && StoredWriterFlush(&writer);
                }
                info->name_rank = rank;
            }
        }
    }
    StoredBufferRelease(&value);
    return done;
}

/* Reads a Content-* header of the unfolded line into `info`. */
int ReadContentHeader(ArticleDecoderState *st, const unsigned char *s, size_t length, EntityInfo *info)
{
    const unsigned char *end = s + length;
    const unsigned char *colon = (const unsigned char *)memchr(s, ':', length);
    if (!colon)
        return 1;
    size_t name_length = colon - s;
    const unsigned char *value = SkipBlanks(colon + 1, end);
    const unsigned char *token = value;
    while (token < end && (IsTokenByte(*token) || *token == '/'))
        token++;
    if (EqualsNoCase(s, name_length, "content-type")) {
        CopyLower(info->type, kTypeSize, value, token - value);
        return ReadParameters(st, token, end, info);
    }
    if (EqualsNoCase(s, name_length, "content-disposition"))
        return ReadParameters(st, token, end, info);
    if (EqualsNoCase(s, name_length, "content-transfer-encoding")) {
        if (EqualsNoCase(value, token - value, "base64"))
            info->encoding = kTransferBase64;
        else if (EqualsNoCase(value, token - value, "quoted-printable"))
            info->encoding = kTransferQuoted;
        else
            info->encoding = kTransferPlain;
    }
    return 1;
}

bool IsKeptHeader(const unsigned char *s, size_t length)
{
    for (const char *name : kKeptHeaders) {
        size_t n = strlen(name);
        if (length >= n && memcmp(s, name, n) == 0)
            return true;
    }
    return false;
}

bool IsMultipart(const EntityInfo *info)
{
    return strncmp(info->type, "multipart/", 10) == 0 && info->boundary_length > 0;
}

bool IsPlainText(const EntityInfo *info)
{
    return info->type[0] == '\0' || strcmp(info->type, "text/plain") == 0;
}

/* ---- Body ---- */

/* Decodes the complete lines of st->decoded (all of it when `all`) into
 * the output; a bare LF ends its line as CR LF. */
int EmitTextLines(ArticleDecoder *d, bool all)
{
    ArticleDecoderState *st = d->state;
    const unsigned char *s = (const unsigned char *)st->decoded.data;
    size_t used = st->decoded.used, start = 0;
    while (start < used) {
        const unsigned char *lf = (const unsigned char *)memchr(s + start, '\n', used - start);
        /* A line whose first kLongestHeldText bytes hold no line end goes
         * up to its last space among them: a space is a character of its
         * own in every set read here, and where the cut falls depends on
         * the text alone, not on how it arrived. A line without such a
         * space is held whole. */
        bool long_line = lf ? (size_t)(lf - s) - start >= kLongestHeldText : used - start >= kLongestHeldText;
        if (long_line) {
            size_t cut = start + kLongestHeldText;
            while (cut > start && s[cut - 1] != ' ')
                cut--;
            if (cut > start) {
                if (!DecodeText(s + start, cut - start, st->charset, &st->text_jis, &st->writer) ||
                    !StoredWriterFlush(&st->writer))
                    return 0;
                start = cut;
                continue;
            }
        }
        if (!lf && !all)
            break;
        size_t end = lf ? (size_t)(lf - s) + 1 : used;
        size_t content = end - LineEndLength(s + start, end - start) - start;
        if (!DecodeText(s + start, content, st->charset, &st->text_jis, &st->writer) ||
            !StoredWriterFlush(&st->writer))
            return 0;
        st->text_jis = kJisStart; /* every line starts in ASCII */
        if (lf && !StoredBufferAppend(&d->out, "\r\n", 2))
            return 0;
        start = end;
    }
    if (start) {
        memmove(st->decoded.data, s + start, used - start);
        st->decoded.used = used - start;
    }
    return 1;
}

/* Decodes one physical line of the entity's transfer encoding into
 * st->decoded. */
int DecodeTransfer(ArticleDecoderState *st, const unsigned char *s, size_t length)
{
    if (st->encoding == kTransferBase64)
        return DecodeBase64(s, length, &st->base64, &st->decoded);
    if (st->encoding == kTransferPlain)
        return StoredBufferAppend(&st->decoded, (const char *)s, length);
    size_t end = LineEndLength(s, length);
    size_t content = length - end;
    while (content > 0 && IsBlank(s[content - 1]))
        content--;
    if (content > 0 && s[content - 1] == '=') /* a soft line break */
        return DecodeQuoted(s, content - 1, false, &st->decoded);
    return DecodeQuoted(s, content, false, &st->decoded) &&
           (!end || StoredBufferAppend(&st->decoded, "\r\n", 2));
}

/* Decimal digits by hand: the device's C library formats no 64-bit
 * numbers. */
int AppendNumber(StoredBuffer *out, unsigned long long n)
{
    char digits[24];
    size_t at = sizeof(digits);
    do {
        digits[--at] = (char)('0' + n % 10);
        n /= 10;
    } while (n);
    return StoredBufferAppend(out, digits + at, sizeof(digits) - at);
}

/* Ends the entity being read: the text's last line, or the attachment's
 * line in the list. */
int EndEntity(ArticleDecoder *d)
{
    ArticleDecoderState *st = d->state;
    if (st->place == kPlaceText)
        return EmitTextLines(d, true);
    if (st->place != kPlaceAttachment)
        return 1;
    StoredWriter writer;
    StoredWriterInit(&writer, &st->list);
    const char *type = st->entity.type[0] ? st->entity.type : "text/plain";
    static const unsigned long kAttached[] = {'[', 0x6DFB, 0x4ED8, ']', ' '};
    for (unsigned long c : kAttached)
        if (!StoredWriterPut(&writer, c))
            return 0;
    if (!StoredWriterFlush(&writer))
        return 0;
    if (st->entity.name.used && (!StoredBufferAppend(&st->list, st->entity.name.data, st->entity.name.used) ||
                                 !StoredBufferAppend(&st->list, " ", 1)))
        return 0;
    if (!StoredBufferAppend(&st->list, "(", 1))
        return 0;
    /* The type is the sender's text too ("&#x" may be in it). */
    for (const char *c = type; *c; c++)
        if (!StoredWriterPut(&writer, (unsigned char)*c))
            return 0;
    return StoredWriterFlush(&writer) && StoredBufferAppend(&st->list, ", ", 2) && AppendNumber(&st->list, st->size) &&
           StoredBufferAppend(&st->list, " bytes)\r\n", 9);
}

/* Starts reading the body of an entity described by `info`. */
void BeginEntity(ArticleDecoderState *st, const EntityInfo *info, bool text)
{
    st->place = text ? kPlaceText : kPlaceAttachment;
    st->charset = info->charset;
    st->encoding = info->encoding;
    st->base64 = {0, 0};
    st->text_jis = kJisStart;
    st->size = 0;
    st->held_line_end = 0;
    StoredBufferClear(&st->decoded);
    if (text)
        st->body_found = true;
}

/* The level whose boundary the line is (its "--" form), or -1; *closing
 * when it is the closing one. */
int MatchBoundary(ArticleDecoderState *st, const unsigned char *s, size_t length, bool *closing)
{
    if (length > kLongestBoundaryLine)
        return -1;
    length -= LineEndLength(s, length);
    while (length > 0 && IsBlank(s[length - 1]))
        length--;
    if (length < 2 || s[0] != '-' || s[1] != '-')
        return -1;
    for (int level = st->depth - 1; level >= 0; level--) {
        size_t n = st->boundary_lengths[level];
        if (length < 2 + n || memcmp(s + 2, st->boundaries[level], n) != 0)
            continue;
        if (length == 2 + n) {
            *closing = false;
            return level;
        }
        if (length == 4 + n && s[2 + n] == '-' && s[3 + n] == '-') {
            *closing = true;
            return level;
        }
    }
    return -1;
}

int EndEntityHeaders(ArticleDecoder *d);

/* A header line of an entity (complete, with its line end). */
int EntityHeaderLine(ArticleDecoder *d, const unsigned char *s, size_t length)
{
    ArticleDecoderState *st = d->state;
    if (length > 0 && IsBlank(s[0]) && st->logical.used) {
        st->logical.used -= LineEndLength((const unsigned char *)st->logical.data, st->logical.used);
        return StoredBufferAppend(&st->logical, (const char *)s, length);
    }
    if (st->logical.used &&
        !ReadContentHeader(st, (const unsigned char *)st->logical.data, st->logical.used, &st->entity))
        return 0;
    StoredBufferClear(&st->logical);
    if (LineEndLength(s, length) == length)
        return EndEntityHeaders(d);
    return StoredBufferAppend(&st->logical, (const char *)s, length);
}

int EndEntityHeaders(ArticleDecoder *d)
{
    ArticleDecoderState *st = d->state;
    if (IsMultipart(&st->entity) && st->depth < kDeepestNesting) {
        memcpy(st->boundaries[st->depth], st->entity.boundary, st->entity.boundary_length);
        st->boundary_lengths[st->depth] = st->entity.boundary_length;
        st->depth++;
        st->place = kPlaceSkip; /* the preamble */
        return 1;
    }
    BeginEntity(st, &st->entity, IsPlainText(&st->entity) && !st->body_found);
    return 1;
}

/* One complete physical body line, or the rest of one whose start was
 * read already (`continued`). */
int BodyLine(ArticleDecoder *d, const unsigned char *s, size_t length, bool continued)
{
    ArticleDecoderState *st = d->state;
    bool closing = false;
    int level = st->depth && !continued ? MatchBoundary(st, s, length, &closing) : -1;
    if (level >= 0) {
        if (st->place == kPlaceEntityHeaders) {
            st->place = kPlaceSkip; /* an entity with no body */
        } else if (!EndEntity(d)) {
            return 0;
        }
        st->depth = level + 1;
        if (closing) {
            st->depth = level;
            st->place = kPlaceSkip; /* the epilogue */
        } else {
            st->place = kPlaceEntityHeaders;
            EntityInfoClear(&st->entity);
            StoredBufferClear(&st->logical);
        }
        return 1;
    }
    switch (st->place) {
    case kPlaceSkip:
        return 1;
    case kPlaceEntityHeaders:
        return EntityHeaderLine(d, s, length);
    case kPlaceText:
        return DecodeTransfer(st, s, length) && EmitTextLines(d, false);
    case kPlaceAttachment: {
        StoredBufferClear(&st->decoded);
        if (!DecodeTransfer(st, s, length))
            return 0;
        size_t bytes = st->decoded.used;
        size_t end = st->encoding == kTransferBase64 ? 0
                                                     : LineEndLength((const unsigned char *)st->decoded.data, bytes);
        /* The line end before a boundary belongs to the boundary. */
        st->size += st->held_line_end + bytes - end;
        st->held_line_end = end;
        StoredBufferClear(&st->decoded);
        return 1;
    }
    }
    return 1;
}

int CompleteHeaderLine(ArticleDecoder *d)
{
    ArticleDecoderState *st = d->state;
    const unsigned char *s = (const unsigned char *)st->logical.data;
    size_t length = st->logical.used;
    if (!length)
        return 1;
    int done = 1;
    if (IsKeptHeader(s, length)) {
        StoredWriter writer;
        StoredWriterInit(&writer, &d->out);
        size_t end = LineEndLength(s, length);
        done = DecodeHeaderText(st, s, length - end, &writer) && StoredWriterFlush(&writer) &&
               StoredBufferAppend(&d->out, "\r\n", 2);
    } else if (StartsNoCase(s, length, "content-")) {
        done = ReadContentHeader(st, s, length, &st->article);
    }
    StoredBufferClear(&st->logical);
    return done;
}

void ReleaseState(ArticleDecoderState *st)
{
    StoredBufferRelease(&st->logical);
    StoredBufferRelease(&st->article.name);
    StoredBufferRelease(&st->entity.name);
    StoredBufferRelease(&st->words);
    StoredBufferRelease(&st->raw);
    StoredBufferRelease(&st->decoded);
    StoredBufferRelease(&st->list);
}

} // namespace

void ArticleDecoderInit(ArticleDecoder *decoder)
{
    StoredBufferInit(&decoder->out);
    decoder->state = nullptr;
}

void ArticleDecoderRelease(ArticleDecoder *decoder)
{
    if (decoder->state) {
        ReleaseState(decoder->state);
        free(decoder->state);
    }
    StoredBufferRelease(&decoder->out);
    decoder->state = nullptr;
}

int ArticleDecoderReset(ArticleDecoder *decoder)
{
    if (!decoder->state) {
        decoder->state = (ArticleDecoderState *)calloc(1, sizeof(ArticleDecoderState));
        if (!decoder->state) {
            SetByteError(kErrorNotEnoughMemory);
            return 0;
        }
    }
    ArticleDecoderState *st = decoder->state;
    StoredBufferClear(&decoder->out);
    StoredBufferClear(&st->logical);
    StoredBufferClear(&st->words);
    StoredBufferClear(&st->raw);
    StoredBufferClear(&st->decoded);
    StoredBufferClear(&st->list);
    EntityInfoClear(&st->article);
    EntityInfoClear(&st->entity);
    st->depth = 0;
    st->place = kPlaceSkip;
    st->body_found = false;
    st->continued = false;
    st->last_taken = '\n';
    StoredWriterInit(&st->writer, &decoder->out);
    return 1;
}

int ArticleDecoderHeaderLine(ArticleDecoder *decoder, const char *line, size_t length)
{
    ArticleDecoderState *st = decoder->state;
    if (length > 0 && IsBlank((unsigned char)line[0]) && st->logical.used) {
        /* A continuation: only the line end before it goes. */
        st->logical.used -= LineEndLength((const unsigned char *)st->logical.data, st->logical.used);
        return StoredBufferAppend(&st->logical, line, length);
    }
    if (!CompleteHeaderLine(decoder))
        return 0;
    return StoredBufferAppend(&st->logical, line, length);
}

int ArticleDecoderFinishHeaders(ArticleDecoder *decoder)
{
    ArticleDecoderState *st = decoder->state;
    if (!CompleteHeaderLine(decoder))
        return 0;
    if (IsMultipart(&st->article)) {
        memcpy(st->boundaries[0], st->article.boundary, st->article.boundary_length);
        st->boundary_lengths[0] = st->article.boundary_length;
        st->depth = 1;
        st->place = kPlaceSkip; /* the preamble */
    } else {
        /* A multipart article without its boundary is read as text. */
        const char *type = st->article.type;
        BeginEntity(st, &st->article, !type[0] || !strncmp(type, "text/", 5) || !strncmp(type, "multipart/", 10));
        if (st->place == kPlaceAttachment) {
            EntityInfoClear(&st->entity);
            memcpy(st->entity.type, st->article.type, kTypeSize);
            if (st->article.name.used &&
                !StoredBufferAppend(&st->entity.name, st->article.name.data, st->article.name.used))
                return 0;
        }
    }
    return 1;
}

int ArticleDecoderBodyLine(ArticleDecoder *decoder, const char *bytes, size_t length, int complete)
{
    ArticleDecoderState *st = decoder->state;
    if (!StoredBufferAppend(&st->raw, bytes, length))
        return 0;
    if (!complete) {
        /* A long line that needs no line end to be read is read as it
         * comes, all but a CR that may begin the line end. */
        bool early = st->place == kPlaceSkip ||
                     (st->place != kPlaceEntityHeaders && st->encoding != kTransferQuoted);
        if (!early || st->raw.used <= kLongestBoundaryLine)
            return 1;
        size_t taken = st->raw.used - (st->raw.data[st->raw.used - 1] == '\r');
        if (!BodyLine(decoder, (const unsigned char *)st->raw.data, taken, st->continued))
            return 0;
        memmove(st->raw.data, st->raw.data + taken, st->raw.used - taken);
        st->raw.used -= taken;
        st->continued = true;
        return 1;
    }
    int done = BodyLine(decoder, (const unsigned char *)st->raw.data, st->raw.used, st->continued);
    StoredBufferClear(&st->raw);
    st->continued = false;
    return done;
}

int ArticleDecoderFinish(ArticleDecoder *decoder)
{
    ArticleDecoderState *st = decoder->state;
    if (st->raw.used) {
        int done = BodyLine(decoder, (const unsigned char *)st->raw.data, st->raw.used, st->continued);
        StoredBufferClear(&st->raw);
        if (!done)
            return 0;
    }
    if (st->place != kPlaceEntityHeaders && !EndEntity(decoder))
        return 0;
    st->place = kPlaceSkip;
    if (!StoredWriterFlush(&st->writer))
        return 0;
    if (!st->list.used)
        return 1;
    char last = decoder->out.used ? decoder->out.data[decoder->out.used - 1] : st->last_taken;
    if (last != '\n' && !StoredBufferAppend(&decoder->out, "\r\n", 2))
        return 0;
    return StoredBufferAppend(&decoder->out, "\r\n", 2) &&
           StoredBufferAppend(&decoder->out, st->list.data, st->list.used);
}

void ArticleDecoderTake(ArticleDecoder *decoder)
{
    if (decoder->state && decoder->out.used)
        decoder->state->last_taken = decoder->out.data[decoder->out.used - 1];
    StoredBufferClear(&decoder->out);
}

int ArticleDecoderText(ArticleDecoder *decoder, const char *text, size_t length)
{
    if (!ArticleDecoderReset(decoder))
        return 0;
    StoredWriter *w = &decoder->state->writer;
    return DecodeHeaderText(decoder->state, (const unsigned char *)text, length, w) && StoredWriterFlush(w);
}
