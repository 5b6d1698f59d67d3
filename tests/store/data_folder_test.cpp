#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "store/data_folder.h"
#include "store_test_util.h"
#include "support/gui_helper.h"

namespace {

const std::string kArticle = ArticleBytes({"Subject: hi\r\n", "From: a@b\r\n"}, 5, {"x\r\n"});

std::string OneRecord()
{
    RecordFields r;
    r.number = 5;
    r.length = (uint32_t)kArticle.size();
    r.subject = "hi";
    r.from = "a@b";
    r.subject_offset = 9;
    r.subject_length = 2;
    return RecordBytes(r);
}

HeaderFields Counts(uint32_t records)
{
    HeaderFields h;
    h.record_count = records;
    h.unread = records;
    return h;
}

} // namespace

TEST(DataFolder, FreshFolderGetsDraftsAndThreeEmptyFiles)
{
    TempFolder folder;
    ModalWatcher boxes;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str()));
    EXPECT_TRUE(FolderExists(folder.file(L"draft")));
    for (const wchar_t *name : {L"active.dat", L"category.dat", L"group.dat"}) {
        EXPECT_TRUE(FileExists(folder.file(name))) << name;
        EXPECT_EQ(FileBytes(folder.file(name)), "");
    }
    /* A second start finds everything in place. */
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "# none yet\r\n"));
    ASSERT_TRUE(StartDataFolder(folder.path().c_str()));
    EXPECT_EQ(FileBytes(folder.file(L"group.dat")), "# none yet\r\n");
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(DataFolder, BackupsAreRemovedFromTheDraftFolderOnly)
{
    TempFolder folder;
    ASSERT_TRUE(CreateDirectoryW(folder.file(L"draft").c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"draft\\one.bak"), "1"));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"draft\\two.BAK"), "2"));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"draft\\keep.txt"), "3"));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"draft\\keep.bakup"), "5"));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"outside.bak"), "4"));
    ASSERT_TRUE(StartDataFolder(folder.path().c_str()));
    EXPECT_FALSE(FileExists(folder.file(L"draft\\one.bak")));
    EXPECT_FALSE(FileExists(folder.file(L"draft\\two.BAK")));
    EXPECT_TRUE(FileExists(folder.file(L"draft\\keep.txt")));
    EXPECT_TRUE(FileExists(folder.file(L"draft\\keep.bakup")));
    EXPECT_TRUE(FileExists(folder.file(L"outside.bak")));
}

TEST(DataFolder, EverySubscribedGroupGetsACurrentIndex)
{
    TempFolder folder;
    /* fj.new: neither file; fj.log: a log only; fj.old: a version 2 index
     * with its log; fj.ok: a current index, left alone. */
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "# mine\r\nfj.new\r\n\r\nfj.log\r\nfj.old\r\nfj.ok\r\n"));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.log.log"), kArticle));
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.old.log"), kArticle));
    std::string v2 = U32(2) + U32(5) + U32(9) + U32(0) + U32(1) + U32(0) + Padded("", 64) + U32(0) + U32(5) +
                     U32(0) + U32((uint32_t)kArticle.size()) + Padded("", 48);
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.old.idx"), v2));
    HeaderFields ok = Counts(0);
    ok.last_fetched = 3;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.ok.idx"), HeaderBytes(ok)));

    ModalWatcher boxes;
    ASSERT_TRUE(StartDataFolder(folder.path().c_str()));
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(FileBytes(folder.file(L"fj.new.idx")), HeaderBytes(Counts(0)));
    EXPECT_FALSE(FileExists(folder.file(L"fj.new.log")));
    EXPECT_EQ(FileBytes(folder.file(L"fj.log.idx")), HeaderBytes(Counts(1)) + OneRecord());
    HeaderFields converted = Counts(1);
    converted.last_fetched = 5;
    converted.server_last = 9;
    EXPECT_EQ(FileBytes(folder.file(L"fj.old.idx")), HeaderBytes(converted) + OneRecord());
    EXPECT_EQ(FileBytes(folder.file(L"fj.ok.idx")), HeaderBytes(ok));
    EXPECT_FALSE(FileExists(folder.file(L"fj.old.idx~")));
}

TEST(DataFolder, UnknownIndexVersionIsShownAndStopsTheStart)
{
    TempFolder folder;
    ASSERT_TRUE(WriteFileBytes(folder.file(L"group.dat"), "fj.first\r\nfj.bad\r\nfj.after\r\n"));
    std::string bad = U32(9) + std::string(96, '\0');
    ASSERT_TRUE(WriteFileBytes(folder.file(L"fj.bad.idx"), bad));
    ModalWatcher boxes;
    SetLastError(0);
    EXPECT_FALSE(StartDataFolder(folder.path().c_str()));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_DATA);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(boxes.boxes()[0].text, L"インデックスが不正です。");
    EXPECT_EQ(boxes.boxes()[0].icon, (UINT)MB_ICONEXCLAMATION);
    EXPECT_FALSE(boxes.boxes()[0].has_owner);
    /* Groups before it were done, the bad one kept, those after not reached. */
    EXPECT_TRUE(FileExists(folder.file(L"fj.first.idx")));
    EXPECT_EQ(FileBytes(folder.file(L"fj.bad.idx")), bad);
    EXPECT_FALSE(FileExists(folder.file(L"fj.after.idx")));
}

TEST(DataFolder, GroupNameThatWouldLeaveTheFolderIsRefused)
{
    TempFolder outer;
    std::wstring inner = outer.file(L"data\\");
    ASSERT_TRUE(CreateDirectoryW(inner.c_str(), nullptr));
    ASSERT_TRUE(WriteFileBytes(inner + L"group.dat", "fj.fine\r\n..\\evil\r\nfj.later\r\n"));
    ModalWatcher boxes;
    SetLastError(0);
    EXPECT_FALSE(StartDataFolder(inner.c_str()));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_NAME);
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_TRUE(FileExists(inner + L"fj.fine.idx"));
    EXPECT_FALSE(FileExists(outer.file(L"evil.idx")));
    EXPECT_FALSE(FileExists(inner + L"fj.later.idx"));
}
