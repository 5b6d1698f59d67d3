/*
 * The words a download run's outcomes are told in: the captions and texts
 * of the end-of-run box and of each group's status.
 */
#ifndef PELNOR_DOWNLOAD_TEXTS_H
#define PELNOR_DOWNLOAD_TEXTS_H

#include "nntp/outcome.h"
#include "nntp/run_result.h"
#include "nntp/server.h"

/* The title and text of `outcome` into `result`, with the outcome's
 * severity; `server` names the server in the session's own failures. */
void DescribeDownloadOutcome(const NntpServer *server, const NntpOutcome *outcome, RunResult *result);

#endif
