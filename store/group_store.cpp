#include "group_store.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/path.h"

namespace {

void FreePaths(GroupStore *store)
{
    free(store->index_path);
    free(store->log_path);
    free(store->filter_path);
    store->index_path = nullptr;
    store->log_path = nullptr;
    store->filter_path = nullptr;
}

void CloseFile(HANDLE *file)
{
    if (*file != INVALID_HANDLE_VALUE) {
        DWORD error = GetLastError();
        CloseHandle(*file);
        SetLastError(error);
        *file = INVALID_HANDLE_VALUE;
    }
}

int OpenReadWrite(const wchar_t *path, HANDLE *file)
{
    if (!path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    CloseFile(file);
    *file = CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return *file != INVALID_HANDLE_VALUE;
}

bool SameNoCase(const wchar_t *a, size_t length, const char *b)
{
    for (size_t i = 0; i < length; i++, b++) {
        if (!*b)
            return false;
        wchar_t c = a[i];
        if (c >= L'a' && c <= L'z')
            c = (wchar_t)(c - L'a' + L'A');
        if (c != (wchar_t)(unsigned char)*b)
            return false;
    }
    return *b == '\0';
}

bool IsDeviceName(const wchar_t *name, size_t length)
{
    static const char *const kDevices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$", "CLOCK$"};
    for (const char *device : kDevices)
        if (SameNoCase(name, length, device))
            return true;
    if (length == 4 && (SameNoCase(name, 3, "COM") || SameNoCase(name, 3, "LPT")) && name[3] >= L'0' &&
        name[3] <= L'9')
        return true;
    return false;
}

} // namespace

void GroupStoreInit(GroupStore *store)
{
    store->index_file = INVALID_HANDLE_VALUE;
    store->log_file = INVALID_HANDLE_VALUE;
    store->index_path = nullptr;
    store->log_path = nullptr;
    store->filter_path = nullptr;
    store->status_text = nullptr;
    store->last_fetched = 0;
    store->server_last = 0;
    store->reserved = 0;
    store->record_count = 0;
    store->saved_position = 0;
    store->unread_count = 0;
    store->high_count = 0;
    store->low_count = 0;
}

int IsValidGroupName(const wchar_t *group)
{
    if (!group || !group[0])
        return 0;
    size_t length = wcslen(group);
    for (size_t i = 0; i < length; i++) {
        wchar_t c = group[i];
        if (c <= L' ' || c == 0x7F || wcschr(L"\\/:*?\"<>|", c))
            return 0;
        if (c == L'.' && (i == 0 || i + 1 == length || group[i + 1] == L'.'))
            return 0;
    }
    size_t first = wcscspn(group, L".");
    return !IsDeviceName(group, first);
}

int GroupStoreSetNames(GroupStore *store, const wchar_t *data_folder, const wchar_t *group)
{
    FreePaths(store);
    if (!data_folder || !group) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (!IsValidGroupName(group)) {
        SetLastError(kErrorBadGroupName);
        return 0;
    }
    store->index_path = JoinPath(data_folder, group, L".idx");
    store->log_path = JoinPath(data_folder, group, L".log");
    store->filter_path = JoinPath(data_folder, group, L".flt");
    if (!store->index_path || !store->log_path || !store->filter_path) {
        FreePaths(store);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    store->last_fetched = 0;
    store->server_last = 0;
    store->unread_count = 0;
    return 1;
}

void GroupStoreRelease(GroupStore *store)
{
    FreePaths(store);
    free(store->status_text);
    store->status_text = nullptr;
    CloseFile(&store->index_file);
    CloseFile(&store->log_file);
}

void GroupStoreReset(GroupStore *store)
{
    free(store->status_text);
    store->status_text = nullptr;
    CloseFile(&store->index_file);
    store->last_fetched = 0;
    store->server_last = 0;
    store->reserved = 0;
    store->record_count = 0;
    store->saved_position = 0;
    store->unread_count = 0;
    store->high_count = 0;
    store->low_count = 0;
}

DWORD GroupStoreLastFetched(const GroupStore *store) { return store->last_fetched; }
void GroupStoreSetLastFetched(GroupStore *store, DWORD value) { store->last_fetched = value; }
DWORD GroupStoreServerLast(const GroupStore *store) { return store->server_last; }
void GroupStoreSetServerLast(GroupStore *store, DWORD value) { store->server_last = value; }
DWORD GroupStoreReserved(const GroupStore *store) { return store->reserved; }
void GroupStoreSetReserved(GroupStore *store, DWORD value) { store->reserved = value; }
DWORD GroupStoreRecordCount(const GroupStore *store) { return store->record_count; }
void GroupStoreSetRecordCount(GroupStore *store, DWORD value) { store->record_count = value; }
DWORD GroupStoreSavedPosition(const GroupStore *store) { return store->saved_position; }
void GroupStoreSetSavedPosition(GroupStore *store, DWORD value) { store->saved_position = value; }
DWORD GroupStoreUnreadCount(const GroupStore *store) { return store->unread_count; }
void GroupStoreSetUnreadCount(GroupStore *store, DWORD value) { store->unread_count = value; }
DWORD GroupStoreHighCount(const GroupStore *store) { return store->high_count; }
void GroupStoreSetHighCount(GroupStore *store, DWORD value) { store->high_count = value; }
DWORD GroupStoreLowCount(const GroupStore *store) { return store->low_count; }
void GroupStoreSetLowCount(GroupStore *store, DWORD value) { store->low_count = value; }

const wchar_t *GroupStoreStatusText(const GroupStore *store)
{
    return store->status_text ? store->status_text : L"";
}

int GroupStoreSetStatusText(GroupStore *store, const wchar_t *text)
{
    wchar_t *copy = nullptr;
    if (text) {
        size_t size = (wcslen(text) + 1) * sizeof(wchar_t);
        copy = (wchar_t *)malloc(size);
        if (!copy) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
        memcpy(copy, text, size);
    }
    free(store->status_text);
    store->status_text = copy;
    return 1;
}

int GroupStoreOpenIndex(GroupStore *store)
{
    return OpenReadWrite(store->index_path, &store->index_file);
}

int GroupStoreOpenLog(GroupStore *store)
{
    return OpenReadWrite(store->log_path, &store->log_file);
}

void GroupStoreCloseIndex(GroupStore *store)
{
    CloseFile(&store->index_file);
}

void GroupStoreCloseLog(GroupStore *store)
{
    CloseFile(&store->log_file);
}
