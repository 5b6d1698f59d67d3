#include "subscribe_dialog.h"

#include <stdlib.h>
#include <string.h>

#include "nntp/password_prompt.h"
#include "resources/resource.h"
#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "base/line_reader.h"
#include "store/group_store.h"
#include "subscribe/group_list_dialog.h"
#include "text/widestr.h"

namespace {

enum { kLineCapacity = 1024, kReadBuffer = 4096, kItemText = 1024 };

HWND ListOf(const SubscribeState *state)
{
    return GetDlgItem(state->dialog, IDC_SUBSCRIBE_LIST);
}

void ErrorBox(UINT text_id)
{
    ShowLastErrorBoxRes(text_id, IDS_CAPTION_PELNOR, MB_ICONHAND);
}

/* A text file read line by line, line ends cut off. */
struct TextLines {
    ScopedFile file;
    LineReader reader;
    bool ready;
    char line[kLineCapacity];
};

bool OpenLines(TextLines *lines, const wchar_t *path)
{
    lines->ready = false;
    lines->file.reset(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!lines->file.valid())
        return false;
    if (!LineReaderInit(&lines->reader, lines->file.get(), kReadBuffer, kLineCapacity)) {
        lines->file.Close();
        return false;
    }
    lines->ready = true;
    return true;
}

/* The next line without its CR LF, or null at the end or on an error. */
const char *NextLine(TextLines *lines)
{
    DWORD length;
    if (!LineReaderCopy(&lines->reader, lines->line, kLineCapacity, &length))
        return nullptr;
    if (length >= 2 && lines->line[length - 2] == '\r' && lines->line[length - 1] == '\n')
        lines->line[length - 2] = '\0';
    return lines->line;
}

void CloseLines(TextLines *lines)
{
    if (lines->ready)
        LineReaderFree(&lines->reader);
    lines->ready = false;
    lines->file.Close();
}

void InsertItem(HWND list, const wchar_t *text, int image)
{
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = (int)SendMessageW(list, LVM_GETITEMCOUNT, 0, 0);
    item.pszText = (wchar_t *)text;
    item.iImage = image;
    SendMessageW(list, LVM_INSERTITEMW, 0, (LPARAM)&item);
}

void InsertNarrowItem(HWND list, const char *text, int image)
{
    wchar_t *wide = ToWide(text);
    if (wide) {
        InsertItem(list, wide, image);
        free(wide);
    }
}

void ShowCategories(SubscribeState *state)
{
    state->list_mode = 1;
    TextLines lines;
    if (!OpenLines(&lines, state->category_path))
        return;
    HCURSOR previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    HWND list = ListOf(state);
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    for (const char *line; (line = NextLine(&lines)) != nullptr;)
        InsertNarrowItem(list, line, kImageNotSubscribed);
    EnableWindow(GetDlgItem(state->dialog, IDC_SUBSCRIBE_CATEGORIES), FALSE);
    CloseLines(&lines);
    SetCursor(previous);
}

/* Every group of active.dat that starts with the category's bytes (no '.'
 * is required after them: "fj" lists "fjx.test" too). */
void ShowGroups(SubscribeState *state, const wchar_t *category)
{
    state->list_mode = 0;
    TextLines lines;
    if (!OpenLines(&lines, state->active_path))
        return;
    HCURSOR previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    char *prefix = ToNarrow(category);
    HWND list = ListOf(state);
    DWORD left_out = 0;
    SendMessageW(list, LVM_DELETEALLITEMS, 0, 0);
    if (prefix) {
        size_t n = strlen(prefix);
        for (const char *line; (line = NextLine(&lines)) != nullptr;) {
            if (strncmp(line, prefix, n) != 0)
                continue;
            wchar_t *wide = ToWide(line);
            if (!wide)
                continue;
            /* A name the data folder cannot hold would stop every start
             * once subscribed: it is not offered. */
            if (IsValidGroupName(wide)) {
                int image = StringSetFind(&state->subscriptions, line) ? kImageSubscribed : kImageNotSubscribed;
                InsertItem(list, wide, image);
            } else {
                left_out++;
            }
            free(wide);
        }
        free(prefix);
    }
    EnableWindow(GetDlgItem(state->dialog, IDC_SUBSCRIBE_CATEGORIES), TRUE);
    CloseLines(&lines);
    SetCursor(previous);
    if (left_out > 0 && !state->left_out_told) {
        state->left_out_told = 1;
        wchar_t caption[64], text[256];
        LoadResText(IDS_CAPTION_PELNOR, caption, ARRAYSIZE(caption));
        FormatResError(IDS_SUB_LEFT_OUT, left_out, text, ARRAYSIZE(text));
        ShowBox(state->dialog, text, caption, MB_ICONINFORMATION);
    }
}

void ToggleGroup(SubscribeState *state, int index, const wchar_t *name, int image)
{
    char *narrow = ToNarrow(name);
    if (!narrow)
        return;
    LVITEMW item = {};
    item.mask = LVIF_IMAGE;
    item.iItem = index;
    if (image != kImageNotSubscribed) {
        item.iImage = kImageNotSubscribed;
        StringSetRemove(&state->subscriptions, narrow);
    } else {
        item.iImage = kImageSubscribed;
        StringSetAdd(&state->subscriptions, narrow);
    }
    SendMessageW(ListOf(state), LVM_SETITEMW, 0, (LPARAM)&item);
    free(narrow);
}

void OnDoubleClick(SubscribeState *state)
{
    HWND list = ListOf(state);
    int index = (int)SendMessageW(list, LVM_GETNEXTITEM, (WPARAM)-1, LVNI_SELECTED);
    if (index < 0)
        return;
    wchar_t text[kItemText] = L"";
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = index;
    item.pszText = text;
    item.cchTextMax = kItemText;
    SendMessageW(list, LVM_GETITEMW, 0, (LPARAM)&item);
    if (state->list_mode)
        ShowGroups(state, text);
    else
        ToggleGroup(state, index, text, item.iImage);
}

/* Reads group.dat into the set line by line, as the names stand (comments
 * and empty lines included, so that OK writes them back). */
void LoadSubscriptions(SubscribeState *state)
{
    if (!StringSetCreate(&state->subscriptions)) {
        ErrorBox(IDS_SUB_INIT_FAILED);
        return;
    }
    TextLines lines;
    if (!OpenLines(&lines, state->group_path)) {
        ErrorBox(IDS_SUB_OPEN_FAILED);
        return;
    }
    for (const char *line; (line = NextLine(&lines)) != nullptr;) {
        if (!StringSetAdd(&state->subscriptions, line)) {
            ErrorBox(IDS_SUB_LOAD_FAILED);
            CloseLines(&lines);
            return;
        }
    }
    CloseLines(&lines);
    ShowCategories(state);
}

void OnInitDialog(HWND dialog, SubscribeState *state)
{
    state->dialog = dialog;

    HWND list = ListOf(state);
    LVCOLUMNW col = {};
    col.mask = LVCF_FMT | LVCF_WIDTH | LVCF_TEXT;
    col.fmt = LVCFMT_LEFT;
    col.cx = 180;
    col.pszText = (wchar_t *)L"Group";
    SendMessageW(list, LVM_INSERTCOLUMNW, 0, (LPARAM)&col);
    state->images = ImageList_LoadImageW(state->instance, MAKEINTRESOURCEW(IDB_SUBSCRIBE_MARKS), 8, 0, CLR_NONE,
                                         IMAGE_BITMAP, 0);
    SendMessageW(list, LVM_SETIMAGELIST, LVSIL_SMALL, (LPARAM)state->images);

    LoadSubscriptions(state);
}

void OnDownload(SubscribeState *state)
{
    NntpServer server;
    ServerReady ready = ReadyServer(state->instance, state->dialog, state->settings, &server);
    if (ready == kServerNoMemory)
        ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_ICONHAND);
    if (ready != kServerReady)
        return;
    RunGroupListDownload(state->instance, state->dialog, state->active_path, state->category_path, &server,
                         (int)state->settings->DecodeCharsets);
    NntpServerForget(&server);
    ShowCategories(state);
}

/* Writes the set to group.dat, one name and CR LF a line, in the set's
 * iteration order; the first failure stops the writing. */
void WriteGroupFile(SubscribeState *state)
{
    ScopedFile file(CreateFileW(state->group_path, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                                nullptr));
    if (!file.valid() && (GetLastError() == ERROR_FILE_EXISTS || GetLastError() == ERROR_ALREADY_EXISTS))
        file.reset(CreateFileW(state->group_path, GENERIC_WRITE, 0, nullptr, TRUNCATE_EXISTING,
                               FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) {
        ErrorBox(IDS_SUB_WRITE_OPEN);
        return;
    }
    if (!state->subscriptions.heap)
        return;
    StringSetIterator it;
    StringSetBegin(&it, &state->subscriptions);
    for (StringSetNode *node; (node = StringSetNext(&it)) != nullptr;) {
        DWORD length = (DWORD)strlen(node->text), written;
        if (!WriteFile(file.get(), node->text, length, &written, nullptr) ||
            !WriteFile(file.get(), "\r\n", 2, &written, nullptr)) {
            ErrorBox(IDS_SUB_WRITE_FAILED);
            return;
        }
    }
}

void OnCommand(SubscribeState *state, UINT id)
{
    switch (id) {
    case IDOK:
        WriteGroupFile(state);
        EndDialog(state->dialog, kDialogOk);
        break;
    case IDCANCEL:
        EndDialog(state->dialog, kDialogCancel);
        break;
    case IDC_SUBSCRIBE_DOWNLOAD:
        OnDownload(state);
        break;
    case IDC_SUBSCRIBE_CATEGORIES:
        ShowCategories(state);
        break;
    }
}

INT_PTR SubscribeHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, SubscribeState *state)
{
    switch (msg) {
    case WM_INITDIALOG:
        OnInitDialog(dialog, state);
        return TRUE;
    case WM_COMMAND:
        OnCommand(state, LOWORD(wp));
        return TRUE;
    case WM_NOTIFY: {
        const NMHDR *nm = (const NMHDR *)lp;
        if (nm->idFrom == IDC_SUBSCRIBE_LIST && nm->code == NM_DBLCLK)
            OnDoubleClick(state);
        return TRUE;
    }
    }
    return FALSE;
}

} // namespace

int RunSubscribeDialog(SubscribeState *state, HINSTANCE instance, HWND parent)
{
    state->instance = instance;
    state->images = nullptr;
    StringSetInit(&state->subscriptions);
    state->list_mode = 1;
    INT_PTR result = RunDialog<SubscribeHandler>(instance, IDD_SUBSCRIBE, parent, state);
    if (state->images)
        ImageList_Destroy(state->images);
    state->images = nullptr;
    StringSetDestroy(&state->subscriptions);
    return result == kDialogOk ? kDialogOk : kDialogCancel;
}
