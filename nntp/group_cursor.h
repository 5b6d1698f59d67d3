/*
 * Walks the group names of a download run, in the group view's order. The
 * names are taken from the view on the user-interface thread before the
 * run starts, so the worker never asks a window.
 */
#ifndef PELNOR_GROUP_CURSOR_H
#define PELNOR_GROUP_CURSOR_H

#include <windows.h>

enum { kGroupNameChars = 1024 };

struct GroupCursor {
    wchar_t name[kGroupNameChars];
    DWORD row;
    const wchar_t *names; /* each name ends in a NUL, the list in an empty name */
    const wchar_t *next;  /* the current row's name */
};

/* Over `names` (borrowed). */
void GroupCursorInit(GroupCursor *cursor, const wchar_t *names);

/* Back to row 0. */
void GroupCursorReset(GroupCursor *cursor);

/* The current row's name into cursor->name (at most 1023 units): 1, or 0
 * at the end of the list. */
int GroupCursorFetch(GroupCursor *cursor);

/* On to the next row. */
void GroupCursorAdvance(GroupCursor *cursor);

#endif
