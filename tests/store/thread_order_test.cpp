/* The thread file beside a group's index: made from the log when it is
 * missing, damaged, short or stale, trusted where it agrees with the index,
 * and the rows the subject view gets from it. */
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "store/article_list.h"
#include "store/index_file.h"
#include "store/read_marks.h"
#include "store/thread_order.h"
#include "store_test_util.h"

namespace {

struct Post {
    const char *name, *references;
    uint32_t flags;
};

/* Heads with Message-ID, References and Date, as the log keeps them. */
GroupBytes Posts(const std::vector<Post> &posts)
{
    GroupBytes g;
    uint32_t day = 1;
    for (const Post &p : posts) {
        std::vector<std::string> head = {"Subject: " + std::string(p.name) + "\r\n",
                                         "Date: " + std::to_string(day++) + " Mar 2024 10:00:00 +0000\r\n",
                                         "Message-ID: <" + std::string(p.name) + "@x>\r\n"};
        if (p.references)
            head.push_back("References: " + std::string(p.references) + "\r\n");
        g.Add(head, {"body\r\n"}, RecordFields{p.flags, 10 + (uint32_t)g.records.size(), 0, 0, p.name, "0301", "x"});
    }
    return g;
}

class ThreadFileTest : public GroupFixture {
protected:
    void Write(const GroupBytes &g)
    {
        HeaderFields h;
        h.record_count = (uint32_t)g.records.size();
        ASSERT_TRUE(WriteFileBytes(IndexPath(), g.Index(h)));
        ASSERT_TRUE(WriteFileBytes(LogPath(), g.log));
    }
    /* Records taken from the log by a refresh. */
    DWORD Refresh()
    {
        DWORD made = 0xFFFFFFFF;
        EXPECT_TRUE(IndexReadHeader(&store_));
        EXPECT_TRUE(RefreshThreadFile(&store_, &made));
        return made;
    }
    /* The rows in thread order, "*" at a thread's start, dots for depth. */
    std::string Rows()
    {
        ArticleList *list = ArticleListCreate();
        EXPECT_TRUE(list && ArticleListOpen(list, folder_.path().c_str(), L"fj.test"));
        EXPECT_TRUE(ArticleListBuild(list, ListFilter{1, 1}, ThreadOrder, 50));
        std::string rows;
        for (DWORD i = 0; i < ArticleListRowsInPage(list); i++) {
            rows += rows.empty() ? "" : " ";
            rows += ArticleListRowStartsThread(list, i) ? "*" : "";
            rows += std::string(ArticleListRowDepth(list, i), '.') + ArticleListPageRecord(list, i)->subject;
        }
        ArticleListDestroy(list);
        return rows;
    }
    std::wstring ThreadPath() const { return folder_.file(L"fj.test.thr"); }

    std::vector<Post> posts_ = {{"a", nullptr, 1}, {"b", "<a@x>", 0}, {"c", "<a@x> <b@x>", 1}, {"d", nullptr, 0}};
};

} // namespace

TEST_F(ThreadFileTest, MadeFromTheLogWhereItDoesNotAgreeWithTheIndex)
{
    Write(Posts(posts_));
    const struct {
        const char *what;
        void (*damage)(const std::wstring &path, std::string &bytes);
        DWORD made;
    } cases[] = {
        {"missing", [](const std::wstring &path, std::string &) { DeleteFileW(path.c_str()); }, 4},
        {"as written: trusted", [](const std::wstring &, std::string &) {}, 0},
        {"another kind of file", [](const std::wstring &, std::string &b) { b[0] = 'X'; }, 4},
        {"cut inside a record", [](const std::wstring &, std::string &b) { b.resize(b.size() - 7); }, 4},
        {"a record naming another article", [](const std::wstring &, std::string &b) { b[32 + 2 * 40] ^= 1; }, 4},
        {"a changed key", [](const std::wstring &, std::string &b) { b[32 + 3 * 40 + 9] ^= 1; }, 4},
        {"a record more, counted", [](const std::wstring &, std::string &b) {
             b += b.substr(32, 40);
             b[8]++;
         }, 4},
        {"made for another index", [](const std::wstring &, std::string &b) { b[16] ^= 1; }, 0},
    };
    EXPECT_EQ(Refresh(), 4u);
    const std::string good = FileBytes(ThreadPath());
    ASSERT_EQ(good.size(), 32u + 4 * 40);
    EXPECT_EQ(good.substr(0, 16), std::string("PTHR\1\0\0\0\4\0\0\0\0\0\0\0", 16));
    for (const auto &c : cases) {
        std::string bytes = good;
        c.damage(ThreadPath(), bytes);
        if (FileExists(ThreadPath())) {
            ASSERT_TRUE(WriteFileBytes(ThreadPath(), bytes));
        }
        EXPECT_EQ(Refresh(), c.made) << c.what;
        EXPECT_EQ(FileBytes(ThreadPath()), good) << c.what;
    }
    EXPECT_EQ(Rows(), "*a .b ..c *d");
}

TEST_F(ThreadFileTest, FollowsDownloadsAndDeletions)
{
    GroupBytes g = Posts(posts_);
    Write(g);
    EXPECT_EQ(Rows(), "*a .b ..c *d");
    /* Two more articles downloaded: only they are read from the log. */
    posts_.push_back({"e", "<d@x>", 0});
    posts_.push_back({"f", "<a@x> <c@x>", 0});
    Write(Posts(posts_));
    EXPECT_EQ(Refresh(), 2u);
    EXPECT_EQ(Rows(), "*a .b ..c ...f *d .e");
    /* The read ones deleted (a and c): from the first of them on, the
     * records moved; replies of the deleted gather under them. */
    ASSERT_TRUE(DeleteReadArticles(&store_));
    EXPECT_EQ(Refresh(), 4u);
    EXPECT_EQ(Rows(), "*.b .f *d .e");
}
