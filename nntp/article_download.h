/*
 * Download of one group's new articles into its log and index: GROUP, the
 * range of numbers not yet fetched, then HEAD and BODY of each article, up
 * to the per-run limit. The group's index header records how far it got.
 */
#ifndef PELNOR_ARTICLE_DOWNLOAD_H
#define PELNOR_ARTICLE_DOWNLOAD_H

#include <windows.h>

#include "nntp/connection.h"
#include "nntp/progress.h"
#include "nntp/run_result.h"

/* Downloads `group` over the open connection into the data folder. The
 * outcome is left in `result`: severity 0 with the summary text, 1 when the
 * server refused the group (the run goes on), 2 on a failure that ends the
 * run; after a severity-2 failure the index header is left as it was. */
void DownloadGroup(NntpConnection *c, const wchar_t *group, const wchar_t *data_path, DWORD limit,
                   DownloadProgress *progress, RunResult *result);

/* The GROUP exchange: sends "GROUP " + name and reads count, first and last
 * from the reply. 1, or 0 with the result set (severity 1 for a refusal or
 * an unreadable reply, 2 for a send or receive failure). */
int SelectGroup(NntpConnection *c, const wchar_t *group, DWORD *count, DWORD *first, DWORD *last,
                RunResult *result);

#endif
