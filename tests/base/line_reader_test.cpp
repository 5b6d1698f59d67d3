/* Lines as the log and the group files are read: split across reads of
 * any size, ended after CR LF, refused past the line buffer when handed
 * out and passed whatever their length when skipped. */
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "base/line_reader.h"
#include "base/scoped_win.h"
#include "line_skip_rows.h"
#include "support/temp_folder.h"

TEST(LineReader, LinesEndAfterCrLfAndMustFitTheLineBuffer)
{
    TempFolder folder;
    std::wstring path = folder.file(L"lines.txt");
    std::string fits = std::string(1021, 'x') + "\r\n"; /* with its NUL, 1024 bytes */
    ASSERT_TRUE(WriteFileBytes(path, "one\r\ntwo\nstill two\r\r\n\r\n" + fits + "y" + fits + "after\r\n"));
    /* Buffers of 1, 4 and 100 bytes split lines (and a CR LF) across reads. */
    for (DWORD buffer : {1u, 4u, 100u, 4096u}) {
        ScopedFile file(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        LineReader reader;
        ASSERT_TRUE(LineReaderInit(&reader, file.get(), buffer, 1024));
        std::vector<std::string> lines;
        const char *line;
        DWORD length;
        while (LineReaderNext(&reader, &line, &length))
            lines.emplace_back(line, length);
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
        EXPECT_EQ(lines, (std::vector<std::string>{"one\r\n", "two\nstill two\r\r\n", "\r\n", fits})) << buffer;
        LineReaderFree(&reader);
    }
}

/* Skipping to a line ends lines as reading them does, but passes a line of
 * any length. The rows (line_skip_rows.h) also run natively. */
TEST(LineReader, SkipPastFindsTheWholeLinePastLinesOfAnyLength)
{
    TempFolder folder;
    for (const SkipRow &c : kSkipRows) {
        std::wstring path = folder.file(L"skip.txt");
        ASSERT_TRUE(WriteFileBytes(path, c.bytes));
        for (DWORD buffer : kSkipPieces) {
            ScopedFile file(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            LineReader reader;
            ASSERT_TRUE(LineReaderInit(&reader, file.get(), buffer, 1024));
            DWORD skipped = 0;
            int found = LineReaderSkipPast(&reader, c.target.data(), (DWORD)c.target.size(), &skipped);
            EXPECT_EQ(found, c.found) << c.bytes.substr(0, 20) << " " << buffer;
            EXPECT_EQ(found ? skipped : GetLastError(), found ? c.skipped : (DWORD)ERROR_HANDLE_EOF)
                << c.bytes.substr(0, 20) << " " << buffer;
            /* Reading goes on right after the target. */
            std::string rest;
            const char *line;
            DWORD length;
            while (found && LineReaderNext(&reader, &line, &length))
                rest.append(line, length);
            if (found) {
                EXPECT_EQ(rest, c.bytes.substr(skipped)) << c.bytes.substr(0, 20) << " " << buffer;
            }
            LineReaderFree(&reader);
        }
    }
}
