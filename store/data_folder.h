/*
 * The data folder: "draft" with its leftover "*.bak" files, the three .dat
 * files, and every subscribed group's index brought up to date. Run at
 * start-up and after every operation that changes the folder.
 */
#ifndef PELNOR_DATA_FOLDER_H
#define PELNOR_DATA_FOLDER_H

#include <windows.h>

/* Told after each subscribed group's index has been brought up, so that the
 * caller can keep its window painting through a folder of many groups. */
struct StartProgress {
    void *context;
    void (*group_ready)(void *context);
};

/* Shows the wait cursor while it works. Returns 1, or 0 with the last error
 * set when the folder itself cannot be prepared. A group whose index cannot
 * be brought up is skipped; *unknown_version is 1 when one of them was of a
 * version this program does not know, which the caller tells the user. */
int StartDataFolder(const wchar_t *data_path, int *unknown_version, const StartProgress *progress = nullptr);

#endif
