/*
 * A group stored by older versions of the program: a log of three articles
 * and the index each older version wrote for it, with the records they end
 * up as once converted.
 */
#ifndef PELNOR_TEST_OLD_INDEXES_H
#define PELNOR_TEST_OLD_INDEXES_H

#include <string.h>

#include <string>
#include <vector>

#include "support/store_bytes.h"

/* The three articles of the log, numbered 31, 32 and 34 by their
 * X-Local-Seq lines, and where each starts in it. */
inline std::string OldArticle(int i)
{
    const std::vector<std::string> heads[3] = {
        {"From: Ann <ann@x>\r\n", "Subject: first\r\n", "Date: 1 Feb 2001\r\n"},
        {"Subject: second\r\n", "From: bob@x (Bob)\r\n", "Date: 12 Nov 2001\r\n"},
        {"Date: 3 Apr 2002\r\n", "From: carol@x\r\n"}};
    const uint32_t numbers[3] = {31, 32, 34};
    return ArticleBytes(heads[i], numbers[i], {std::to_string(i + 1) + "\r\n"});
}

inline std::string OldLog()
{
    return OldArticle(0) + OldArticle(1) + OldArticle(2);
}

inline uint32_t OldArticleOffset(int i)
{
    return (uint32_t)OldLog().find(OldArticle(i));
}

/* Flags the old records carry: read, read + high, low. */
const uint32_t kOldRecordFlags[3] = {1, 1 | 4, 2};

/* An old binary index (versions 2 to 4), field by field. Header: version,
 * last fetched 34, server last 40, reserved 77, record count 3, saved
 * position 2, status "old", then (from version 3) unread 1. Records: four
 * words and a 48-byte subject; version 4 also the date and sender. The old
 * records number the articles 31, 32, 33. */
inline std::string OldIndex(uint32_t version)
{
    std::string bytes = U32(version) + U32(34) + U32(40) + U32(77) + U32(3) + U32(2) + Padded("old", 64);
    if (version >= 3)
        bytes += U32(1);
    for (int i = 0; i < 3; i++) {
        bytes += U32(kOldRecordFlags[i]) + U32(31 + i) + U32(OldArticleOffset(i)) + U32((uint32_t)OldArticle(i).size());
        bytes += Padded("stale " + std::to_string(i), 48);
        if (version == 4)
            bytes += "9999" + Padded("stale from", 16);
    }
    return bytes;
}

/* A version 1 index: a text header of lines (last fetched, status, server
 * last, reserved) and nothing else. */
inline std::string OldTextIndex(const std::string &status)
{
    return "34\r\n" + status + "\r\n40\r\n77\r\n";
}

/* The version 5 records of the three articles. Converted: the old flags and
 * numbers kept. Rebuilt from the log: unread, normal, numbered 31, 32, 34. */
inline std::string CurrentRecords(bool rebuilt)
{
    const char *subjects[3] = {"first", "second", "(none)"};
    const char *dates[3] = {"0201", "1112", "0403"};
    const char *froms[3] = {"Ann", "Bob", "carol@x"};
    const uint32_t subject_at[3] = {19 + 9, 9, 0};
    const uint32_t numbers[3] = {31, 32, 34};
    std::string bytes;
    for (int i = 0; i < 3; i++) {
        uint32_t offset = OldArticleOffset(i);
        bytes += RecordBytes(RecordFields{rebuilt ? 0 : kOldRecordFlags[i], rebuilt ? numbers[i] : 31u + i, offset,
                                          (uint32_t)OldArticle(i).size(), subjects[i], dates[i], froms[i],
                                          offset + subject_at[i], i < 2 ? (uint32_t)strlen(subjects[i]) : 0});
    }
    return bytes;
}

#endif
