/*
 * The article a draft becomes when it is posted: the draft's stored text
 * turned into what a news server takes. Header text outside ASCII goes as
 * MIME encoded words and the body as ISO-2022-JP, the form Japanese news
 * readers expect; text with characters ISO-2022-JP lacks (half-width
 * katakana, the vendor extensions, anything beyond Shift_JIS) goes as
 * UTF-8 instead, so nothing the user typed is lost.
 *
 * Byte-level: no windows.h, so it also builds natively for the sanitizers.
 */
#ifndef PELNOR_OUTGOING_ARTICLE_H
#define PELNOR_OUTGOING_ARTICLE_H

#include <stddef.h>

#include "text/stored_text.h"

/* What the poster's program adds to the draft's own header lines. Texts
 * are stored text; null (or empty) leaves a header out. */
struct OutgoingHeaders {
    const char *user_name;    /* the From header's display name */
    const char *mail_address; /* ...and its address */
    const char *organization; /* used when the draft has none of its own */
    const char *message_id;   /* "<...>" */
    const char *date;         /* e.g. "Thu, 26 Nov 2026 01:02:03 +0000" */
    const char *user_agent;
};

/* Appends the article for the draft with the header lines `head` (stored
 * text, "Name: value" CR LF each, continuations joined) and the body
 * `body` to `out`: its header (the draft's lines but those the poster's
 * program sets and those only a server sets, then From, Organization,
 * Message-ID, Date, the MIME headers, User-Agent), an empty line and the
 * body, every line ending in CR LF. Not dot-stuffed. 1, or 0 with last
 * error 8. */
int BuildOutgoingArticle(const char *head, size_t head_length, const char *body, size_t body_length,
                         const OutgoingHeaders *headers, StoredBuffer *out);

/* Whether `length` bytes of stored text can be written in ISO-2022-JP:
 * ASCII and the JIS X 0208 pairs of Shift_JIS only. */
bool FitsIso2022Jp(const char *text, size_t length);

/* Appends `length` bytes of stored text as UTF-8. 1, or 0 with 8. */
int StoredToUtf8(StoredBuffer *out, const char *text, size_t length);

#endif
