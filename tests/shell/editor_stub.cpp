/*
 * Stands in for an external editor in the posting tests: it writes what it
 * was started with ("<count of arguments> <first argument>", UTF-16) to
 * "<first argument>.opened", whole or not at all, and ends.
 */
#include <windows.h>

#include <string>

int wmain(int argc, wchar_t **argv)
{
    if (argc < 2)
        return 1;
    std::wstring seen = std::to_wstring(argc - 1) + L" " + argv[1];
    std::wstring done = std::wstring(argv[1]) + L".opened", part = done + L".part";
    HANDLE file = CreateFileW(part.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    DWORD wrote = 0;
    BOOL ok = WriteFile(file, seen.data(), (DWORD)(seen.size() * sizeof(wchar_t)), &wrote, nullptr);
    CloseHandle(file);
    return ok && MoveFileW(part.c_str(), done.c_str()) ? 0 : 1;
}
