/*
 * Temporary folders and whole-file helpers for tests.
 */
#ifndef PELNOR_TEST_TEMP_FOLDER_H
#define PELNOR_TEST_TEMP_FOLDER_H

#include <string>

/* A new empty folder under the system temporary folder, removed with its
 * contents when the object goes. path() ends in a backslash. */
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::wstring &path() const { return path_; }
    std::wstring file(const std::wstring &name) const { return path_ + name; }

private:
    std::wstring path_;
};

/* Whole-file access; a missing file reads as "". */
bool WriteFileBytes(const std::wstring &path, const std::string &bytes);
std::string FileBytes(const std::wstring &path);
bool FileExists(const std::wstring &path);
bool FolderExists(const std::wstring &path);
void RemoveTree(const std::wstring &path);

/* "Z:\..." for a path on the Linux side (Wine's drive for "/"). */
std::wstring WinePathOf(const char *unix_path);

#endif
