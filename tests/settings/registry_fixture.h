/*
 * Tests that run against the real registry: each starts and ends without
 * HKCU\Software\marrowby\Pelnor, and reads or plants values with the plain
 * registry calls rather than the code under test.
 */
#ifndef PELNOR_TEST_REGISTRY_FIXTURE_H
#define PELNOR_TEST_REGISTRY_FIXTURE_H

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

struct RawValue {
    bool exists;
    DWORD type;
    std::string bytes;
};

class PelnorKeyTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

/* The program key, or its subkey `subkey`. */
std::wstring ProgramKeyPath(const wchar_t *subkey = nullptr);
bool KeyExists(const wchar_t *subkey = nullptr);
void DeleteKeyTree(const std::wstring &path);
/* Values directly in the program key; -1 when it is absent. */
long ValueCount();

RawValue QueryRaw(const wchar_t *name, const wchar_t *subkey = nullptr);
void PlantRaw(const wchar_t *name, DWORD type, const std::string &bytes, const wchar_t *subkey = nullptr);
void PlantText(const wchar_t *name, const std::wstring &text);
void PlantDword(const wchar_t *name, DWORD value);
void DeleteValue(const wchar_t *name);

/* While it lives, HKCU\Software\marrowby is a volatile key, under which
 * the lasting program key cannot be created. */
class VolatileParentKey {
public:
    VolatileParentKey();
    ~VolatileParentKey();
    VolatileParentKey(const VolatileParentKey &) = delete;
    VolatileParentKey &operator=(const VolatileParentKey &) = delete;
};

/* Little-endian bytes as the registry holds them. */
std::string Utf16Bytes(const std::wstring &text, bool terminator = true);
std::string Le32(DWORD value);

#endif
