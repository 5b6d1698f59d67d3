#include "group_cursor.h"

#include <wchar.h>

#include "text/widestr.h"

void GroupCursorInit(GroupCursor *cursor, const wchar_t *names)
{
    cursor->name[0] = L'\0';
    cursor->names = names;
    GroupCursorReset(cursor);
}

void GroupCursorReset(GroupCursor *cursor)
{
    cursor->row = 0;
    cursor->next = cursor->names;
}

int GroupCursorFetch(GroupCursor *cursor)
{
    cursor->name[0] = L'\0';
    if (!cursor->next || cursor->next[0] == L'\0')
        return 0;
    CopyWideText(cursor->name, cursor->next, kGroupNameChars);
    return 1;
}

void GroupCursorAdvance(GroupCursor *cursor)
{
    if (cursor->next && cursor->next[0] != L'\0')
        cursor->next += wcslen(cursor->next) + 1;
    cursor->row++;
}
