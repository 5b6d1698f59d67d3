/* Threads from Message-ID and References. No windows.h: shared with the
 * native build. Each row is a few articles as their headers say, and the
 * rows they come out as: "*" where a thread begins, a dot a level. */
#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include "store/thread_tree.h"

namespace {

struct Article {
    const char *name; /* its Message-ID is "<name@x>" */
    const char *references;
    uint32_t date;
    unsigned char run;
};

std::string Id(const char *name)
{
    return std::string("<") + name + "@x>";
}

std::string Rows(const std::vector<Article> &articles, unsigned char most_depth = 127)
{
    std::vector<ThreadKeys> keys(articles.size());
    std::vector<unsigned char> runs;
    for (size_t i = 0; i < articles.size(); i++) {
        std::string id = Id(articles[i].name);
        /* The article's own date goes through the parser's plain path. */
        MakeThreadKeys(id.data(), id.size(), articles[i].references, articles[i].references ? strlen(articles[i].references) : 0,
                       nullptr, 0, &keys[i]);
        keys[i].date = articles[i].date;
        runs.push_back(articles[i].run);
    }
    std::vector<uint32_t> order(articles.size());
    std::vector<unsigned char> depths(articles.size());
    EXPECT_EQ(OrderThreads(keys.data(), runs.data(), (uint32_t)articles.size(), order.data(), depths.data(),
                           most_depth, 0x80),
              1);
    std::string rows;
    for (size_t i = 0; i < order.size(); i++) {
        rows += rows.empty() ? "" : " ";
        rows += depths[i] & 0x80 ? "*" : "";
        rows += std::string(depths[i] & 0x7F, '.') + articles[order[i]].name;
    }
    return rows;
}

TEST(ThreadTree, ArticlesComeOutAsThreads)
{
    const struct {
        const char *what;
        std::vector<Article> articles;
        const char *rows;
    } cases[] = {
        {"replies under their parents, by date", {{"a", nullptr, 1, 1}, {"b", "<a@x>", 5, 1}, {"c", "<a@x> <b@x>", 6, 1},
                                                   {"d", "<a@x>", 3, 1}, {"e", nullptr, 2, 1}},
         "*a .d .b ..c *e"},
        {"a missing first article gathers its replies under it",
         {{"x", "<m@x>", 2, 1}, {"y", "<m@x>", 1, 1}, {"z", "<m@x> <x@x>", 3, 1}, {"w", "<n@x>", 4, 1}},
         "*.y .x ..z *.w"},
        {"a missing parent: under the first article named", {{"a", nullptr, 1, 1}, {"c", "<a@x> <b@x>", 2, 1}},
         "*a .c"},
        {"a cycle is cut", {{"a", "<b@x>", 1, 1}, {"b", "<a@x>", 2, 1}}, "*a .b"},
        {"a duplicate id: replies go to the first", {{"a", nullptr, 1, 1}, {"a", nullptr, 3, 1}, {"b", "<a@x>", 2, 1}},
         "*a .b *a"},
        {"a References that names the article itself", {{"a", "<a@x>", 1, 1}, {"b", "<b@x> <a@x>", 2, 1}},
         "*a .b"},
        {"a thread ranks as its best article: high, normal, low",
         {{"a", nullptr, 1, 1}, {"b", "<a@x>", 2, 2}, {"c", nullptr, 3, 0}, {"d", nullptr, 4, 2}, {"e", "<d@x>", 5, 2}},
         "*c *a .b *d .e"},
        {"an empty References and no id at all", {{"a", "", 1, 1}, {"", "", 2, 1}}, "*a *"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Rows(c.articles), c.rows) << c.what;
}

TEST(ThreadTree, DeepChainIsWalkedWithoutRecursionAndCappedInDepth)
{
    std::vector<std::string> names, references;
    for (int i = 0; i < 2000; i++) {
        names.push_back("n" + std::to_string(i));
        references.push_back(i ? references[i - 1] + " " + Id(names[i - 1].c_str()) : "");
    }
    std::vector<Article> chain;
    for (int i = 1999; i >= 0; i--) /* stored newest first */
        chain.push_back({names[i].c_str(), references[i].c_str(), (uint32_t)i + 1, 1});
    std::string rows = Rows(chain, 127);
    EXPECT_EQ(rows.substr(0, 12), "*n0 .n1 ..n2");
    EXPECT_EQ(rows.substr(rows.size() - 132), std::string(127, '.') + "n1999");
}

TEST(ThreadTree, DatesReadAsSecondsSince1970)
{
    const struct {
        const char *text;
        uint32_t seconds;
    } cases[] = {
        {"Thu, 26 Nov 2026 01:02:03 +0900", 1795622523u},
        {"5 Jan 99 10:00 GMT", 915530400u},
        {"Thu, 29 feb 2024 23:59:00 -0500 (EST)", 1709269140u},
        {"yesterday", 0},
        {"32 Jan 2024 10:00", 0},
        {"", 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(ParseArticleDate(c.text, strlen(c.text)), c.seconds) << c.text;
}

} // namespace
