/*
 * An article as received (header lines, then body lines, dot-unstuffed
 * with their CR LF) to stored text (text/stored_text.h). Byte-level: no
 * windows.h, so it also builds natively for the sanitizers and fuzzers.
 *
 * Header lines: every line goes in, continuations too, so the Content-Type
 * and Content-Transfer-Encoding of unkept headers are read. A kept header
 * ("From:", "Subject:", "Newsgroups:", "Date:", "Message-ID:",
 * "References:", matched case-sensitively as before) comes out as one
 * stored line ending in CR LF, unfolded (only the CR LF before each
 * continuation is removed) and with its encoded words decoded.
 *
 * Body lines: decoded by their transfer encoding and character set; a
 * multipart article gives its first text/plain entity as the body, then
 * one line for every other entity (Finish):
 *     [添付] name (type, 1234 bytes)
 * with "[添付]" in Shift_JIS, the entity's decoded filename or name (the
 * name and its space are left out when it has none), its type in lower
 * case and the size of its decoded content. A blank line separates the
 * list from the body.
 *
 * Body lines are read as they come where that is possible: a line of a
 * preamble, an epilogue or an attachment, and a text line up to a space
 * past its first 4 KB, are not held whole (a quoted-printable line, a
 * header line of an entity and a long text line without a space are).
 *
 * format=flowed text is kept as sent, its soft line ends included: nothing
 * is lost, and a reply quotes the lines the sender wrote.
 *
 * Every call returns 1, or 0 with last error 8 when memory ran out (the
 * decoder must then be Reset before it is used again). What a call makes
 * is in `out` (NUL-terminated) for the caller to take; ArticleDecoderTake
 * empties it.
 */
#ifndef PELNOR_ARTICLE_DECODER_H
#define PELNOR_ARTICLE_DECODER_H

#include <stddef.h>

#include "stored_text.h"

struct ArticleDecoderState;

struct ArticleDecoder {
    StoredBuffer out;
    ArticleDecoderState *state;
};

/* A decoder that holds nothing yet: ArticleDecoderReset it before the
 * first article; ArticleDecoderRelease frees it. */
void ArticleDecoderInit(ArticleDecoder *decoder);
void ArticleDecoderRelease(ArticleDecoder *decoder);

/* Starts a new article. */
int ArticleDecoderReset(ArticleDecoder *decoder);

/* One raw header line of `length` bytes with its line end. A kept header
 * completed by this line (the logical line before it) is left in `out`. */
int ArticleDecoderHeaderLine(ArticleDecoder *decoder, const char *line, size_t length);

/* The end of the header: the last kept header, if any, is left in `out`. */
int ArticleDecoderFinishHeaders(ArticleDecoder *decoder);

/* A body line, or a piece of one as it is read: `complete` when the
 * bytes end the line (its line end is their last bytes). The stored text
 * made so far is appended to `out`. */
int ArticleDecoderBodyLine(ArticleDecoder *decoder, const char *bytes, size_t length, int complete);

/* The end of the body: the rest of the text and the list of attachments
 * are appended to `out`. */
int ArticleDecoderFinish(ArticleDecoder *decoder);

/* Empties `out` (after the caller has written it). */
void ArticleDecoderTake(ArticleDecoder *decoder);

/* A line of free text, as a server's reply or a header's value: encoded
 * words and undeclared 8-bit or ISO-2022-JP text decoded into `out` (after
 * a reset, so not inside an article). */
int ArticleDecoderText(ArticleDecoder *decoder, const char *text, size_t length);

#endif
