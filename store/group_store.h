/*
 * GroupStore: the handle on one subscribed group's files (index, log,
 * keyword filter) and the values of its index header. Every reader and
 * writer of a group takes one, sets its names, opens what it needs and
 * closes it again; the store is never shared between threads.
 *
 * Paths are "%s%s.idx", "%s%s.log" and "%s%s.flt": the data folder (which
 * ends in a backslash) and the group name as it stands in group.dat.
 */
#ifndef PELNOR_GROUP_STORE_H
#define PELNOR_GROUP_STORE_H

#include <windows.h>

struct GroupStore {
    HANDLE index_file;  /* INVALID_HANDLE_VALUE when closed */
    HANDLE log_file;    /* INVALID_HANDLE_VALUE when closed */
    wchar_t *index_path; /* owned; null until the names are set */
    wchar_t *log_path;
    wchar_t *filter_path;
    /* The index header, one for one (see index_file.h). */
    DWORD last_fetched;  /* 0xFFFFFFFF after a catch-up on the server */
    wchar_t *status_text; /* owned, or null (reads as "") */
    DWORD server_last;
    DWORD reserved;      /* carried through, never interpreted */
    DWORD record_count;
    DWORD saved_position;
    DWORD unread_count;
    DWORD high_count;
    DWORD low_count;
};

/* last_fetched after a catch-up on the server: nothing is fetched until the
 * server's next article. */
enum : DWORD { kCaughtUpOnServer = 0xFFFFFFFFu };

/* Error of a group name that cannot be used as a file name (the system's
 * ERROR_INVALID_NAME). */
enum : DWORD { kErrorBadGroupName = ERROR_INVALID_NAME };

/* Closed handles, no paths, every value 0. Call before anything else. */
void GroupStoreInit(GroupStore *store);

/* Whether a group name (as a server lists it) can be used as the stem of a
 * file name inside the data folder: not empty; no control bytes, blanks or
 * any of \ / : * ? " < > |; no empty component (leading or trailing '.' or
 * ".."); no reserved device name (CON, PRN, AUX, NUL, COM1-9, LPT1-9, any
 * case) as its first component, which the system would open as a device. */
int IsValidGroupName(const wchar_t *group);

/* Frees any previous paths and builds the three paths; zeroes last fetched,
 * server last and unread count. Nothing is opened. 0 with error 8 when
 * memory runs out, 87 for a null argument, kErrorBadGroupName (123) for a
 * name IsValidGroupName refuses (the paths are then null). */
int GroupStoreSetNames(GroupStore *store, const wchar_t *data_folder, const wchar_t *group);

/* Frees the paths and the status text and closes both handles. Must be
 * called for every store whose names were set. */
void GroupStoreRelease(GroupStore *store);

/* Frees the status text, closes the index handle and zeroes every header
 * value. The paths stay. */
void GroupStoreReset(GroupStore *store);

/* Header values. */
DWORD GroupStoreLastFetched(const GroupStore *store);
void GroupStoreSetLastFetched(GroupStore *store, DWORD value);
DWORD GroupStoreServerLast(const GroupStore *store);
void GroupStoreSetServerLast(GroupStore *store, DWORD value);
DWORD GroupStoreReserved(const GroupStore *store);
void GroupStoreSetReserved(GroupStore *store, DWORD value);
DWORD GroupStoreRecordCount(const GroupStore *store);
void GroupStoreSetRecordCount(GroupStore *store, DWORD value);
DWORD GroupStoreSavedPosition(const GroupStore *store);
void GroupStoreSetSavedPosition(GroupStore *store, DWORD value);
DWORD GroupStoreUnreadCount(const GroupStore *store);
void GroupStoreSetUnreadCount(GroupStore *store, DWORD value);
DWORD GroupStoreHighCount(const GroupStore *store);
void GroupStoreSetHighCount(GroupStore *store, DWORD value);
DWORD GroupStoreLowCount(const GroupStore *store);
void GroupStoreSetLowCount(GroupStore *store, DWORD value);

/* The status text; "" when there is none. Owned by the store. */
const wchar_t *GroupStoreStatusText(const GroupStore *store);
/* Keeps a copy of `text` (null clears it). 0 with error 8 when the copy
 * cannot be allocated (the old text stays). */
int GroupStoreSetStatusText(GroupStore *store, const wchar_t *text);

/* Opens the index (or the log) for reading and writing, no sharing,
 * creating it when missing, into index_file (log_file). 87 when the names
 * are not set. Opening an open file closes the old handle first. */
int GroupStoreOpenIndex(GroupStore *store);
int GroupStoreOpenLog(GroupStore *store);
/* Closing a closed handle does nothing. */
void GroupStoreCloseIndex(GroupStore *store);
void GroupStoreCloseLog(GroupStore *store);

#endif
