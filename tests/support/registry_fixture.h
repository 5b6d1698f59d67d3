/*
 * The program's registry key in the test prefix, cleared around each test.
 */
#ifndef PELNOR_TEST_REGISTRY_FIXTURE_H
#define PELNOR_TEST_REGISTRY_FIXTURE_H

#include <windows.h>

#include <ostream>
#include <string>

/* Deletes HKCU\Software\marrowby\Pelnor with all its subkeys. */
void DeletePelnorKey();

/* Leaves the program key unmakeable: it is deleted and its parent made
 * volatile, under which a lasting key cannot be created. The parent goes
 * with DeleteUnmakeableParent. */
bool MakePelnorKeyUnmakeable();
void DeleteUnmakeableParent();

/* Writes one value of the program key (or of a subkey of it). */
void SetPelnorString(const wchar_t *name, const std::wstring &value, const wchar_t *subkey = nullptr);
void SetPelnorDword(const wchar_t *name, DWORD value, const wchar_t *subkey = nullptr);

/* A value of the program key (or of a subkey of it) as stored: its type (0
 * when missing) and its bytes. */
struct StoredValue {
    DWORD type = 0;
    std::string bytes;
    bool operator==(const StoredValue &o) const { return type == o.type && bytes == o.bytes; }
    bool operator!=(const StoredValue &o) const { return !(*this == o); }
};
/* For failure messages: the type and the bytes in hex. */
void PrintTo(const StoredValue &value, std::ostream *out);
StoredValue PelnorValue(const wchar_t *name, const wchar_t *subkey = nullptr);
/* The REG_SZ bytes of `text` with its terminator, and a REG_DWORD's. */
StoredValue TextValue(const std::wstring &text);
StoredValue DwordValue(DWORD number);

/* The settings a frame needs to start: server, port, data folder, limit. */
void SeedCompleteSettings(const std::wstring &data_path);

#endif
