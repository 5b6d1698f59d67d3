/*
 * The program's registry key in the test prefix, cleared around each test.
 */
#ifndef PELNOR_TEST_REGISTRY_FIXTURE_H
#define PELNOR_TEST_REGISTRY_FIXTURE_H

#include <windows.h>

#include <string>

/* Deletes HKCU\Software\marrowby\Pelnor with all its subkeys. */
void DeletePelnorKey();

/* Writes one value of the program key (or of a subkey of it). */
void SetPelnorString(const wchar_t *name, const std::wstring &value, const wchar_t *subkey = nullptr);
void SetPelnorDword(const wchar_t *name, DWORD value, const wchar_t *subkey = nullptr);

/* The settings a frame needs to start: server, port, data folder, limit. */
void SeedCompleteSettings(const std::wstring &data_path);

#endif
