/* Lines as the log and the group files are read: split across reads of
 * any size, ended after CR LF, refused past the line buffer when handed
 * out and passed whatever their length when skipped. */
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "base/line_reader.h"
#include "base/scoped_win.h"
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
 * any length. */
TEST(LineReader, SkipPastFindsTheWholeLinePastLinesOfAnyLength)
{
    TempFolder folder;
    std::string fits = std::string(1021, '=') + "\r\n";
    struct Case {
        std::string bytes, target;
        int found;
        DWORD skipped_or_error;
    } cases[] = {
        {"one\r\ntwo\n==\r\r\n==\r\n==\r\nafter", "==\r\n", 1, 18},
        {"x==\r\n" + fits + "==\r\n", "==\r\n", 1, 5 + 1023 + 4},
        /* Longer than the line buffer: passed, in one read or several. */
        {"a\r\n" + std::string(1100, 'y') + "\r\n==\r\n", "==\r\n", 1, 3 + 1102 + 4},
        {"a\r\n" + std::string(1100, 'y'), "==\r\n", 0, ERROR_HANDLE_EOF},
        {std::string(2000, '=') + "\r\n==\r\n", "==\r\n", 1, 2002 + 4},
        /* Longer than every read buffer, its CR LF split between the first
         * two reads of 4096 bytes, with a lone LF and the target's bytes
         * inside it. */
        {"x\r\n" + std::string(4089, 'y') + "\n==\r\n==\r\n", "==\r\n", 1, 3 + 4094 + 4},
        {"a\r\n==\r", "==\r\n", 0, ERROR_HANDLE_EOF},
        /* Long enough to be searched 64 bytes at a time: a CR LF across two
         * steps ends the line, a lone LF opening a line does not. */
        {"x\r\n" + std::string(63, 'a') + "\r\n==\r\n" + std::string(70, 'c'), "==\r\n", 1, 72},
        {"x\r\n" + std::string(63, 'a') + "\r\n\n==\r\n" + std::string(70, 'c') + "\r\n==\r\n", "==\r\n", 1, 149},
    };
    for (const Case &c : cases) {
        std::wstring path = folder.file(L"skip.txt");
        ASSERT_TRUE(WriteFileBytes(path, c.bytes));
        for (DWORD buffer : {1u, 4u, 100u, 4096u}) {
            ScopedFile file(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            LineReader reader;
            ASSERT_TRUE(LineReaderInit(&reader, file.get(), buffer, 1024));
            DWORD skipped = 0;
            int found = LineReaderSkipPast(&reader, c.target.data(), (DWORD)c.target.size(), &skipped);
            EXPECT_EQ(found, c.found) << c.bytes.substr(0, 20) << " " << buffer;
            EXPECT_EQ(found ? skipped : GetLastError(), c.skipped_or_error) << c.bytes.substr(0, 20) << " " << buffer;
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
