/*
 * Appending articles to a group's log. One article, byte for byte:
 *
 *   the kept header lines (continuations joined), each ending in CR LF
 *   "X-Local-Seq: <article number>" CR LF
 *   CR LF
 *   the body lines as given
 *   "================" CR LF
 *
 * Finishing the article adds its index record (record_count, unread and
 * high/low counts of the store rise in memory); the caller saves the index
 * header once at the end of its run (IndexWriteHeader).
 *
 * Typical use, with `store` named by GroupStoreSetNames and its header read:
 *   GroupStoreOpenLog(&store); GroupStoreOpenIndex(&store);
 *   ArticleWriterInit(&writer, &store);
 *   for each article:
 *     ArticleWriterBegin(&writer, number);
 *     ArticleWriterAddHeaderLine(&writer, "Subject: ...\r\n"); ...
 *     ArticleWriterFinishHead(&writer);
 *     ArticleWriterBodyLine(&writer, "...\r\n"); ...
 *     ArticleWriterFinishArticle(&writer);   (or ArticleWriterAbandon)
 *   ArticleWriterRelease(&writer);
 *   GroupStoreCloseLog(&store); GroupStoreCloseIndex(&store);
 *   IndexWriteHeader(&store, INVALID_HANDLE_VALUE);
 */
#ifndef PELNOR_ARTICLE_WRITER_H
#define PELNOR_ARTICLE_WRITER_H

#include <windows.h>

#include "filters/keyword_filter.h"
#include "store/group_store.h"
#include "store/header_block.h"

struct ArticleWriter {
    GroupStore *store;     /* borrowed; its log and index are open */
    HeaderBlock block;     /* the article's kept header lines */
    KeywordFilter filter;  /* the group's keywords, loaded at Begin */
    DWORD start;           /* log offset where the article starts */
    DWORD article_number;  /* its number on the server */
};

/* Binds the writer to the store; nothing is allocated yet. */
void ArticleWriterInit(ArticleWriter *writer, GroupStore *store);

/* Starts article `article_number` at the log's current end: prepares the
 * header block (error 8), loads the group's ".flt" filter. 87 when the log
 * is not open. */
int ArticleWriterBegin(ArticleWriter *writer, DWORD article_number);

/* Adds a kept header line (8-bit Shift_JIS, NUL-terminated, with its
 * CR LF). A line that starts with a blank or tab is a continuation. */
int ArticleWriterAddHeaderLine(ArticleWriter *writer, const char *line);
/* Joins a continuation line to the last header line: its leading blanks
 * and tabs are dropped and the previous line end is removed. */
int ArticleWriterAddContinuation(ArticleWriter *writer, const char *line);

/* Adds "X-Local-Seq: <number>" and writes the head and the blank line. */
int ArticleWriterFinishHead(ArticleWriter *writer);

/* Writes one body line exactly as given (NUL-terminated, with its CR LF,
 * already without the leading dot of a dot-stuffed line). */
int ArticleWriterBodyLine(ArticleWriter *writer, const char *text);

/* Writes the separator and appends the article's index record. */
int ArticleWriterFinishArticle(ArticleWriter *writer);

/* Gives up the article begun last (its body refused, or the download
 * failed inside it): the log is cut back to where the article started. */
int ArticleWriterAbandon(ArticleWriter *writer);

/* Frees the header block and the filter. The store stays open. */
void ArticleWriterRelease(ArticleWriter *writer);

#endif
