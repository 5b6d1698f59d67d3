#include "data_folder.h"

#include <stdlib.h>
#include <wchar.h>

#include "resources/resource.h"
#include "shell/res_text.h"
#include "shell/scoped_win.h"
#include "store/group_file.h"
#include "store/group_store.h"
#include "store/index_convert.h"

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
        /* The pattern also matches through short 8.3 names ("x.bakup" is
         * X~1.BAK): only names that really end in ".bak" go. */
        size_t length = wcslen(found.cFileName);
        if (length < 4 || _wcsicmp(found.cFileName + length - 4, L".bak") != 0)
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

/* Brings every subscribed group's index up to the current version, in the
 * order of group.dat. An index of a version this program does not know is
 * shown to the user here, as start-up stops at it. */
int PrepareGroupIndexes(const wchar_t *data_path)
{
    GroupFileReader *groups = GroupFileOpen(data_path);
    if (!groups)
        return 0;
    GroupStore store;
    GroupStoreInit(&store);
    int ok = 1;
    const wchar_t *name;
    while ((name = GroupFileNext(groups)) != nullptr) {
        int unknown_version = 0;
        GroupStoreReset(&store);
        if (!GroupStoreSetNames(&store, data_path, name) || !IndexBringUpToDate(&store, &unknown_version)) {
            ok = 0;
            if (unknown_version) {
                DWORD error = GetLastError();
                ShowResBox(nullptr, IDS_INDEX_INVALID, IDS_CAPTION_PELNOR, MB_OK | MB_ICONEXCLAMATION);
                SetLastError(error);
            }
            break;
        }
    }
    /* The names end at the end of the file, or where the group view's
     * reading would stop too (an over-long line); a read error fails. */
    if (ok && GetLastError() != ERROR_HANDLE_EOF && GetLastError() != ERROR_MORE_DATA)
        ok = 0;
    DWORD error = GetLastError();
    GroupStoreRelease(&store);
    GroupFileClose(groups);
    SetLastError(error);
    return ok;
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
