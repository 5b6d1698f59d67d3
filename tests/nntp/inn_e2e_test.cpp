/*
 * End to end against a real INN 2.7 (tools/inn/e2e.sh, a CTest fixture):
 * the corpus of Japanese articles is downloaded into a data folder and the
 * logs and indexes are compared byte for byte with the bytes the corpus
 * script built from the documented formats.
 */
#include <gtest/gtest.h>
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "session_fixture.h"
#include "subscribe/group_list.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

std::wstring InnFolder()
{
    return WinePathOf(PELNOR_BUILD_DIR "/inn-e2e");
}

struct InnServer {
    int open_port = 0;
    int auth_port = 0;
    std::vector<std::wstring> groups;

    InnServer()
    {
        std::istringstream ports(FileBytes(InnFolder() + L"\\ports"));
        ports >> open_port >> auth_port;
        std::istringstream names(FileBytes(InnFolder() + L"\\expected\\groups.txt"));
        std::string name;
        while (std::getline(names, name))
            if (!name.empty())
                groups.push_back(std::wstring(name.begin(), name.end()));
    }
    std::string Expected(const std::wstring &group, const wchar_t *extension) const
    {
        return FileBytes(InnFolder() + L"\\expected\\" + group + extension);
    }
};

/* A data folder whose groups have new (version 5, all zero) indexes, as the
 * data-folder start-up leaves them for newly subscribed groups. */
void WriteNewIndexes(const TempFolder &data, const std::vector<std::wstring> &groups)
{
    std::string header(100, '\0');
    header[0] = 5;
    for (const std::wstring &group : groups)
        ASSERT_TRUE(WriteFileBytes(data.file(group + L".idx"), header));
}

/* The index header's status text (64 bytes at offset 24) up to its NUL. */
std::string StatusOf(const std::string &index)
{
    return index.size() < 88 ? std::string() : std::string(index.c_str() + 24);
}

void DownloadCorpus(const char *user, const char *password, bool with_auth)
{
    InnServer inn;
    ASSERT_NE(inn.open_port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    ASSERT_EQ(inn.groups.size(), 3u);
    TempFolder data;
    WriteNewIndexes(data, inn.groups);

    DWORD started = GetTickCount();
    SessionRun run = RunScriptedSession(with_auth ? inn.auth_port : inn.open_port, inn.groups, user, password,
                                        data.path(), 1000);
    DWORD elapsed = GetTickCount() - started;
    EXPECT_EQ(run.ok, 1) << run.error;
    EXPECT_EQ(run.result.severity, 0u);
    size_t articles = 0;
    for (const std::wstring &group : inn.groups) {
        std::string expected_log = inn.Expected(group, L".log");
        std::string expected_index = inn.Expected(group, L".idx");
        ASSERT_FALSE(expected_log.empty());
        EXPECT_TRUE(FileBytes(data.file(group + L".log")) == expected_log) << std::string(group.begin(), group.end());
        EXPECT_TRUE(FileBytes(data.file(group + L".idx")) == expected_index);
        articles += (expected_index.size() - 100) / 92;
    }
    EXPECT_GE(articles, 200u);
    printf("downloaded %u articles in %lu ms\n", (unsigned)articles, (unsigned long)elapsed);

    /* A second run finds nothing new and says so in every index. */
    run = RunScriptedSession(with_auth ? inn.auth_port : inn.open_port, inn.groups, user, password, data.path(),
                             1000);
    EXPECT_EQ(run.ok, 1);
    for (const std::wstring &group : inn.groups) {
        EXPECT_EQ(StatusOf(FileBytes(data.file(group + L".idx"))), "\x90\x56\x8b\x4b\x8b\x4c\x8e\x96\x82\xcd"
                                                                   "\x82\xa0\x82\xe8\x82\xdc\x82\xb9\x82\xf1"
                                                                   "\x82\xc5\x82\xb5\x82\xbd");
        EXPECT_TRUE(FileBytes(data.file(group + L".log")) == inn.Expected(group, L".log"));
    }
}

} // namespace

/* The corpus's subjects and senders are encoded words: these two run once
 * the header lines are decoded (the decoder comes with text/). */
TEST(InnEndToEnd, DownloadsTheCorpusWithoutAuthentication)
{
    DownloadCorpus(nullptr, nullptr, false);
}

TEST(InnEndToEnd, DownloadsTheCorpusWithAuthentication)
{
    DownloadCorpus("pelnor", "e2e-secret", true);
}

TEST(InnEndToEnd, AuthenticationRefusalsFromINN)
{
    InnServer inn;
    ASSERT_NE(inn.auth_port, 0);
    TempFolder data;
    WriteNewIndexes(data, inn.groups);
    SessionRun run = RunScriptedSession(inn.auth_port, inn.groups, "pelnor", "wrong", data.path());
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"パスワードが不正です");
    EXPECT_EQ(std::wstring(run.result.text).substr(0, 4), L"481 ");

    /* Without logging in every group is refused, and the run goes on. */
    run = RunScriptedSession(inn.auth_port, inn.groups, nullptr, nullptr, data.path());
    EXPECT_EQ(run.ok, 1);
    EXPECT_EQ(run.result.severity, 1u);
    const std::wstring refused = L"グループへ移動できませんでした : 480 ";
    EXPECT_EQ(std::wstring(run.result.text).substr(0, refused.size()), refused);
}

TEST(InnEndToEnd, GroupListWithAndWithoutAuthentication)
{
    InnServer inn;
    ASSERT_NE(inn.open_port, 0);
    for (bool with_auth : {false, true}) {
        TempFolder data;
        ModalWatcher watcher;
        RunGroupListDownload(GetModuleHandleW(nullptr), nullptr, data.file(L"active.dat").c_str(),
                             data.file(L"category.dat").c_str(), L"127.0.0.1",
                             (DWORD)(with_auth ? inn.auth_port : inn.open_port), with_auth ? "pelnor" : nullptr,
                             with_auth ? "e2e-secret" : nullptr);
        /* nnrpd passes over the empty line after each authinfo command. */
        EXPECT_TRUE(watcher.boxes().empty()) << (watcher.boxes().empty() ? "" : "box shown");
        std::istringstream active(FileBytes(data.file(L"active.dat")));
        std::vector<std::string> names;
        std::string expected_categories, line;
        while (std::getline(active, line)) {
            ASSERT_FALSE(line.empty());
            ASSERT_EQ(line.back(), '\r');
            line.pop_back();
            names.push_back(line);
            std::string category = line.substr(0, line.find('.')) + "\r\n";
            if (("\n" + expected_categories).find("\n" + category) == std::string::npos)
                expected_categories += category;
        }
        for (const char *name : {"control", "control.cancel", "junk", "fj.test.pelnor", "fj.comp.pelnor.misc",
                                 "japan.test.pelnor"})
            EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
        EXPECT_EQ(names.size(), 6u);
        EXPECT_EQ(FileBytes(data.file(L"category.dat")), expected_categories);
    }
}
