#include "file_chooser.h"

#include <string.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "base/scoped_win.h"
#include "resources/resource.h"

namespace {

/* Images of bitmap 116. */
enum { kClosedFolder = 0, kOpenFolder = 1, kFileImage = 2, kRootImage = 3 };

const wchar_t kPlaceholder[] = L"DUMMY";

/* Each level of a path is at least one name and a backslash. */
enum { kMostLevels = kChooserPathChars / 2 };

HTREEITEM AddItem(HWND tree, HTREEITEM parent, HTREEITEM after, const wchar_t *text, int image, int selected,
                  LPARAM data)
{
    TVINSERTSTRUCTW insert = {};
    insert.hParent = parent;
    insert.hInsertAfter = after;
    insert.item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_PARAM;
    insert.item.pszText = (wchar_t *)text;
    insert.item.iImage = image;
    insert.item.iSelectedImage = selected;
    insert.item.lParam = data;
    return (HTREEITEM)SendMessageW(tree, TVM_INSERTITEMW, 0, (LPARAM)&insert);
}

/* A folder shows as expandable through its one placeholder child. */
void AddPlaceholder(HWND tree, HTREEITEM folder)
{
    AddItem(tree, folder, TVI_LAST, kPlaceholder, kClosedFolder, kOpenFolder, (LPARAM)folder);
}

struct ItemFacts {
    wchar_t text[MAX_PATH];
    int image;
    HTREEITEM parent; /* the item data; null for the root */
};

void ReadItem(HWND tree, HTREEITEM item, ItemFacts *facts)
{
    TVITEMW query = {};
    query.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_PARAM;
    query.hItem = item;
    query.pszText = facts->text;
    query.cchTextMax = MAX_PATH;
    facts->text[0] = 0;
    facts->image = -1;
    facts->parent = nullptr;
    if (SendMessageW(tree, TVM_GETITEMW, 0, (LPARAM)&query)) {
        facts->image = query.iImage;
        facts->parent = (HTREEITEM)query.lParam;
    }
}

/* Folders first, each before the first folder whose name is not smaller;
 * files after every folder in the same order among themselves. */
void InsertSorted(HWND tree, HTREEITEM parent, const wchar_t *name, bool file)
{
    HTREEITEM after = TVI_FIRST;
    ItemFacts child;
    for (HTREEITEM item = TreeView_GetChild(tree, parent); item; item = TreeView_GetNextSibling(tree, item)) {
        ReadItem(tree, item, &child);
        bool child_is_file = child.image == kFileImage;
        if (!file && child_is_file)
            break;
        if (file == child_is_file && _wcsicmp(child.text, name) >= 0)
            break;
        after = item;
    }
    if (file) {
        AddItem(tree, parent, after, name, kFileImage, kFileImage, (LPARAM)parent);
    } else {
        HTREEITEM folder = AddItem(tree, parent, after, name, kClosedFolder, kOpenFolder, (LPARAM)parent);
        if (folder)
            AddPlaceholder(tree, folder);
    }
}

/* drive + "\" + every level below the root with its "\". 1, or 0 with
 * error 206 when it does not fit in `out`. */
int ItemPath(HWND tree, HTREEITEM item, const wchar_t *drive, wchar_t *out, size_t out_chars)
{
    HTREEITEM levels[kMostLevels];
    int depth = 0;
    ItemFacts facts;
    for (HTREEITEM at = item; at;) {
        ReadItem(tree, at, &facts);
        if (!facts.parent)
            break; /* the root */
        if (depth == kMostLevels) {
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        levels[depth++] = at;
        at = facts.parent;
    }
    size_t used = wcslen(drive);
    if (used + 2 > out_chars) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    wcscpy(out, drive);
    out[used++] = L'\\';
    out[used] = 0;
    while (depth > 0) {
        ReadItem(tree, levels[--depth], &facts);
        size_t length = wcslen(facts.text);
        if (used + length + 2 > out_chars) {
            out[0] = 0;
            SetLastError(ERROR_FILENAME_EXCED_RANGE);
            return 0;
        }
        wcscpy(out + used, facts.text);
        used += length;
        out[used++] = L'\\';
        out[used] = 0;
    }
    return 1;
}

/* `folder` + `pattern` into a find path; false when it would be cut. */
bool FindPath(const wchar_t *folder, const wchar_t *pattern, wchar_t *out)
{
    if (wcslen(folder) + wcslen(pattern) + 1 > MAX_PATH)
        return false;
    wcscpy(out, folder);
    wcscat(out, pattern);
    return true;
}

void TellPathTooLong(HWND dialog)
{
    ShowResBox(dialog, IDS_PATH_TOO_LONG, IDS_CAPTION_PELNOR, MB_OK | MB_ICONEXCLAMATION);
}

/* Lists the folder into `item` in place of its placeholder. False (nothing
 * changed) when its path is too long to list. */
bool Expand(HWND dialog, FileChooser *chooser, HTREEITEM item)
{
    HWND tree = GetDlgItem(dialog, IDC_CHOOSER_TREE);
    wchar_t folder[kChooserPathChars];
    wchar_t find[MAX_PATH];
    if (!ItemPath(tree, item, chooser->drive, folder, kChooserPathChars) || !FindPath(folder, L"*.*", find) ||
        (chooser->pattern && !FindPath(folder, chooser->pattern, find))) {
        TellPathTooLong(dialog);
        return false;
    }
    HTREEITEM first = TreeView_GetChild(tree, item);
    if (first)
        TreeView_DeleteItem(tree, first);

    FindPath(folder, L"*.*", find);
    WIN32_FIND_DATAW found;
    {
        ScopedFindFile search(FindFirstFileW(find, &found));
        if (search.valid()) {
            do {
                if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
                    continue;
                if (!wcscmp(found.cFileName, L".") || !wcscmp(found.cFileName, L".."))
                    continue;
                InsertSorted(tree, item, found.cFileName, false);
            } while (FindNextFileW(search.get(), &found));
        }
    }
    if (chooser->pattern) {
        FindPath(folder, chooser->pattern, find);
        ScopedFindFile search(FindFirstFileW(find, &found));
        if (search.valid()) {
            do {
                if (!(found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
                    InsertSorted(tree, item, found.cFileName, true);
            } while (FindNextFileW(search.get(), &found));
        }
    }
    return true;
}

/* The next expansion reads the folder again. */
void Collapse(HWND tree, HTREEITEM item)
{
    HTREEITEM child;
    while ((child = TreeView_GetChild(tree, item)) != nullptr)
        TreeView_DeleteItem(tree, child);
    AddPlaceholder(tree, item);
    TVITEMW state = {};
    state.mask = TVIF_STATE;
    state.hItem = item;
    state.stateMask = TVIS_EXPANDEDONCE;
    SendMessageW(tree, TVM_SETITEMW, 0, (LPARAM)&state);
}

void OnInit(HWND dialog, FileChooser *chooser)
{
    HWND tree = GetDlgItem(dialog, IDC_CHOOSER_TREE);
    TreeView_SetImageList(tree, chooser->imageList, TVSIL_NORMAL);
    TreeView_DeleteAllItems(tree);
    HTREEITEM root = AddItem(tree, TVI_ROOT, TVI_LAST, L"\\", kRootImage, kRootImage, 0);
    if (root)
        AddPlaceholder(tree, root);
    SetWindowTextW(dialog, chooser->title);
    EnableWindow(GetDlgItem(dialog, IDC_CHOOSER_OK), FALSE);
}

void OnSelectionChanged(HWND dialog, FileChooser *chooser, HTREEITEM item)
{
    bool allowed = true;
    if (chooser->pattern) {
        ItemFacts facts;
        ReadItem(GetDlgItem(dialog, IDC_CHOOSER_TREE), item, &facts);
        allowed = item && facts.image == kFileImage;
    }
    EnableWindow(GetDlgItem(dialog, IDC_CHOOSER_OK), allowed);
}

void OnOk(HWND dialog, FileChooser *chooser)
{
    HWND tree = GetDlgItem(dialog, IDC_CHOOSER_TREE);
    HTREEITEM item = TreeView_GetSelection(tree);
    if (!item)
        return;
    if (!ItemPath(tree, item, chooser->drive, chooser->path, kChooserPathChars)) {
        TellPathTooLong(dialog);
        return;
    }
    if (chooser->pattern)
        chooser->path[wcslen(chooser->path) - 1] = 0; /* a file has no trailing backslash */
    chooser->result = chooser->path;
    EndDialog(dialog, kDialogOk);
}

INT_PTR ChooserHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, FileChooser *chooser)
{
    switch (msg) {
    case WM_INITDIALOG:
        OnInit(dialog, chooser);
        return TRUE;
    case WM_NOTIFY: {
        const NMHDR *header = (const NMHDR *)lp;
        if (header->idFrom != IDC_CHOOSER_TREE)
            return FALSE;
        const NMTREEVIEWW *change = (const NMTREEVIEWW *)lp;
        if (header->code == TVN_ITEMEXPANDINGW) {
            BOOL refuse = FALSE;
            if (change->action & TVE_EXPAND)
                refuse = !Expand(dialog, chooser, change->itemNew.hItem);
            else
                Collapse(header->hwndFrom, change->itemNew.hItem);
            SetWindowLongPtrW(dialog, DWLP_MSGRESULT, refuse);
            return TRUE;
        }
        if (header->code == TVN_SELCHANGEDW)
            OnSelectionChanged(dialog, chooser, change->itemNew.hItem);
        return FALSE;
    }
    case WM_COMMAND:
        if (LOWORD(wp) == IDC_CHOOSER_OK)
            OnOk(dialog, chooser);
        else if (LOWORD(wp) == IDCANCEL)
            EndDialog(dialog, kDialogCancel);
        return TRUE;
    }
    return FALSE;
}

bool HasDrive(const wchar_t *path)
{
    return path && ((path[0] >= L'A' && path[0] <= L'Z') || (path[0] >= L'a' && path[0] <= L'z')) &&
           path[1] == L':';
}

} // namespace

void InitFileChooser(FileChooser *chooser)
{
    memset(chooser, 0, sizeof(*chooser));
}

void SetFileChooserDrive(FileChooser *chooser, const wchar_t *path)
{
    wchar_t program[MAX_PATH] = L"";
    if (!HasDrive(path)) {
        GetModuleFileNameW(nullptr, program, MAX_PATH);
        path = program;
    }
    chooser->drive[0] = 0;
    if (HasDrive(path)) {
        chooser->drive[0] = path[0];
        chooser->drive[1] = L':';
        chooser->drive[2] = 0;
    }
}

int RunFileChooser(FileChooser *chooser, HINSTANCE instance, HWND owner, const wchar_t *title,
                   const wchar_t *pattern)
{
    chooser->title = title;
    chooser->pattern = pattern;
    chooser->result = nullptr;
    if (!chooser->imageList) {
        chooser->imageList = ImageList_LoadImageW(instance, MAKEINTRESOURCEW(IDB_FILE_IMAGES), 16, 0, CLR_NONE,
                                                  IMAGE_BITMAP, 0);
        if (!chooser->imageList)
            return kDialogCancel;
    }
    INT_PTR result = RunDialog<ChooserHandler>(instance, IDD_FILE_CHOOSER, owner, chooser);
    return result == kDialogOk ? kDialogOk : kDialogCancel;
}

void FreeFileChooser(FileChooser *chooser)
{
    if (chooser->imageList)
        ImageList_Destroy(chooser->imageList);
    chooser->imageList = nullptr;
}
