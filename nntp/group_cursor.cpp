#include "group_cursor.h"

#include <commctrl.h>

void GroupCursorInit(GroupCursor *cursor, HWND list)
{
    cursor->name[0] = L'\0';
    cursor->row = 0;
    cursor->row_count = 0;
    cursor->list = list;
    cursor->spare = 0;
}

void GroupCursorReset(GroupCursor *cursor)
{
    cursor->row = 0;
    cursor->row_count = (DWORD)SendMessageW(cursor->list, LVM_GETITEMCOUNT, 0, 0);
}

int GroupCursorFetch(GroupCursor *cursor)
{
    LVITEMW item = {};
    item.mask = LVIF_TEXT;
    item.iItem = (int)cursor->row;
    item.iSubItem = 0;
    item.pszText = cursor->name;
    item.cchTextMax = kGroupNameChars;
    cursor->name[0] = L'\0';
    LRESULT length = SendMessageW(cursor->list, LVM_GETITEMTEXTW, cursor->row, (LPARAM)&item);
    return length > 0 && cursor->name[0] != L'\0';
}

void GroupCursorAdvance(GroupCursor *cursor)
{
    cursor->row++;
}
