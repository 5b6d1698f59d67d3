/* Draft files: what a hand-written file reads as, how the header is
 * changed, and the names a move gives. */
#include <gtest/gtest.h>
#include <windows.h>

#include <stdlib.h>

#include <string>

#include "store/draft_file.h"
#include "support/temp_folder.h"

namespace {

TEST(DraftFile, ReadsHeadAndBodyOfAnyLineEnd)
{
    struct Row {
        const char *name;
        std::string bytes, head, body, written;
    } rows[] = {
        {"CR LF", "Subject: a\r\nNewsgroups: fj.test\r\n\r\nbody\r\n", "Subject: a\r\nNewsgroups: fj.test\r\n",
         "body\r\n", "Subject: a\r\nNewsgroups: fj.test\r\n\r\nbody\r\n"},
        {"LF alone, as an editor may leave it", "Subject: a\n\nline 1\nline 2\n", "Subject: a\r\n",
         "line 1\nline 2\n", "Subject: a\r\n\r\nline 1\r\nline 2\r\n"},
        {"folded lines joined by one blank", "References: <1@x>\r\n\t <2@x>\r\n  <3@x>\r\nSubject: b\r\n\r\n",
         "References: <1@x> <2@x> <3@x>\r\nSubject: b\r\n", "",
         "References: <1@x> <2@x> <3@x>\r\nSubject: b\r\n\r\n"},
        {"no empty line: all head", "Subject: c\r\nNewsgroups: fj.test", "Subject: c\r\nNewsgroups: fj.test\r\n", "",
         "Subject: c\r\nNewsgroups: fj.test\r\n\r\n"},
        {"empty file", "", "", "", "\r\n"},
    };
    TempFolder folder;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(WriteFileBytes(folder.file(L"d.txt"), row.bytes));
        Draft draft;
        ASSERT_EQ(ReadDraft(folder.file(L"d.txt").c_str(), &draft), 1);
        EXPECT_EQ(std::string(draft.head, draft.head_length), row.head);
        EXPECT_EQ(std::string(draft.body, draft.body_length), row.body);
        /* Written back: head, empty line, body, every line end CR LF. */
        ASSERT_EQ(WriteDraft(folder.file(L"w.txt").c_str(), &draft), 1);
        EXPECT_EQ(FileBytes(folder.file(L"w.txt")), row.written);
        DraftFree(&draft);
    }
}

TEST(DraftFile, HeaderValuesAreSetAndFound)
{
    Draft draft;
    DraftInit(&draft);
    ASSERT_EQ(DraftSetHeader(&draft, "Subject", "first"), 1);
    ASSERT_EQ(DraftSetHeader(&draft, "Newsgroups", "fj.test"), 1);
    ASSERT_EQ(DraftSetHeader(&draft, "subject", "second"), 1); /* the name in any case */
    EXPECT_EQ(std::string(draft.head), "subject: second\r\nNewsgroups: fj.test\r\n");
    char *value = DraftHeaderValue(&draft, "SUBJECT");
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value, "second");
    free(value);
    ASSERT_EQ(DraftSetHeader(&draft, "Subject", ""), 1);
    EXPECT_EQ(std::string(draft.head), "Newsgroups: fj.test\r\n");
    EXPECT_EQ(DraftHeaderValue(&draft, "Subject"), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_NOT_FOUND);
    DraftFree(&draft);
}

TEST(DraftFile, MovesRenameByTheFoldersLetter)
{
    struct Row {
        const wchar_t *from;
        DraftRoot to;
        const wchar_t *existing; /* a file already there, or null */
        const wchar_t *moved;
    } rows[] = {
        {L"o1.txt", kDraftsSent, nullptr, L"s1.txt"},
        {L"s1.txt", kDraftsDrafts, nullptr, L"d1.txt"},
        {L"note.txt", kDraftsWaiting, nullptr, L"onote.txt"}, /* a hand-made name keeps its letter */
        {L"onote.txt", kDraftsDrafts, nullptr, L"dnote.txt"},
        {L"o1.txt", kDraftsSent, L"s1.txt", L"s1-2.txt"},
        {L"o1.txt", kDraftsWaiting, nullptr, L"o1.txt"},
    };
    for (const Row &row : rows) {
        TempFolder folder;
        ASSERT_TRUE(WriteFileBytes(folder.file(row.from), "Subject: x\r\n\r\n"));
        if (row.existing) {
            ASSERT_TRUE(WriteFileBytes(folder.file(row.existing), "other"));
        }
        wchar_t *moved = MoveDraft(folder.file(row.from).c_str(), row.to);
        ASSERT_NE(moved, nullptr);
        EXPECT_EQ(std::wstring(moved), folder.file(row.moved)) << row.from;
        EXPECT_EQ(FileBytes(moved), "Subject: x\r\n\r\n");
        if (row.existing) {
            EXPECT_EQ(FileBytes(folder.file(row.existing)), "other");
        }
        free(moved);
    }
    /* New names are free in every folder. */
    TempFolder folder;
    wchar_t *first = NewDraftPath(folder.path().c_str(), kDraftsWaiting);
    ASSERT_NE(first, nullptr);
    std::wstring name = std::wstring(first).substr(folder.path().size());
    EXPECT_EQ(name[0], L'o');
    ASSERT_TRUE(WriteFileBytes(folder.path() + L"s" + name.substr(1), "sent"));
    wchar_t *second = NewDraftPath(folder.path().c_str(), kDraftsDrafts);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(std::wstring(second).substr(folder.path().size() + 1), name.substr(1));
    free(first);
    free(second);
}

} // namespace
