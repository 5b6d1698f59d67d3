#include "program.h"

#include <stdlib.h>
#include <wchar.h>

int StartProgramOnFile(const wchar_t *program, const wchar_t *file)
{
    /* Both quoted: program and data folders may hold blanks. */
    size_t chars = wcslen(program) + wcslen(file) + 6;
    wchar_t *command = (wchar_t *)malloc(chars * sizeof(wchar_t));
    if (!command) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    _snwprintf(command, chars, L"\"%ls\" \"%ls\"", program, file);
    command[chars - 1] = L'\0';
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION started = {};
    BOOL ok = CreateProcessW(program, command, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &started);
    DWORD error = GetLastError();
    free(command);
    if (!ok) {
        SetLastError(error);
        return 0;
    }
    CloseHandle(started.hThread);
    CloseHandle(started.hProcess);
    return 1;
}
