/*
 * Reading the subscribed group names from "group.dat": one name per line,
 * CR LF after each. Lines starting with '#' and lines of two bytes or fewer
 * (line end included) are skipped, so comments and empty lines may be
 * written by hand.
 */
#ifndef PELNOR_GROUP_FILE_H
#define PELNOR_GROUP_FILE_H

#include <windows.h>

#include "base/line_reader.h"

struct GroupFileReader {
    HANDLE file;
    LineReader lines;   /* 4096-byte read buffer, lines of at most 1024 bytes */
    wchar_t *name;      /* the last name handed out; owned */
};

/* Opens `data_folder` + "group.dat" (a backslash is put between them when
 * the folder does not end in one) for reading, shared for reading, existing
 * file only. Null with the error when it cannot be opened or memory runs
 * out. Free with GroupFileClose. */
GroupFileReader *GroupFileOpen(const wchar_t *data_folder);

/* The next group name as 16-bit text, owned by the reader until the next
 * call; null at the end of the file (error 38), on a line longer than 1023
 * bytes (234) or a read error. */
const wchar_t *GroupFileNext(GroupFileReader *reader);

/* Closes the file and frees the reader and its last name. Null is allowed. */
void GroupFileClose(GroupFileReader *reader);

/* Every group name of the file at once, in its order, as one allocation for
 * the caller to free: each name ended by a NUL, the list by an empty name;
 * *count says how many. The names end at the end of the file or at an
 * over-long line, as GroupFileNext's do. Null with the error when the file
 * cannot be opened or read, or memory runs out. */
wchar_t *GroupFileReadNames(const wchar_t *data_folder, DWORD *count);

#endif
