/*
 * Dialog 110 "購読可能ｸﾞﾙｰﾌﾟの取得中..": the group counter while the
 * group-list download runs as a background job, and the run's failure told
 * in a box when it ends.
 */
#ifndef PELNOR_GROUP_LIST_DIALOG_H
#define PELNOR_GROUP_LIST_DIALOG_H

#include <windows.h>

#include "nntp/server.h"

/* Shows the dialog until the download has ended and its failure, if any,
 * has been shown ("PELNOR", exclamation icon; a server's line in it read
 * as any header text with `decode_charsets`); closed early, it stops the
 * download. Always 0. */
int RunGroupListDownload(HINSTANCE instance, HWND parent, const wchar_t *active_path, const wchar_t *category_path,
                         const NntpServer *server, int decode_charsets);

#endif
