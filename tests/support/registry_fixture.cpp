#include "registry_fixture.h"

#include "settings/settings.h"

void DeletePelnorKey()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY);
}

static HKEY OpenKey(const wchar_t *subkey)
{
    std::wstring path = PELNOR_REGISTRY_KEY;
    if (subkey)
        path += std::wstring(L"\\") + subkey;
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}

void SetPelnorString(const wchar_t *name, const std::wstring &value, const wchar_t *subkey)
{
    HKEY key = OpenKey(subkey);
    RegSetValueExW(key, name, 0, REG_SZ, (const BYTE *)value.c_str(), (DWORD)((value.size() + 1) * sizeof(wchar_t)));
    RegCloseKey(key);
}

void SetPelnorDword(const wchar_t *name, DWORD value, const wchar_t *subkey)
{
    HKEY key = OpenKey(subkey);
    RegSetValueExW(key, name, 0, REG_DWORD, (const BYTE *)&value, sizeof value);
    RegCloseKey(key);
}

void SeedCompleteSettings(const std::wstring &data_path)
{
    SetPelnorString(L"Server", L"127.0.0.1");
    SetPelnorDword(L"Port", 119);
    SetPelnorString(L"DataPath", data_path);
    SetPelnorDword(L"Limit", 50);
}
