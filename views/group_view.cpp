#include "group_view.h"

#include <commctrl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "store/group_file.h"
#include "store/group_store.h"
#include "store/index_file.h"
#include "text/widestr.h"

namespace {

/* Inserted in this order at these indexes: "状態" at 3 pushes "現在" and
 * "最大" (appended as 3 and 4) to 4 and 5. */
const GroupViewColumn kColumns[] = {
    {IDS_COL_NEWSGROUP, L"NewsgroupWidth", kColumnNewsgroup, 100},
    {IDS_COL_UNREAD, L"ureadWidth", kColumnUnread, 40},
    {IDS_COL_ARTICLES, L"artsWidth", kColumnArticles, 40},
    {IDS_COL_CURRENT, L"curWidth", kColumnCurrent, 60},
    {IDS_COL_MAXIMUM, L"maxWidth", kColumnMaximum, 60},
    {IDS_COL_STATUS, L"StatusWidth", kColumnStatus, 150},
    {0xFFFFFFFF, nullptr, 0, 0},
};

const wchar_t kKeyPath[] = L"Software\\marrowby\\Pelnor\\GroupView";

int OpenWidthKey(const GroupView *view, ScopedRegKey *key)
{
    LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, view->key_path, 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                              key->receive(), nullptr);
    if (rc != ERROR_SUCCESS) {
        SetLastError((DWORD)rc);
        return 0;
    }
    return 1;
}

int BuildColumns(GroupView *view)
{
    ScopedRegKey key;
    if (!OpenWidthKey(view, &key))
        return 0;
    for (const GroupViewColumn *c = view->columns; c->string_id != 0xFFFFFFFF; c++) {
        wchar_t heading[64] = L"";
        const wchar_t *loaded = LoadResString(c->string_id);
        if (loaded)
            CopyWideText(heading, loaded, 64);
        DWORD width = 0, size = sizeof width;
        if (RegQueryValueExW(key.get(), c->value_name, nullptr, nullptr, (BYTE *)&width, &size) != ERROR_SUCCESS)
            width = (DWORD)c->default_width;
        LVCOLUMNW col = {};
        col.mask = LVCF_FMT | LVCF_TEXT | LVCF_WIDTH;
        col.fmt = LVCFMT_LEFT;
        col.cx = (int)width;
        col.pszText = heading;
        SendMessageW(view->list, LVM_INSERTCOLUMNW, c->column_index, (LPARAM)&col);
    }
    return 1;
}

void SetCell(HWND list, int row, int column, const wchar_t *text)
{
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = (wchar_t *)text;
    SendMessageW(list, LVM_SETITEMTEXTW, row, (LPARAM)&item);
}

void SetNumberCell(HWND list, int row, int column, DWORD number)
{
    wchar_t text[16];
    wsprintfW(text, L"%d", (int)number);
    SetCell(list, row, column, text);
}

int SelectedRow(HWND list)
{
    return (int)SendMessageW(list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED);
}

void SelectRow(HWND list, int row)
{
    LVITEMW item = {};
    item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
    item.state = LVIS_SELECTED | LVIS_FOCUSED;
    SendMessageW(list, LVM_SETITEMSTATE, row, (LPARAM)&item);
    SendMessageW(list, LVM_ENSUREVISIBLE, row, FALSE);
}

} // namespace

void GroupViewInit(GroupView *view)
{
    view->list = nullptr;
    view->columns = kColumns;
    view->key_path = kKeyPath;
}

int GroupViewCreate(GroupView *view, HWND parent, const wchar_t *caption, const RECT *rect, UINT id,
                    HINSTANCE instance)
{
    view->list = CreateWindowExW(0, WC_LISTVIEWW, caption,
                                 WS_CHILD | WS_VISIBLE | WS_VSCROLL | WS_HSCROLL | LVS_REPORT | LVS_SINGLESEL |
                                     LVS_SHOWSELALWAYS,
                                 rect->left, rect->top, rect->right - rect->left, rect->bottom - rect->top, parent,
                                 (HMENU)(UINT_PTR)id, instance, nullptr);
    if (!view->list)
        return 0;
    return BuildColumns(view);
}

void GroupViewShow(GroupView *view, int show)
{
    ShowWindow(view->list, show);
    UpdateWindow(view->list);
}

void GroupRowFromStore(GroupRow *row, const GroupStore *store)
{
    row->unread = GroupStoreUnreadCount(store);
    row->articles = GroupStoreRecordCount(store);
    row->last_fetched = GroupStoreLastFetched(store);
    row->server_last = GroupStoreServerLast(store);
    CopyWideText(row->status, GroupStoreStatusText(store), kGroupRowStatusChars);
}

void GroupViewSetGroups(GroupView *view, const wchar_t *names)
{
    HWND list = view->list;
    SendMessageW(list, WM_SETREDRAW, FALSE, 0);
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    int rows = 0;
    for (const wchar_t *name = names; *name; name += wcslen(name) + 1)
        rows++;
    SendMessageW(list, LVM_SETITEMCOUNT, rows, 0);
    int row = 0;
    for (const wchar_t *name = names; *name; name += wcslen(name) + 1, row++) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = row;
        item.pszText = (wchar_t *)name;
        SendMessageW(list, LVM_INSERTITEMW, 0, (LPARAM)&item);
    }
    SendMessageW(list, WM_SETREDRAW, TRUE, 0);
    InvalidateRect(list, nullptr, TRUE);
    if (row > 0)
        SelectRow(list, 0);
}

void GroupViewShowRow(GroupView *view, int row, const GroupRow *shown)
{
    HWND list = view->list;
    SetCell(list, row, kColumnStatus, shown->status);
    if (shown->last_fetched == kCaughtUpOnServer) {
        const wchar_t *pending = LoadResString(IDS_CATCHUP_PENDING);
        SetCell(list, row, kColumnCurrent, pending ? pending : L"");
    } else {
        SetNumberCell(list, row, kColumnCurrent, shown->last_fetched);
    }
    SetNumberCell(list, row, kColumnMaximum, shown->server_last);
    SetNumberCell(list, row, kColumnArticles, shown->articles);
    SetNumberCell(list, row, kColumnUnread, shown->unread);
}

enum { kNamedFailedGroups = 10, kNamedGroupChars = 64 };

void GroupViewNoteFailure(GroupViewFailures *failures, const wchar_t *group, DWORD error)
{
    if (failures->count++ == 0)
        failures->first_error = error;
    if (failures->count > kNamedFailedGroups)
        return;
    size_t used = wcslen(failures->names);
    /* A refused name may be hundreds of characters: its start names it. */
    _snwprintf(failures->names + used, ARRAYSIZE(failures->names) - used, L"\r\n%.*s", (int)kNamedGroupChars,
               group);
    failures->names[ARRAYSIZE(failures->names) - 1] = L'\0';
}

int GroupViewShowFailures(const GroupViewFailures *failures)
{
    if (failures->count == 0)
        return 1;
    wchar_t text[1400], more[64] = L"";
    FormatResFailure(IDS_INDEX_FILE_INIT_FAILED, failures->first_error, text, ARRAYSIZE(text));
    if (failures->count > kNamedFailedGroups) {
        wchar_t number[16];
        _snwprintf(number, ARRAYSIZE(number), L"%lu", failures->count - kNamedFailedGroups);
        number[ARRAYSIZE(number) - 1] = L'\0';
        more[0] = L'\r';
        more[1] = L'\n';
        FormatResText(IDS_GROUPS_NOT_NAMED, number, more + 2, ARRAYSIZE(more) - 2);
    }
    size_t used = wcslen(text);
    _snwprintf(text + used, ARRAYSIZE(text) - used, L"%s%s", failures->names, more);
    text[ARRAYSIZE(text) - 1] = L'\0';
    ShowTextBox(text, IDS_CAPTION_GROUP, MB_ICONHAND);
    SetLastError(failures->first_error);
    return 0;
}

int GroupViewReload(GroupView *view, const wchar_t *data_folder)
{
    DWORD count;
    wchar_t *names = GroupFileReadNames(data_folder, &count);
    if (!names) {
        DWORD error = GetLastError();
        SendMessageW(view->list, LVM_DELETEALLITEMS, 0, 0);
        SetLastError(error);
        ShowLastErrorBoxRes(IDS_GROUP_LIST_FAILED, IDS_CAPTION_GROUP, MB_ICONHAND);
        return 0;
    }
    GroupViewSetGroups(view, names);
    /* A group whose index cannot be read keeps a row with its name only and
     * the others are shown, so it can still be unsubscribed; the failed ones
     * are named in one box at the end. */
    GroupViewFailures failed = {};
    GroupStore store;
    GroupStoreInit(&store);
    int row = 0;
    for (const wchar_t *name = names; *name; name += wcslen(name) + 1, row++) {
        if (GroupStoreSetNames(&store, data_folder, name) && IndexReadHeader(&store)) {
            GroupRow shown;
            GroupRowFromStore(&shown, &store);
            GroupViewShowRow(view, row, &shown);
        } else {
            GroupViewNoteFailure(&failed, name, GetLastError());
        }
    }
    GroupStoreRelease(&store);
    free(names);
    return GroupViewShowFailures(&failed);
}

int GroupViewSelected(GroupView *view, wchar_t *name, int size, int *row)
{
    int selected = SelectedRow(view->list);
    if (selected < 0)
        return 0;
    LVITEMW item = {};
    item.iSubItem = 0;
    item.pszText = name;
    item.cchTextMax = size;
    SendMessageW(view->list, LVM_GETITEMTEXTW, selected, (LPARAM)&item);
    if (row)
        *row = selected;
    return 1;
}

wchar_t *GroupViewNames(GroupView *view)
{
    int rows = view->list ? (int)SendMessageW(view->list, LVM_GETITEMCOUNT, 0, 0) : 0;
    size_t used = 0, capacity = 256;
    wchar_t *names = (wchar_t *)malloc(capacity * sizeof(wchar_t));
    for (int row = 0; names && row < rows; row++) {
        wchar_t name[kGroupViewNameChars];
        LVITEMW item = {};
        item.pszText = name;
        item.cchTextMax = kGroupViewNameChars;
        name[0] = L'\0';
        SendMessageW(view->list, LVM_GETITEMTEXTW, row, (LPARAM)&item);
        size_t length = wcslen(name);
        if (length == 0)
            break; /* a row without a name ends the groups */
        if (used + length + 2 > capacity) {
            capacity = (used + length + 2) * 2;
            wchar_t *larger = (wchar_t *)realloc(names, capacity * sizeof(wchar_t));
            if (!larger)
                free(names);
            names = larger;
            if (!names)
                break;
        }
        memcpy(names + used, name, (length + 1) * sizeof(wchar_t));
        used += length + 1;
    }
    if (!names) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    names[used] = L'\0';
    return names;
}

int GroupViewSelectNext(GroupView *view, int *moved)
{
    *moved = 0;
    int selected = SelectedRow(view->list);
    if (selected < 0)
        return 0;
    int count = (int)SendMessageW(view->list, LVM_GETITEMCOUNT, 0, 0);
    if (selected + 1 < count) {
        SelectRow(view->list, selected + 1);
        *moved = 1;
    }
    return 1;
}

void GroupViewSetStatus(GroupView *view, const wchar_t *group, const wchar_t *status)
{
    LVFINDINFOW find = {};
    find.flags = LVFI_STRING;
    find.psz = group;
    int row = (int)SendMessageW(view->list, LVM_FINDITEMW, (WPARAM)-1, (LPARAM)&find);
    if (row >= 0)
        SetCell(view->list, row, kColumnStatus, status);
}

void GroupViewSetUnread(GroupView *view, int row, DWORD count)
{
    SetNumberCell(view->list, row, kColumnUnread, count);
}

int GroupViewSaveWidths(GroupView *view)
{
    ScopedRegKey key;
    if (!OpenWidthKey(view, &key))
        return 0;
    for (const GroupViewColumn *c = view->columns; c->string_id != 0xFFFFFFFF; c++) {
        DWORD width = (DWORD)SendMessageW(view->list, LVM_GETCOLUMNWIDTH, c->column_index, 0);
        LONG rc = RegSetValueExW(key.get(), c->value_name, 0, REG_DWORD, (const BYTE *)&width, sizeof width);
        if (rc != ERROR_SUCCESS) {
            SetLastError((DWORD)rc);
            return 0;
        }
    }
    return 1;
}
