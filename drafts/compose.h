/*
 * Making drafts and filing them, with no window: a new draft for a group, a
 * follow-up to a stored article, the check before a draft waits to be sent
 * and the moves between the three folders.
 */
#ifndef PELNOR_COMPOSE_H
#define PELNOR_COMPOSE_H

#include <windows.h>

#include "store/draft_file.h"

/* The bytes a References value may take: room is left on its line for the
 * header's name, under the 998 bytes a line of an article may have. */
enum { kReferencesLimit = 900 };

/* A new draft: only a Newsgroups header, `newsgroups` (stored text), when
 * that is not null or empty. `draft` is set up by the call. 1, or 0 with 8. */
int NewDraftFor(Draft *draft, const char *newsgroups);

/* A follow-up to `article`, `length` bytes of stored text as a group's log
 * keeps it (header lines, an empty line, the body, maybe the log's
 * separator line). Newsgroups is the article's, else `group`; Subject is
 * "Re: " and the article's, unless that already begins with "Re:" in any
 * case; References is the article's and its Message-ID, whole ids after
 * the first dropped until it fits kReferencesLimit; the body is
 * `attribution` (stored text, its one "%s" the article's From; left out
 * when the article has no From) and every line of the article's body after
 * "> " (">" for an empty line), then an empty line to write on. `draft` is
 * set up by the call. 1, or 0 with 8. */
int MakeFollowUp(const char *article, size_t length, const char *group, const char *attribution, Draft *draft);

/* What a draft lacks to be sent. */
enum DraftLack { kDraftComplete = 0, kDraftNoNewsgroups, kDraftNoSubject };
DraftLack DraftLackForSending(const Draft *draft);

/* Appends "Newsgroups: " and "Subject: " lines with empty values when the
 * draft has none, so that whoever edits the file finds the fields to fill
 * in. 1, or 0 with 8. */
int AddEmptyHeaders(Draft *draft);

/* Whether the draft at `path` going to `root` leaves the sent folder: it is
 * then a new article, and the Message-ID its sending gave it must go. */
bool DraftLeavesSent(const wchar_t *path, DraftRoot root);

/* Files the draft at `path` under `root` (see MoveDraft); one that leaves
 * the sent folder is written again first without its Message-ID. The new
 * path, newly allocated, or null with the last error and the file where it
 * was. */
wchar_t *RefileDraft(const wchar_t *path, DraftRoot root);

/* The file name part of a path. */
const wchar_t *DraftFileName(const wchar_t *path);

#endif
