/* End to end against a real INN (tools/inn/e2e.sh): the downloaded logs and
 * indexes against the bytes the corpus script built from the file layouts. */
#include <gtest/gtest.h>
#include <windows.h>

#include <sstream>
#include <string>
#include <vector>

#include "session_fixture.h"
#include "support/temp_folder.h"

namespace {

struct InnServer {
    std::wstring folder = WinePathOf(PELNOR_BUILD_DIR "/inn-e2e");
    int open_port = 0, auth_port = 0;
    std::vector<std::wstring> groups;
    TempFolder data;

    /* The groups with new (version 5, all zero) indexes in the data folder. */
    InnServer()
    {
        std::istringstream ports(FileBytes(folder + L"\\ports"));
        ports >> open_port >> auth_port;
        std::istringstream names(FileBytes(folder + L"\\expected\\groups.txt"));
        std::string header(100, '\0'), name;
        header[0] = 5;
        while (std::getline(names, name) && !name.empty()) {
            groups.push_back(std::wstring(name.begin(), name.end()));
            WriteFileBytes(data.file(groups.back() + L".idx"), header);
        }
    }
    /* Every group's log and index one after another, as downloaded into
     * the data folder or as the corpus script built them. */
    std::string Files(bool expected)
    {
        std::string bytes;
        for (const std::wstring &group : groups)
            for (const wchar_t *extension : {L".log", L".idx"})
                bytes += FileBytes((expected ? folder + L"\\expected\\" : data.path()) + group + extension) + "\n--\n";
        return bytes;
    }
};

} // namespace

TEST(InnEndToEnd, DownloadsTheCorpusWithAuthentication)
{
    InnServer inn;
    ASSERT_NE(inn.auth_port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    SessionRun run = RunScriptedSession(TestServer(inn.auth_port, "pelnor", "e2e-secret"), inn.groups, inn.data.path(), 1000);
    EXPECT_EQ(run.ok, 1) << run.error;
    EXPECT_EQ(run.result.severity, 0u);
    EXPECT_TRUE(inn.Files(false) == inn.Files(true));
}

TEST(InnEndToEnd, AuthenticationRefusalsFromINN)
{
    InnServer inn;
    ASSERT_NE(inn.auth_port, 0);
    SessionRun run = RunScriptedSession(TestServer(inn.auth_port, "pelnor", "wrong"), inn.groups, inn.data.path());
    EXPECT_EQ(run.ok, 0);
    EXPECT_STREQ(run.result.title, L"パスワードが不正です");
    EXPECT_EQ(std::wstring(run.result.text).substr(0, 4), L"481 ");

    /* Without logging in every group is refused, and the run goes on. */
    run = RunScriptedSession(TestServer(inn.auth_port), inn.groups, inn.data.path());
    EXPECT_EQ(run.ok, 1);
    EXPECT_EQ(run.result.severity, 1u);
    const std::wstring refused = L"グループへ移動できませんでした : 480 ";
    EXPECT_EQ(std::wstring(run.result.text).substr(0, refused.size()), refused);
}

/* The window changes nothing on disk: depth 1 and the default depth store
 * the same bytes with a limit below, at and above a group's article count;
 * above it, the whole corpus. */
TEST(InnEndToEnd, DefaultDepthStoresTheBytesOfDepthOne)
{
    InnServer inn;
    ASSERT_NE(inn.open_port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    ASSERT_EQ(inn.groups.size(), 3u);
    std::string first_index = FileBytes(inn.folder + L"\\expected\\" + inn.groups[0] + L".idx");
    ASSERT_GE(first_index.size(), 20u);
    DWORD group_size = *(const DWORD *)(first_index.data() + 16);
    for (DWORD limit : {group_size / 3, group_size, (DWORD)1000}) {
        std::string files[2];
        DWORD depths[2] = {1, kDefaultPipelineDepth};
        for (int i = 0; i < 2; i++) {
            InnServer fresh;
            SessionRun run = RunScriptedSession(TestServer(fresh.open_port, nullptr, nullptr, depths[i]), fresh.groups,
                                                fresh.data.path(), limit);
            EXPECT_EQ(run.ok, 1) << limit;
            EXPECT_EQ(run.result.severity, 0u);
            files[i] = fresh.Files(false);
        }
        EXPECT_GT(files[0].size(), 1000u);
        EXPECT_TRUE(files[0] == files[1]) << "limit " << limit;
        if (limit == 1000) {
            EXPECT_TRUE(files[0] == inn.Files(true));
        }
    }
}
