#include <gtest/gtest.h>
#include <windows.h>

#include "store/group_file.h"
#include "store/group_store.h"
#include "store_test_util.h"

TEST(GroupStore, NamesAreFolderPlusGroupPlusExtension)
{
    GroupStore store;
    GroupStoreInit(&store);
    EXPECT_EQ(store.index_file, INVALID_HANDLE_VALUE);
    EXPECT_EQ(store.log_file, INVALID_HANDLE_VALUE);
    store.last_fetched = 5;
    store.server_last = 6;
    store.unread_count = 7;
    store.record_count = 8;
    ASSERT_TRUE(GroupStoreSetNames(&store, L"C:\\news\\", L"fj.comp.misc"));
    EXPECT_STREQ(store.index_path, L"C:\\news\\fj.comp.misc.idx");
    EXPECT_STREQ(store.log_path, L"C:\\news\\fj.comp.misc.log");
    EXPECT_STREQ(store.filter_path, L"C:\\news\\fj.comp.misc.flt");
    /* Set names zeroes last fetched, server last and unread only. */
    EXPECT_EQ(store.last_fetched, 0u);
    EXPECT_EQ(store.server_last, 0u);
    EXPECT_EQ(store.unread_count, 0u);
    EXPECT_EQ(store.record_count, 8u);
    ASSERT_TRUE(GroupStoreSetNames(&store, L"D:\\", L"japan.日本語"));
    EXPECT_STREQ(store.log_path, L"D:\\japan.日本語.log");
    GroupStoreRelease(&store);
    EXPECT_EQ(store.index_path, nullptr);
}

TEST(GroupStore, NamesThatCannotBeFileNamesAreRefused)
{
    const wchar_t *refused[] = {
        L"", L"..", L"../evil", L"..\\evil", L"a..b", L".hidden", L"trailing.", L"a/b", L"a\\b", L"c:evil",
        L"a*b", L"a?b", L"a\"b", L"a<b", L"a>b", L"a|b", L"a b", L"a\tb", L"a\x7F", L"con", L"CON.test", L"nul.x",
        L"Aux", L"prn.a.b", L"com1", L"LPT9.foo", L"conin$",
    };
    GroupStore store;
    GroupStoreInit(&store);
    ASSERT_TRUE(GroupStoreSetNames(&store, L"C:\\news\\", L"fj.test"));
    for (const wchar_t *name : refused) {
        EXPECT_FALSE(IsValidGroupName(name)) << name;
        SetLastError(0);
        EXPECT_FALSE(GroupStoreSetNames(&store, L"C:\\news\\", name));
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_NAME);
        EXPECT_EQ(store.index_path, nullptr);
    }
    const wchar_t *accepted[] = {L"fj.comp.misc", L"japan.日本語", L"con2", L"console.x", L"comx", L"x.con",
                                 L"alt.binaries.c++", L"a-b_c+d", L"com10"};
    for (const wchar_t *name : accepted)
        EXPECT_TRUE(IsValidGroupName(name)) << name;
    EXPECT_FALSE(GroupStoreSetNames(&store, nullptr, L"fj.test"));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    GroupStoreRelease(&store);
}

TEST(GroupStore, ResetClearsTheHeaderValuesAndKeepsThePaths)
{
    GroupStore store;
    GroupStoreInit(&store);
    EXPECT_STREQ(GroupStoreStatusText(&store), L"");
    ASSERT_TRUE(GroupStoreSetNames(&store, L"C:\\news\\", L"fj.a"));
    ASSERT_TRUE(GroupStoreSetStatusText(&store, L"新規記事はありませんでした"));
    EXPECT_STREQ(GroupStoreStatusText(&store), L"新規記事はありませんでした");
    memset(&store.last_fetched, 0xAB, sizeof store.last_fetched);
    store.server_last = store.reserved = store.record_count = store.saved_position = 1;
    store.unread_count = store.high_count = store.low_count = 2;
    GroupStoreReset(&store);
    EXPECT_EQ(store.status_text, nullptr);
    EXPECT_EQ(store.last_fetched + store.server_last + store.reserved + store.record_count + store.saved_position +
                  store.unread_count + store.high_count + store.low_count,
              0u);
    EXPECT_STREQ(store.index_path, L"C:\\news\\fj.a.idx");
    GroupStoreRelease(&store);
}

TEST(GroupStore, OpenCreatesTheFileForThisStoreAlone)
{
    TempFolder folder;
    GroupStore store;
    GroupStoreInit(&store);
    EXPECT_FALSE(GroupStoreOpenIndex(&store));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    ASSERT_TRUE(GroupStoreSetNames(&store, folder.path().c_str(), L"fj.test"));
    ASSERT_TRUE(GroupStoreOpenIndex(&store));
    ASSERT_TRUE(GroupStoreOpenLog(&store));
    EXPECT_TRUE(FileExists(folder.file(L"fj.test.idx")));
    EXPECT_TRUE(FileExists(folder.file(L"fj.test.log")));
    EXPECT_FALSE(FileExists(folder.file(L"fj.test.flt")));
    HANDLE other = CreateFileW(folder.file(L"fj.test.idx").c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_EQ(other, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_SHARING_VIOLATION);
    GroupStoreCloseIndex(&store);
    GroupStoreCloseIndex(&store);
    /* Release closes the log as well. */
    GroupStoreRelease(&store);
    EXPECT_EQ(store.log_file, INVALID_HANDLE_VALUE);
    other = CreateFileW(folder.file(L"fj.test.log").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(other, INVALID_HANDLE_VALUE);
    CloseHandle(other);
}

namespace {

std::vector<std::wstring> Names(const std::wstring &folder, DWORD *ended_with)
{
    std::vector<std::wstring> names;
    GroupFileReader *reader = GroupFileOpen(folder.c_str());
    EXPECT_NE(reader, nullptr);
    if (!reader)
        return names;
    while (const wchar_t *name = GroupFileNext(reader))
        names.push_back(name);
    *ended_with = GetLastError();
    GroupFileClose(reader);
    return names;
}

} // namespace

TEST(GroupFile, SkipsCommentsAndShortLines)
{
    TempFolder folder;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"),
                               "# subscribed\r\nfj.comp.misc\r\n\r\nab\r\nx\r\n#x\r\njapan." SJIS_NIHONGO
                               "\r\nno.line.end"));
    DWORD ended = 0;
    EXPECT_EQ(Names(folder.path(), &ended),
              (std::vector<std::wstring>{L"fj.comp.misc", L"ab", L"x", L"japan.日本語", L"no.line.end"}));
    EXPECT_EQ(ended, (DWORD)ERROR_HANDLE_EOF);

    /* A folder given without its backslash is joined with one. */
    std::wstring bare = folder.path().substr(0, folder.path().size() - 1);
    EXPECT_EQ(Names(bare, &ended).size(), 5u);

    /* Two bytes at the end of the file are too short as well. */
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "fj.a\r\nab"));
    EXPECT_EQ(Names(folder.path(), &ended), (std::vector<std::wstring>{L"fj.a"}));
}

TEST(GroupFile, StopsAtAnOverLongLineAndReportsAMissingFile)
{
    TempFolder folder;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"),
                               "fj.a\r\n" + std::string(1022, 'g') + "\r\nfj.b\r\n"));
    DWORD ended = 0;
    EXPECT_EQ(Names(folder.path(), &ended), (std::vector<std::wstring>{L"fj.a"}));
    EXPECT_EQ(ended, (DWORD)ERROR_MORE_DATA);

    ASSERT_TRUE(DeleteFileW(folder.file(L"group.dat").c_str()));
    EXPECT_EQ(GroupFileOpen(folder.path().c_str()), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    GroupFileClose(nullptr);
}
