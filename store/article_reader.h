/*
 * Reading stored text back from a group's log for the views. The log is
 * opened read-only with read sharing for each call.
 */
#ifndef PELNOR_ARTICLE_READER_H
#define PELNOR_ARTICLE_READER_H

#include <windows.h>

#include "store/group_store.h"
#include "store/index_file.h"

/* The article of `length` bytes at `offset` (separator included) as 16-bit
 * text; caller must free. Null with error 8 when memory runs out, 38 when
 * the log ends before the article does, or the file's error. */
wchar_t *ReadArticle(GroupStore *store, DWORD offset, DWORD length);

/* The same article as the stored bytes (NUL-terminated); caller must
 * free. */
char *ReadArticleBytes(GroupStore *store, DWORD offset, DWORD length);

/* The record's subject text range (whatever the log holds there, which may
 * be shorter at the log's end) as 16-bit text; caller must free. */
wchar_t *ReadSubjectText(GroupStore *store, const IndexRecord *record);

/* `length` bytes of an open log at `offset` into a new NUL-terminated
 * buffer; caller must free. With `whole` a short read fails with 38;
 * without it the buffer holds what the log had. */
char *ReadLogBytes(HANDLE log, DWORD offset, DWORD length, int whole);

#endif
