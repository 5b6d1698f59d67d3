/*
 * The group view: a report list of the subscribed groups, one row per line
 * of group.dat, with each group's counts from its index header. Column
 * widths persist under Software\marrowby\Pelnor\GroupView.
 */
#ifndef PELNOR_GROUP_VIEW_H
#define PELNOR_GROUP_VIEW_H

#include <windows.h>

#include "store/group_store.h"

/* One column: heading string, registry value of its width, the index it is
 * inserted at, its width when the registry has none. */
struct GroupViewColumn {
    DWORD string_id; /* 0xFFFFFFFF ends the table */
    const wchar_t *value_name;
    int column_index;
    int default_width;
};

enum GroupViewColumnIndex {
    kColumnNewsgroup = 0,
    kColumnUnread = 1,
    kColumnArticles = 2,
    kColumnStatus = 3,
    kColumnCurrent = 4,
    kColumnMaximum = 5,
};

enum { kGroupViewNameChars = 1024 };

struct GroupView {
    HWND list;
    const GroupViewColumn *columns;
    const wchar_t *key_path;
};

/* Empty view over the constant column table. */
void GroupViewInit(GroupView *view);

/* Creates the list control (report, single selection, selection always
 * shown) and its columns with the stored widths. 0 with the last error when
 * the control or the registry key cannot be made. */
int GroupViewCreate(GroupView *view, HWND parent, const wchar_t *caption, const RECT *rect, UINT id,
                    HINSTANCE instance);

void GroupViewShow(GroupView *view, int show);

/* What a group's row shows beside its name: the counts and texts of its
 * index header. */
enum { kGroupRowStatusChars = 64 }; /* a header's status text is at most 63 bytes */
struct GroupRow {
    DWORD unread;
    DWORD articles;
    DWORD last_fetched; /* kCaughtUpOnServer shows as "Catchup" */
    DWORD server_last;
    wchar_t status[kGroupRowStatusChars];
};

/* The row of a store whose header has been read. */
void GroupRowFromStore(GroupRow *row, const GroupStore *store);

/* One row per name of `names` (each ended by a NUL, the list by an empty
 * name), the name alone in it; row 0 selected and focused. */
void GroupViewSetGroups(GroupView *view, const wchar_t *names);

/* Fills row `row`'s other columns (status, current, maximum, articles,
 * unread, in that order). */
void GroupViewShowRow(GroupView *view, int row, const GroupRow *shown);

/* The groups a reload could not show, named in one box at its end. */
struct GroupViewFailures {
    DWORD count;
    DWORD first_error;
    wchar_t names[1024]; /* the first few, each after "\r\n" */
};

/* Notes one group that could not be shown (start from a zeroed record). */
void GroupViewNoteFailure(GroupViewFailures *failures, const wchar_t *group, DWORD error);

/* Names the noted groups in one box (caption "GROUP", the first ten by
 * name) and returns 0 with the first one's error; 1 when there are none. */
int GroupViewShowFailures(const GroupViewFailures *failures);

/* Fills the rows from group.dat and the groups' index headers, then selects
 * and focuses row 0. A group whose header cannot be read keeps a row with
 * its name only and the reload goes on; the failed groups are named in one
 * box (caption "GROUP") and the result is then 0, as it is when group.dat
 * cannot be read. */
int GroupViewReload(GroupView *view, const wchar_t *data_folder);

/* The first selected row's group name (at most `size` characters with the
 * terminator) and, when `row` is given, its index. 0 when none is selected. */
int GroupViewSelected(GroupView *view, wchar_t *name, int size, int *row);

/* The group names of every row, in the view's order, as one allocation
 * (each name ended by a NUL, the list by an empty name; at most
 * kGroupViewNameChars - 1 units a name) for the caller to free; null with
 * the last error when memory ran out. */
wchar_t *GroupViewNames(GroupView *view);

/* Selects and focuses the row after the selected one; *moved says whether
 * there was one. 0 when no row is selected. */
int GroupViewSelectNext(GroupView *view, int *moved);

/* Shows `status` in the status column of the row of `group`, if any. */
void GroupViewSetStatus(GroupView *view, const wchar_t *group, const wchar_t *status);

/* Shows `count` in the unread column of `row`. */
void GroupViewSetUnread(GroupView *view, int row, DWORD count);

/* Writes each column's width back to the registry. 0 at the first failure. */
int GroupViewSaveWidths(GroupView *view);

#endif
