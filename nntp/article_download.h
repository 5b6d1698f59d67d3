/*
 * Download of one group's new articles into its log and index: GROUP, the
 * range of numbers not yet fetched, then HEAD and BODY of each article, up
 * to the per-run limit. The group's index header records how far it got.
 */
#ifndef PELNOR_ARTICLE_DOWNLOAD_H
#define PELNOR_ARTICLE_DOWNLOAD_H

#include <windows.h>

#include "nntp/connection.h"
#include "nntp/run_result.h"
#include "nntp/download_events.h"

/* Downloads `group` over the open connection into the run's data folder.
 * The outcome is left in `result`: severity 0 with the summary text, 1 when
 * the group could not be had (refused by the server, or a name the data
 * folder refuses: the run goes on), 2 on a failure that ends the run; after
 * a failure before the range the index header is left as it was. */
void DownloadGroup(NntpConnection *c, const wchar_t *group, const SessionParams *params, RunResult *result);

#endif
