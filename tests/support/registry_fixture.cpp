#include "registry_fixture.h"

#include "settings/settings.h"

void DeletePelnorKey()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY);
}

bool MakePelnorKeyUnmakeable()
{
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\marrowby");
    HKEY parent;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\marrowby", 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                        nullptr, &parent, nullptr) != ERROR_SUCCESS)
        return false;
    RegCloseKey(parent);
    return true;
}

void DeleteUnmakeableParent()
{
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\marrowby");
}

static std::wstring KeyPath(const wchar_t *subkey)
{
    return subkey ? PELNOR_REGISTRY_KEY L"\\" + std::wstring(subkey) : PELNOR_REGISTRY_KEY;
}

static void SetValue(const wchar_t *subkey, const wchar_t *name, DWORD type, const void *data, DWORD size)
{
    RegSetKeyValueW(HKEY_CURRENT_USER, KeyPath(subkey).c_str(), name, type, data, size);
}

void SetPelnorString(const wchar_t *name, const std::wstring &value, const wchar_t *subkey)
{
    SetValue(subkey, name, REG_SZ, value.c_str(), (DWORD)((value.size() + 1) * sizeof(wchar_t)));
}

void SetPelnorDword(const wchar_t *name, DWORD value, const wchar_t *subkey)
{
    SetValue(subkey, name, REG_DWORD, &value, sizeof value);
}

void SeedCompleteSettings(const std::wstring &data_path)
{
    SetPelnorString(L"Server", L"127.0.0.1");
    SetPelnorDword(L"Port", 119);
    SetPelnorString(L"DataPath", data_path);
    SetPelnorDword(L"Limit", 50);
}

StoredValue PelnorValue(const wchar_t *name, const wchar_t *subkey)
{
    StoredValue value;
    DWORD size = 0;
    const std::wstring path = KeyPath(subkey);
    if (RegGetValueW(HKEY_CURRENT_USER, path.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &value.type, nullptr,
                     &size) != ERROR_SUCCESS) {
        value.type = 0;
        return value;
    }
    value.bytes.resize(size);
    RegGetValueW(HKEY_CURRENT_USER, path.c_str(), name, RRF_RT_ANY | RRF_NOEXPAND, &value.type,
                 size ? &value.bytes[0] : nullptr, &size);
    value.bytes.resize(size);
    return value;
}

StoredValue TextValue(const std::wstring &text)
{
    StoredValue value;
    value.type = REG_SZ;
    value.bytes.assign((const char *)text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    return value;
}

StoredValue DwordValue(DWORD number)
{
    StoredValue value;
    value.type = REG_DWORD;
    value.bytes.assign((const char *)&number, sizeof number);
    return value;
}

void PrintTo(const StoredValue &value, std::ostream *out)
{
    static const char digits[] = "0123456789ABCDEF";
    *out << "type " << value.type << ":";
    for (unsigned char byte : value.bytes)
        *out << ' ' << digits[byte >> 4] << digits[byte & 15];
}
