#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/index_file.h"
#include "store_test_util.h"

namespace {

/* Three articles; the second is read. */
SimpleGroup Three()
{
    return SimpleGroup({"apple pie", "banana split", "cherry"}, 10, {0, 1, 0});
}

HeaderFields ThreeHeader()
{
    HeaderFields h;
    h.last_fetched = 12;
    h.server_last = 20;
    h.reserved = 0xDEADBEEF;
    h.record_count = 3;
    h.saved_position = 1;
    h.status = "ok";
    h.unread = 2;
    return h;
}

using IndexTest = GroupFixture;

} // namespace

TEST_F(IndexTest, ReadHeaderNeedsAWholeVersion5Header)
{
    GroupStore unnamed;
    GroupStoreInit(&unnamed);
    EXPECT_FALSE(IndexReadHeader(&unnamed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);

    EXPECT_FALSE(IndexReadHeader(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);

    HeaderFields h = ThreeHeader();
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h).substr(0, 99)));
    EXPECT_FALSE(IndexReadHeader(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);

    h.version = 4;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    EXPECT_FALSE(IndexReadHeader(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);

    h.version = 5;
    h.high = 7;
    h.low = 8;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(IndexReadHeader(&store_));
    EXPECT_EQ(store_.last_fetched, 12u);
    EXPECT_EQ(store_.server_last, 20u);
    EXPECT_EQ(store_.reserved, 0xDEADBEEFu);
    EXPECT_EQ(store_.record_count, 3u);
    EXPECT_EQ(store_.saved_position, 1u);
    EXPECT_STREQ(GroupStoreStatusText(&store_), L"ok");
    EXPECT_EQ(store_.unread_count, 2u);
    EXPECT_EQ(store_.high_count, 7u);
    EXPECT_EQ(store_.low_count, 8u);
}

TEST_F(IndexTest, StatusTextIsCutTo63BytesWithoutSplittingACharacter)
{
    struct {
        std::wstring text;
        std::string stored;
    } cases[] = {
        {std::wstring(61, L'a') + L"日", std::string(61, 'a') + "\x93\xFA"},
        {std::wstring(62, L'a') + L"日", std::string(62, 'a')},
        {std::wstring(70, L'b'), std::string(63, 'b')},
        {std::wstring(40, L'表'), [] {
             std::string s;
             for (int i = 0; i < 31; i++)
                 s += SJIS_HYO;
             return s;
         }()},
        {L"", ""},
    };
    for (const auto &c : cases) {
        ASSERT_TRUE(GroupStoreSetStatusText(&store_, c.text.c_str()));
        ASSERT_TRUE(IndexWriteHeader(&store_, INVALID_HANDLE_VALUE));
        HeaderFields h;
        h.status = c.stored;
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h));
    }
}

TEST_F(IndexTest, ReadRecordsWithinTheRecordCount)
{
    SimpleGroup group = Three();
    WriteGroup(group, ThreeHeader());
    ASSERT_TRUE(IndexReadHeader(&store_));
    IndexRecord records[5];
    DWORD count = 5;
    ASSERT_TRUE(IndexReadRecords(&store_, records, 1, &count));
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(std::string((const char *)&records[0], 92), RecordBytes(group.records[1]));
    EXPECT_EQ(std::string((const char *)&records[1], 92), RecordBytes(group.records[2]));

    count = 1;
    EXPECT_FALSE(IndexReadRecords(&store_, records, 3, &count));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_EQ(count, 0u);
}

TEST_F(IndexTest, MarkAllReadSetsEveryReadBit)
{
    SimpleGroup group = Three();
    group.records[2].flags = 4; /* high, unread */
    WriteGroup(group, ThreeHeader());
    ASSERT_TRUE(IndexMarkAllRead(&store_));
    HeaderFields h = ThreeHeader();
    h.unread = 0;
    group.records[0].flags = 1;
    group.records[2].flags = 5;
    std::string bytes = group.Index(h);
    EXPECT_EQ(FileBytes(IndexPath()), bytes);

    /* A header claiming a record the file lacks: nothing is marked, 38. */
    h = ThreeHeader();
    h.record_count = 4;
    std::string short_index = HeaderBytes(h) + bytes.substr(100);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), short_index));
    EXPECT_FALSE(IndexMarkAllRead(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
    EXPECT_EQ(FileBytes(IndexPath()), short_index);

    /* No records: only the header, with unread put to 0. */
    h = HeaderFields();
    h.unread = 5;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(IndexMarkAllRead(&store_));
    h.unread = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h));
}

TEST_F(IndexTest, RefilterRecomputesPrioritiesFromTheLog)
{
    SimpleGroup group = Three();
    std::vector<RecordFields> &records = group.records;
    records[0].flags = 4;     /* was high */
    records[1].flags = 1 | 2; /* read, was low */
    HeaderFields h = ThreeHeader();
    h.high = 1;
    h.low = 1;
    WriteGroup(group, h);
    ASSERT_TRUE(WriteFileBytes(FilterPath(), "- cherry pie\r\n+ split\r\n"));
    ASSERT_TRUE(IndexReadHeader(&store_));
    store_.unread_count = 1; /* the list's own count, saved as it is */
    ASSERT_TRUE(IndexRefilter(&store_));
    /* "apple pie": no keyword; "banana split" holds "split"; "cherry" is
     * within "cherry pie". */
    records[0].flags = 0;
    records[1].flags = 1 | 4;
    records[2].flags = 2;
    h.unread = 1;
    EXPECT_EQ(FileBytes(IndexPath()), group.Index(h));

    /* The text is read wherever the range points (after a deletion it may
     * be another article's subject); beyond the log it is empty, which
     * every keyword matches. */
    records[0].subject_offset = records[2].subject_offset;
    records[0].subject_length = 6;
    records[2].subject_offset = 1000000;
    WriteGroup(group, ThreeHeader());
    ASSERT_TRUE(WriteFileBytes(FilterPath(), "+ cherry\r\n"));
    ASSERT_TRUE(IndexReadHeader(&store_));
    ASSERT_TRUE(IndexRefilter(&store_));
    EXPECT_EQ(store_.high_count, 2u);
    std::string index = FileBytes(IndexPath());
    EXPECT_EQ(ReadU32(index, 100), 4u);
    EXPECT_EQ(ReadU32(index, 100 + 184), 4u);
}

TEST_F(IndexTest, ProbeReadsTheVersionWord)
{
    DWORD version = 0;
    EXPECT_FALSE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);

    /* Above 500 is the version 1 text header. */
    const std::pair<std::string, DWORD> cases[] = {
        {U32(500), 500}, {U32(501), 1}, {"0\r\n\r\n0\r\n0\r\n", 1}, {HeaderBytes(HeaderFields()), 5}};
    for (const auto &c : cases) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), c.first));
        ASSERT_TRUE(IndexProbeVersion(&store_, &version));
        EXPECT_EQ(version, c.second);
    }

    ASSERT_TRUE(WriteFileBytes(IndexPath(), std::string("\x05\x00\x00", 3)));
    EXPECT_FALSE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);

    /* Opened without sharing: an index in use elsewhere cannot be probed. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(HeaderFields())));
    HANDLE other = CreateFileW(IndexPath().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_SHARING_VIOLATION);
    CloseHandle(other);
}
