#include "file_io.h"

int SeekFile(HANDLE file, DWORD offset)
{
    LONG high = 0;
    SetLastError(NO_ERROR);
    if (SetFilePointer(file, (LONG)offset, &high, FILE_BEGIN) == INVALID_SET_FILE_POINTER &&
        GetLastError() != NO_ERROR)
        return 0;
    return 1;
}

int FilePosition(HANDLE file, DWORD *position)
{
    SetLastError(NO_ERROR);
    DWORD at = SetFilePointer(file, 0, nullptr, FILE_CURRENT);
    if (at == INVALID_SET_FILE_POINTER && GetLastError() != NO_ERROR)
        return 0;
    *position = at;
    return 1;
}

int ReadBytes(HANDLE file, void *buffer, DWORD size, DWORD *got)
{
    char *to = (char *)buffer;
    DWORD total = 0;
    while (total < size) {
        DWORD read = 0;
        if (!ReadFile(file, to + total, size - total, &read, nullptr)) {
            *got = total;
            return 0;
        }
        if (read == 0)
            break;
        total += read;
    }
    *got = total;
    return 1;
}

int WriteBytes(HANDLE file, const void *data, DWORD size)
{
    DWORD written = 0;
    if (!WriteFile(file, data, size, &written, nullptr))
        return 0;
    if (written != size) {
        SetLastError(ERROR_DISK_FULL);
        return 0;
    }
    return 1;
}

int ReadBytesAt(HANDLE file, DWORD offset, void *buffer, DWORD size, DWORD *got)
{
    *got = 0;
    return SeekFile(file, offset) && ReadBytes(file, buffer, size, got);
}

HANDLE OpenForReading(const wchar_t *path)
{
    if (!path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    return CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}
