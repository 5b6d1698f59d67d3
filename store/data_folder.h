/*
 * The data folder: "draft" with its leftover "*.bak" files, the three .dat
 * files, and every subscribed group's index brought up to date. Run at
 * start-up and after every operation that changes the folder: the folder's
 * own part at once, the groups' part one group at a time, so that a caller
 * with thousands of groups can spread it out.
 */
#ifndef PELNOR_DATA_FOLDER_H
#define PELNOR_DATA_FOLDER_H

#include <windows.h>

#include "store/group_store.h"

/* The folder's own part: the "draft" folder without its "*.bak" files and
 * the three .dat files, made when missing. Quick whatever the number of
 * groups. 1, or 0 with the last error. */
int PrepareDataFolder(const wchar_t *data_path);

/* One subscribed group's part, from a store of any state: its names set
 * (they stay set when they could be) and its index brought up to the
 * current version, made when missing and repaired when it does not fit its
 * log. 1, or 0 with the last error; *unknown_version is 1 when the index is
 * of a version this program does not know, which the caller tells the
 * user. The index is closed afterwards. */
int PrepareGroupIndex(GroupStore *store, const wchar_t *data_path, const wchar_t *group, int *unknown_version);

/* Both, for every group of group.dat in its order, under the wait cursor.
 * Returns 1, or 0 with the last error set when the folder itself cannot be
 * prepared or group.dat not read. A group whose index cannot be brought up
 * is skipped; *unknown_version is 1 when one of them was of a version this
 * program does not know. */
int StartDataFolder(const wchar_t *data_path, int *unknown_version);

#endif
