#include "data_folder.h"

#include <stdlib.h>
#include <wchar.h>

#include "base/path.h"
#include "base/scoped_win.h"
#include "store/group_file.h"
#include "store/index_convert.h"

namespace {

/* Removes every "*.bak" file of the draft folder; nothing is reported. */
void DeleteDraftBackups(const wchar_t *draft_folder)
{
    wchar_t pattern[MAX_PATH * 2];
    if (!JoinPathInto(pattern, MAX_PATH * 2, draft_folder, L"*.bak"))
        return;
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
        if (JoinPathInto(file, MAX_PATH * 2, draft_folder, found.cFileName))
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

} // namespace

int PrepareGroupIndex(GroupStore *store, const wchar_t *data_path, const wchar_t *group, int *unknown_version)
{
    *unknown_version = 0;
    GroupStoreReset(store);
    if (!GroupStoreSetNames(store, data_path, group))
        return 0;
    return IndexBringUpToDate(store, unknown_version);
}

int PrepareDataFolder(const wchar_t *data_path)
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
    SetCursor(previous);
    return 1;
}

int StartDataFolder(const wchar_t *data_path, int *unknown_version)
{
    *unknown_version = 0;
    if (!PrepareDataFolder(data_path))
        return 0;
    GroupFileReader *groups = GroupFileOpen(data_path);
    if (!groups)
        return 0;
    HCURSOR previous = SetCursor(LoadCursorW(nullptr, IDC_WAIT));
    /* A group that cannot be brought up (a name the store refuses, an
     * index it cannot read or of a version it does not know) is left as it
     * is and the others go on, so the user can still start the program and
     * unsubscribe it; the group view names it. */
    GroupStore store;
    GroupStoreInit(&store);
    const wchar_t *name;
    while ((name = GroupFileNext(groups)) != nullptr) {
        int unknown = 0;
        PrepareGroupIndex(&store, data_path, name, &unknown);
        if (unknown)
            *unknown_version = 1;
    }
    /* The names end at the end of the file, or where the group view's
     * reading would stop too (an over-long line); a read error fails. */
    DWORD error = GetLastError();
    int ok = error == ERROR_HANDLE_EOF || error == ERROR_MORE_DATA;
    GroupStoreRelease(&store);
    GroupFileClose(groups);
    SetCursor(previous);
    SetLastError(error);
    return ok;
}
