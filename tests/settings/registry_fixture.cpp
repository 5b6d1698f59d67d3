#include "registry_fixture.h"

#include "settings/settings.h"

void PelnorKeyTest::SetUp()
{
    DeleteKeyTree(ProgramKeyPath());
    ASSERT_FALSE(KeyExists());
}

void PelnorKeyTest::TearDown()
{
    DeleteKeyTree(ProgramKeyPath());
}

std::wstring ProgramKeyPath(const wchar_t *subkey)
{
    std::wstring path = PELNOR_REGISTRY_KEY;
    if (subkey)
        path += std::wstring(L"\\") + subkey;
    return path;
}

bool KeyExists(const wchar_t *subkey)
{
    HKEY key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, ProgramKeyPath(subkey).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

void DeleteKeyTree(const std::wstring &path)
{
    LONG rc = RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    ASSERT_TRUE(rc == ERROR_SUCCESS || rc == ERROR_FILE_NOT_FOUND) << rc;
    rc = RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
    ASSERT_TRUE(rc == ERROR_SUCCESS || rc == ERROR_FILE_NOT_FOUND) << rc;
}

long ValueCount()
{
    HKEY key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, ProgramKeyPath().c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return -1;
    DWORD values = 0;
    LONG rc = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                               nullptr, nullptr, nullptr, nullptr);
    RegCloseKey(key);
    return rc == ERROR_SUCCESS ? (long)values : -1;
}

RawValue QueryRaw(const wchar_t *name, const wchar_t *subkey)
{
    RawValue raw = {false, REG_NONE, ""};
    HKEY key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, ProgramKeyPath(subkey).c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
        return raw;
    DWORD size = 0;
    if (RegQueryValueExW(key, name, nullptr, &raw.type, nullptr, &size) == ERROR_SUCCESS) {
        raw.bytes.resize(size);
        if (RegQueryValueExW(key, name, nullptr, &raw.type, (BYTE *)&raw.bytes[0], &size) == ERROR_SUCCESS) {
            raw.bytes.resize(size);
            raw.exists = true;
        }
    }
    RegCloseKey(key);
    return raw;
}

void PlantRaw(const wchar_t *name, DWORD type, const std::string &bytes, const wchar_t *subkey)
{
    HKEY key;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, ProgramKeyPath(subkey).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              ERROR_SUCCESS);
    LONG rc = RegSetValueExW(key, name, 0, type, (const BYTE *)bytes.data(), (DWORD)bytes.size());
    RegCloseKey(key);
    ASSERT_EQ(rc, ERROR_SUCCESS);
}

void PlantText(const wchar_t *name, const std::wstring &text)
{
    PlantRaw(name, REG_SZ, Utf16Bytes(text));
}

void PlantDword(const wchar_t *name, DWORD value)
{
    PlantRaw(name, REG_DWORD, Le32(value));
}

void DeleteValue(const wchar_t *name)
{
    HKEY key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, ProgramKeyPath().c_str(), 0, KEY_ALL_ACCESS, &key), ERROR_SUCCESS);
    LONG rc = RegDeleteValueW(key, name);
    RegCloseKey(key);
    ASSERT_EQ(rc, ERROR_SUCCESS);
}

VolatileParentKey::VolatileParentKey()
{
    DeleteKeyTree(L"Software\\marrowby");
    HKEY key;
    LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\marrowby", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr);
    EXPECT_EQ(rc, ERROR_SUCCESS);
    if (rc == ERROR_SUCCESS)
        RegCloseKey(key);
}

VolatileParentKey::~VolatileParentKey()
{
    DeleteKeyTree(L"Software\\marrowby");
}

std::string Utf16Bytes(const std::wstring &text, bool terminator)
{
    std::string bytes;
    for (wchar_t c : text) {
        bytes += (char)(c & 0xFF);
        bytes += (char)((c >> 8) & 0xFF);
    }
    if (terminator)
        bytes += std::string(2, '\0');
    return bytes;
}

std::string Le32(DWORD value)
{
    std::string bytes;
    for (int i = 0; i < 4; i++)
        bytes += (char)((value >> (8 * i)) & 0xFF);
    return bytes;
}
