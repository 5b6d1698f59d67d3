#include "temp_folder.h"

#include <windows.h>

TempFolder::TempFolder()
{
    wchar_t base[MAX_PATH], name[MAX_PATH];
    GetTempPathW(MAX_PATH, base);
    static unsigned counter;
    do
        wsprintfW(name, L"%spelnor-test-%lu-%u", base, GetCurrentProcessId(), ++counter);
    while (!CreateDirectoryW(name, nullptr));
    path_ = std::wstring(name) + L'\\';
}

TempFolder::~TempFolder()
{
    RemoveTree(path_);
}

void RemoveTree(const std::wstring &folder)
{
    std::wstring dir = folder.empty() || folder.back() == L'\\' ? folder : folder + L'\\';
    WIN32_FIND_DATAW fd;
    HANDLE find = FindFirstFileW((dir + L"*").c_str(), &fd);
    for (BOOL more = find != INVALID_HANDLE_VALUE; more; more = FindNextFileW(find, &fd)) {
        std::wstring name = fd.cFileName, full = dir + name;
        if (name == L"." || name == L"..")
            continue;
        if (fd.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
            RemoveTree(full);
        } else {
            SetFileAttributesW(full.c_str(), FILE_ATTRIBUTE_NORMAL);
            DeleteFileW(full.c_str());
        }
    }
    if (find != INVALID_HANDLE_VALUE)
        FindClose(find);
    RemoveDirectoryW(dir.c_str());
}

bool WriteFileBytes(const std::wstring &path, const std::string &bytes)
{
    HANDLE f = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (f == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    BOOL ok = WriteFile(f, bytes.data(), (DWORD)bytes.size(), &written, nullptr);
    CloseHandle(f);
    return ok && written == bytes.size();
}

std::string FileBytes(const std::wstring &path)
{
    std::string bytes;
    HANDLE f = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
    if (f == INVALID_HANDLE_VALUE)
        return bytes;
    char buf[65536];
    DWORD got = 0;
    while (ReadFile(f, buf, sizeof buf, &got, nullptr) && got > 0)
        bytes.append(buf, got);
    CloseHandle(f);
    return bytes;
}

bool FileExists(const std::wstring &path)
{
    DWORD a = GetFileAttributesW(path.c_str());
    return a != INVALID_FILE_ATTRIBUTES && !(a & FILE_ATTRIBUTE_DIRECTORY);
}

bool FolderExists(const std::wstring &path)
{
    DWORD a = GetFileAttributesW(path.c_str());
    return a != INVALID_FILE_ATTRIBUTES && (a & FILE_ATTRIBUTE_DIRECTORY);
}

std::wstring WinePathOf(const char *unix_path)
{
    std::wstring out = L"Z:";
    for (const char *p = unix_path; *p; p++)
        out += (*p == '/') ? L'\\' : (wchar_t)(unsigned char)*p;
    return out;
}
