#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "shell/scoped_win.h"
#include "store/line_reader.h"
#include "support/temp_folder.h"

namespace {

struct ReadResult {
    std::vector<std::string> lines;
    DWORD error = 0; /* what ended the reading */
};

ReadResult ReadAll(const std::string &bytes, DWORD buffer_size, DWORD line_capacity)
{
    TempFolder folder;
    std::wstring path = folder.file(L"lines.txt");
    EXPECT_TRUE(WriteFileBytes(path, bytes));
    ScopedFile file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(file.valid());
    LineReader reader;
    EXPECT_TRUE(LineReaderInit(&reader, file.get(), buffer_size, line_capacity));
    ReadResult result;
    const char *line;
    DWORD length;
    while (LineReaderNext(&reader, &line, &length))
        result.lines.emplace_back(line, length);
    result.error = GetLastError();
    LineReaderFree(&reader);
    return result;
}

} // namespace

TEST(LineReader, LinesEndAfterCrLfOnly)
{
    for (DWORD buffer : {1u, 2u, 3u, 7u, 4096u}) {
        ReadResult r = ReadAll("one\r\ntwo\nstill two\r\n\r\nlast", buffer, 1024);
        EXPECT_EQ(r.lines, (std::vector<std::string>{"one\r\n", "two\nstill two\r\n", "\r\n", "last"}))
            << "buffer " << buffer;
        EXPECT_EQ(r.error, (DWORD)ERROR_HANDLE_EOF);
    }
    ReadResult empty = ReadAll("", 64, 1024);
    EXPECT_TRUE(empty.lines.empty());
    EXPECT_EQ(empty.error, (DWORD)ERROR_HANDLE_EOF);
}

TEST(LineReader, CrLfSplitAcrossTwoReads)
{
    /* With a 4-byte buffer the CR is the last byte of one read and the LF
     * the first of the next. */
    ReadResult r = ReadAll("abc\r\nx\r\r\n", 4, 1024);
    EXPECT_EQ(r.lines, (std::vector<std::string>{"abc\r\n", "x\r\r\n"}));
}

TEST(LineReader, LineAndItsNulMustFitTheLineBuffer)
{
    std::string fits = std::string(1021, 'x') + "\r\n"; /* 1023 bytes + NUL = 1024 */
    std::string too_long = std::string(1022, 'y') + "\r\n";
    for (DWORD buffer : {100u, 1024u, 65536u}) {
        ReadResult r = ReadAll(fits + too_long + "after\r\n", buffer, 1024);
        EXPECT_EQ(r.lines, (std::vector<std::string>{fits})) << buffer;
        EXPECT_EQ(r.error, (DWORD)ERROR_MORE_DATA) << buffer;
    }
    /* An over-long last line without a line end is refused as well. */
    ReadResult r = ReadAll(std::string(1024, 'z'), 4096, 1024);
    EXPECT_TRUE(r.lines.empty());
    EXPECT_EQ(r.error, (DWORD)ERROR_MORE_DATA);
    /* A lone LF does not end a line, so it does not save a long one. */
    r = ReadAll(std::string(600, 'a') + "\n" + std::string(600, 'b') + "\r\n", 4096, 1024);
    EXPECT_EQ(r.error, (DWORD)ERROR_MORE_DATA);
}
