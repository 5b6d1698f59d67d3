/*
 * Walks the group names of the group view's list control, row by row, by
 * sending the list its get-item-text request (from the worker thread; the
 * user-interface thread answers while it runs the progress dialog).
 */
#ifndef PELNOR_GROUP_CURSOR_H
#define PELNOR_GROUP_CURSOR_H

#include <windows.h>

enum { kGroupNameChars = 1024 };

struct GroupCursor {
    wchar_t name[kGroupNameChars];
    DWORD row;
    DWORD row_count;
    HWND list;    /* the group view's list-view control */
    DWORD spare;  /* 0 */
};

void GroupCursorInit(GroupCursor *cursor, HWND list);

/* Back to row 0; asks the list for its row count. */
void GroupCursorReset(GroupCursor *cursor);

/* Reads the text of the current row (sub-item 0, at most 1024 units) into
 * cursor->name: 1, or 0 when the list gives no text, which ends the groups. */
int GroupCursorFetch(GroupCursor *cursor);

/* On to the next row. */
void GroupCursorAdvance(GroupCursor *cursor);

#endif
