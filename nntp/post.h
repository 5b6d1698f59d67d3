/*
 * Sending the drafts waiting in the draft folder, on a conversation that
 * is open and logged in, before anything is downloaded. Each draft gets a
 * Message-ID of its own before its first attempt, written into its file, so
 * that a draft whose post was cut off is recognised by the server when it
 * is sent again instead of appearing twice. A posted draft is filed as
 * sent; one the server refuses stays waiting and the events are told why.
 */
#ifndef PELNOR_NNTP_POST_H
#define PELNOR_NNTP_POST_H

#include <windows.h>

#include "nntp/connection.h"
#include "nntp/download_events.h"

/* Posts every waiting draft of params->posting. 1 when the link is still
 * good (whatever the server said to each draft), or 0 after a failure of
 * the link itself, reported through the events into `result` (the draft
 * in hand stays waiting). */
int PostWaitingDrafts(NntpConnection *c, const SessionParams *params, RunResult *result);

/* The number of drafts waiting in `draft_path`. */
DWORD CountWaitingDrafts(const wchar_t *draft_path);

/* A new Message-ID for a draft of the poster at `mail_address` (stored
 * text): the time, random digits and the address's domain. `out` holds
 * kMessageIdChars bytes. */
enum { kMessageIdChars = 128 };
void MakeMessageId(const char *mail_address, char *out);

#endif
