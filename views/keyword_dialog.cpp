#include "keyword_dialog.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/line_reader.h"
#include "base/message_box.h"
#include "base/scoped_win.h"
#include "filters/keyword_filter.h"
#include "resources/resource.h"
#include "store/file_io.h"
#include "text/widestr.h"

namespace {

enum { kKeywordChars = 1024, kLineBytes = 1024 };

HWND Combo(HWND dialog)
{
    return GetDlgItem(dialog, IDC_KEYWORD);
}

void ShowNoMemory()
{
    ShowResBox(nullptr, IDS_NO_MEMORY, IDS_CAPTION_PELNOR, MB_OK | MB_ICONERROR);
}

/* The first item whose text is `keyword`, case and all; CB_ERR when none. */
int FindExact(HWND combo, const wchar_t *keyword)
{
    int count = (int)SendMessageW(combo, CB_GETCOUNT, 0, 0);
    size_t length = wcslen(keyword);
    for (int i = 0; i < count; i++) {
        if ((size_t)SendMessageW(combo, CB_GETLBTEXTLEN, i, 0) != length)
            continue;
        wchar_t *text = (wchar_t *)malloc((length + 1) * sizeof(wchar_t));
        if (!text)
            return CB_ERR;
        SendMessageW(combo, CB_GETLBTEXT, i, (LPARAM)text);
        bool same = wcscmp(text, keyword) == 0;
        free(text);
        if (same)
            return i;
    }
    return CB_ERR;
}

/* Adds a keyword with its priority; CB_ERR (or CB_ERRSPACE) when the box
 * has no room. */
int AddKeyword(HWND combo, const wchar_t *keyword, DWORD priority)
{
    int index = (int)SendMessageW(combo, CB_ADDSTRING, 0, (LPARAM)keyword);
    if (index >= 0)
        SendMessageW(combo, CB_SETITEMDATA, index, priority);
    return index;
}

void ShowPriority(HWND dialog, DWORD priority)
{
    UINT radio = priority == kPriorityHigh ? IDC_KEYWORD_HIGH
                 : priority == kPriorityLow ? IDC_KEYWORD_LOW
                                            : IDC_KEYWORD_NORMAL;
    CheckRadioButton(dialog, IDC_KEYWORD_HIGH, IDC_KEYWORD_LOW, radio);
}

/* The file's keywords: "+ " lines high, every other line low. */
void ListKeywords(HWND dialog, const wchar_t *path)
{
    ScopedFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                nullptr));
    if (!file.valid()) {
        if (GetLastError() != ERROR_FILE_NOT_FOUND)
            ShowLastErrorBox(IDS_FILE_OPEN_FAILED, path, MB_OK | MB_ICONERROR);
        return;
    }
    LineReader reader;
    if (!LineReaderInit(&reader, file.get(), 4096, kLineBytes)) {
        ShowNoMemory();
        return;
    }
    char line[kLineBytes];
    DWORD length;
    while (LineReaderCopy(&reader, line, kLineBytes, &length)) {
        while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r'))
            line[--length] = '\0';
        if (length == 0)
            continue;
        wchar_t *keyword = ToWide(length >= 2 ? line + 2 : "");
        int added = keyword ? AddKeyword(Combo(dialog), keyword, line[0] == '+' ? kPriorityHigh : kPriorityLow)
                            : CB_ERR;
        free(keyword);
        if (added < 0) {
            ShowNoMemory();
            break;
        }
    }
    LineReaderFree(&reader);
}

void OnInit(HWND dialog, KeywordDialogState *state)
{
    state->dialog = dialog;
    CheckRadioButton(dialog, IDC_KEYWORD_HIGH, IDC_KEYWORD_LOW, IDC_KEYWORD_NORMAL);
    HWND combo = Combo(dialog);
    if (state->proposed)
        SendMessageW(combo, CB_SETCURSEL, AddKeyword(combo, state->proposed, kPriorityNormal), 0);
    ListKeywords(dialog, state->filter_path);
    if (state->proposed)
        SendMessageW(combo, CB_SETCURSEL, FindExact(combo, state->proposed), 0);
}

/* The checked radio becomes the priority of the selected item; with none
 * selected, of the edit field's text, added when the list lacks it. */
int ApplyPriority(HWND dialog)
{
    DWORD priority = IsButtonChecked(dialog, IDC_KEYWORD_HIGH)  ? kPriorityHigh
                     : IsButtonChecked(dialog, IDC_KEYWORD_LOW) ? kPriorityLow
                                                                   : kPriorityNormal;
    HWND combo = Combo(dialog);
    int selected = (int)SendMessageW(combo, CB_GETCURSEL, 0, 0);
    if (selected == CB_ERR) {
        wchar_t text[kKeywordChars];
        GetDlgItemTextW(dialog, IDC_KEYWORD, text, kKeywordChars);
        selected = FindExact(combo, text);
        if (selected == CB_ERR)
            selected = AddKeyword(combo, text, priority);
        if (selected < 0)
            return 0;
        SendMessageW(combo, CB_SETCURSEL, selected, 0);
    }
    SendMessageW(combo, CB_SETITEMDATA, selected, priority);
    return 1;
}

/* One line for each high or low keyword, in list order. */
INT_PTR WriteKeywords(HWND dialog, HANDLE file, const wchar_t *temporary, int references)
{
    HWND combo = Combo(dialog);
    int count = (int)SendMessageW(combo, CB_GETCOUNT, 0, 0);
    for (int i = 0; i < count; i++) {
        DWORD priority = (DWORD)SendMessageW(combo, CB_GETITEMDATA, i, 0);
        LRESULT length = SendMessageW(combo, CB_GETLBTEXTLEN, i, 0);
        wchar_t *text = (wchar_t *)malloc(((size_t)(length > 0 ? length : 0) + 1) * sizeof(wchar_t));
        if (text)
            SendMessageW(combo, CB_GETLBTEXT, i, (LPARAM)text);
        char *keyword = !text ? nullptr : references ? ToStored(text) : ToNarrow(text);
        free(text);
        if (!keyword) {
            ShowNoMemory();
            return kDialogCancel;
        }
        const char *mark = priority == kPriorityHigh ? "+ " : priority == kPriorityLow ? "- " : nullptr;
        int ok = !mark || (WriteBytes(file, mark, 2) && WriteBytes(file, keyword, (DWORD)strlen(keyword)) &&
                           WriteBytes(file, "\r\n", 2));
        free(keyword);
        if (!ok) {
            ShowLastErrorBox(IDS_FILTER_WRITE_FAILED, temporary, MB_OK | MB_ICONERROR);
            return kDialogCancel;
        }
    }
    return kDialogOk;
}

INT_PTR Save(HWND dialog, KeywordDialogState *state)
{
    if (!ApplyPriority(dialog)) {
        ShowNoMemory();
        return kDialogCancel;
    }
    size_t length = wcslen(state->filter_path);
    wchar_t *temporary = (wchar_t *)malloc((length + 2) * sizeof(wchar_t));
    if (!temporary) {
        ShowNoMemory();
        return kDialogCancel;
    }
    wsprintfW(temporary, L"%s~", state->filter_path);
    INT_PTR result;
    {
        ScopedFile file(CreateFileW(temporary, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                                    nullptr));
        if (!file.valid()) {
            ShowLastErrorBox(IDS_FILE_OPEN_FAILED, state->filter_path, MB_OK | MB_ICONERROR);
            free(temporary);
            return kDialogCancel;
        }
        result = WriteKeywords(dialog, file.get(), temporary, state->references);
    }
    if (result == kDialogOk) {
        DeleteFileW(state->filter_path);
        MoveFileW(temporary, state->filter_path);
    }
    free(temporary);
    return result;
}

INT_PTR KeywordHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, KeywordDialogState *state)
{
    switch (msg) {
    case WM_INITDIALOG:
        OnInit(dialog, state);
        return TRUE;
    case WM_COMMAND:
        switch (LOWORD(wp)) {
        case IDC_KEYWORD:
            if (HIWORD(wp) == CBN_SELCHANGE) {
                int selected = (int)SendMessageW(Combo(dialog), CB_GETCURSEL, 0, 0);
                if (selected != CB_ERR)
                    ShowPriority(dialog, (DWORD)SendMessageW(Combo(dialog), CB_GETITEMDATA, selected, 0));
            }
            return TRUE;
        case IDC_KEYWORD_HIGH:
        case IDC_KEYWORD_NORMAL:
        case IDC_KEYWORD_LOW:
            if (HIWORD(wp) == BN_CLICKED && !ApplyPriority(dialog))
                ShowNoMemory();
            return TRUE;
        case IDOK:
            EndDialog(dialog, Save(dialog, state));
            return TRUE;
        case IDCANCEL:
            EndDialog(dialog, kDialogCancel);
            return TRUE;
        }
        break;
    }
    return FALSE;
}

} // namespace

INT_PTR RunKeywordDialog(KeywordDialogState *state, HINSTANCE instance, HWND owner, const wchar_t *filter_path,
                         const wchar_t *proposed, int references)
{
    state->filter_path = filter_path;
    state->proposed = proposed;
    state->references = references;
    state->dialog = nullptr;
    INT_PTR result = RunDialog<KeywordHandler>(instance, IDD_KEYWORD, owner, state);
    return result == kDialogOk ? kDialogOk : kDialogCancel;
}
