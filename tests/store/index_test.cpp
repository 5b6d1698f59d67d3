#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/index_file.h"
#include "store_test_util.h"

namespace {

/* Three articles in the log and their records; the second is read. */
const std::string kArticles[3] = {
    ArticleBytes({"Subject: apple pie\r\n"}, 10, {"a\r\n"}),
    ArticleBytes({"Subject: banana split\r\n"}, 11, {"b\r\n"}),
    ArticleBytes({"Subject: cherry\r\n"}, 12, {"c\r\n"}),
};

std::vector<RecordFields> ThreeRecords()
{
    std::vector<RecordFields> records(3);
    const char *subjects[3] = {"apple pie", "banana split", "cherry"};
    uint32_t offset = 0;
    for (int i = 0; i < 3; i++) {
        records[i].number = 10 + i;
        records[i].offset = offset;
        records[i].length = (uint32_t)kArticles[i].size();
        records[i].subject = subjects[i];
        records[i].from = "(Unknown)";
        records[i].subject_offset = offset + 9;
        records[i].subject_length = (uint32_t)strlen(subjects[i]);
        offset += records[i].length;
    }
    records[1].flags = 1;
    return records;
}

class IndexTest : public GroupFixture {
protected:
    void WriteGroup(const HeaderFields &header, const std::vector<RecordFields> &records)
    {
        std::string bytes = HeaderBytes(header);
        for (const RecordFields &r : records)
            bytes += RecordBytes(r);
        ASSERT_TRUE(WriteFileBytes(IndexPath(), bytes));
        ASSERT_TRUE(WriteFileBytes(LogPath(), kArticles[0] + kArticles[1] + kArticles[2]));
    }
    HeaderFields ThreeHeader() const
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
};

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

    /* Reading again resets what the store held. */
    h.status = "";
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(IndexReadHeader(&store_));
    EXPECT_STREQ(GroupStoreStatusText(&store_), L"");
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

TEST_F(IndexTest, WriteHeaderThroughAGivenOrTheOpenHandle)
{
    WriteGroup(ThreeHeader(), ThreeRecords());
    std::string records = FileBytes(IndexPath()).substr(100);
    ASSERT_TRUE(IndexReadHeader(&store_));
    store_.unread_count = 1;

    /* The store's own index, opened without sharing, is used as it is. */
    ASSERT_TRUE(GroupStoreOpenIndex(&store_));
    ASSERT_TRUE(IndexWriteHeader(&store_, INVALID_HANDLE_VALUE));
    EXPECT_NE(store_.index_file, INVALID_HANDLE_VALUE);
    GroupStoreCloseIndex(&store_);
    HeaderFields h = ThreeHeader();
    h.unread = 1;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);

    /* A handle given is sought to 0, written and left open. */
    HANDLE file = CreateFileW(IndexPath().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                              nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    SetFilePointer(file, 150, nullptr, FILE_BEGIN);
    store_.unread_count = 0;
    ASSERT_TRUE(IndexWriteHeader(&store_, file));
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(file, "", 0, &written, nullptr)); /* still open */
    CloseHandle(file);
    h.unread = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);
}

TEST_F(IndexTest, ReadRecordsWithinTheRecordCount)
{
    std::vector<RecordFields> expected = ThreeRecords();
    WriteGroup(ThreeHeader(), expected);
    ASSERT_TRUE(IndexReadHeader(&store_));
    IndexRecord records[5];
    DWORD count = 5;
    ASSERT_TRUE(IndexReadRecords(&store_, records, 1, &count));
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(std::string((const char *)&records[0], 92), RecordBytes(expected[1]));
    EXPECT_EQ(std::string((const char *)&records[1], 92), RecordBytes(expected[2]));

    count = 1;
    EXPECT_FALSE(IndexReadRecords(&store_, records, 3, &count));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    EXPECT_EQ(count, 0u);

    /* A file that holds fewer records than its count. */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), FileBytes(IndexPath()).substr(0, 100 + 92 + 50)));
    count = 3;
    ASSERT_TRUE(IndexReadRecords(&store_, records, 0, &count));
    EXPECT_EQ(count, 1u);
}

TEST_F(IndexTest, WriteRecordAtItsNumberOrTheCurrentPosition)
{
    std::vector<RecordFields> expected = ThreeRecords();
    WriteGroup(ThreeHeader(), expected);
    ASSERT_TRUE(IndexReadHeader(&store_));
    IndexRecord record;
    DWORD count = 1;
    ASSERT_TRUE(IndexReadRecords(&store_, &record, 2, &count));
    record.flags = 5;
    ASSERT_TRUE(IndexWriteRecord(&store_, &record, 2));
    expected[2].flags = 5;
    std::string bytes = HeaderBytes(ThreeHeader());
    for (const RecordFields &r : expected)
        bytes += RecordBytes(r);
    EXPECT_EQ(FileBytes(IndexPath()), bytes);

    ASSERT_TRUE(GroupStoreOpenIndex(&store_));
    SetFilePointer(store_.index_file, 100, nullptr, FILE_BEGIN);
    ASSERT_TRUE(IndexWriteRecord(&store_, &record, 0xFFFFFFFFu));
    GroupStoreCloseIndex(&store_);
    EXPECT_EQ(FileBytes(IndexPath()).substr(100, 92), RecordBytes(expected[2]));
}

TEST_F(IndexTest, MarkAllReadSetsEveryReadBit)
{
    std::vector<RecordFields> records = ThreeRecords();
    records[2].flags = 4; /* high, unread */
    WriteGroup(ThreeHeader(), records);
    ASSERT_TRUE(IndexMarkAllRead(&store_));
    HeaderFields h = ThreeHeader();
    h.unread = 0;
    records[0].flags = 1;
    records[2].flags = 5;
    std::string bytes = HeaderBytes(h);
    for (const RecordFields &r : records)
        bytes += RecordBytes(r);
    EXPECT_EQ(FileBytes(IndexPath()), bytes);
    EXPECT_EQ(store_.unread_count, 0u);
}

TEST_F(IndexTest, MarkAllReadWithNoRecordsRewritesTheHeader)
{
    HeaderFields h;
    h.unread = 5; /* wrong, and put right */
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h)));
    ASSERT_TRUE(IndexMarkAllRead(&store_));
    h.unread = 0;
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h));
}

TEST_F(IndexTest, MarkAllReadFailureStillWritesTheHeader)
{
    HeaderFields h = ThreeHeader();
    h.record_count = 4; /* one more than the file holds */
    h.unread = 3;
    WriteGroup(h, ThreeRecords());
    std::string records = FileBytes(IndexPath()).substr(100);
    h.unread = 9;
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(h) + records));
    EXPECT_FALSE(IndexMarkAllRead(&store_));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_HANDLE_EOF);
    /* Nothing was marked: the unread count reached is the one read. */
    EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(h) + records);
}

TEST_F(IndexTest, RefilterRecomputesPrioritiesFromTheLog)
{
    std::vector<RecordFields> records = ThreeRecords();
    records[0].flags = 4;     /* was high */
    records[1].flags = 1 | 2; /* read, was low */
    HeaderFields h = ThreeHeader();
    h.high = 1;
    h.low = 1;
    WriteGroup(h, records);
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
    h.high = 1;
    h.low = 1;
    std::string bytes = HeaderBytes(h);
    for (const RecordFields &r : records)
        bytes += RecordBytes(r);
    EXPECT_EQ(FileBytes(IndexPath()), bytes);
}

TEST_F(IndexTest, RefilterReadsWhateverTheSubjectRangeHolds)
{
    /* A subject range that points at another article's subject (as after a
     * deletion) is matched by what is there. */
    std::vector<RecordFields> records = ThreeRecords();
    records[0].subject_offset = records[2].subject_offset;
    records[0].subject_length = 6;
    records[2].subject_offset = 1000000; /* beyond the log: the empty text */
    WriteGroup(ThreeHeader(), records);
    ASSERT_TRUE(WriteFileBytes(FilterPath(), "+ cherry\r\n"));
    ASSERT_TRUE(IndexReadHeader(&store_));
    ASSERT_TRUE(IndexRefilter(&store_));
    EXPECT_EQ(store_.high_count, 2u);
    std::string index = FileBytes(IndexPath());
    EXPECT_EQ(ReadU32(index, 100), 4u);
    EXPECT_EQ(ReadU32(index, 100 + 92), 1u);
    EXPECT_EQ(ReadU32(index, 100 + 184), 4u);
}

TEST_F(IndexTest, ProbeReadsTheVersionWord)
{
    DWORD version = 0;
    EXPECT_FALSE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);

    ASSERT_TRUE(WriteFileBytes(IndexPath(), U32(500)));
    ASSERT_TRUE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(version, 500u);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), U32(501)));
    ASSERT_TRUE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(version, 1u);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), "0\r\n\r\n0\r\n0\r\n"));
    ASSERT_TRUE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(version, 1u);
    ASSERT_TRUE(WriteFileBytes(IndexPath(), HeaderBytes(HeaderFields())));
    ASSERT_TRUE(IndexProbeVersion(&store_, &version));
    EXPECT_EQ(version, 5u);

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
