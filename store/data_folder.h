/*
 * The data folder: "draft" with its leftover "*.bak" files, the three .dat
 * files, and every subscribed group's index brought up to date. Run at
 * start-up and after every operation that changes the folder.
 */
#ifndef PELNOR_DATA_FOLDER_H
#define PELNOR_DATA_FOLDER_H

#include <windows.h>

/* `data_path` is used as given: names are joined to it with "%s%s", so it
 * normally ends in a backslash. Shows the wait cursor while it works.
 * Returns 1, or 0 with the last error set. */
int StartDataFolder(const wchar_t *data_path);

#endif
