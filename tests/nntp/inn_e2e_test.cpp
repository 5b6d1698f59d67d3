/* End to end against a real INN (tools/inn/e2e.sh): the downloaded logs and
 * indexes against the bytes the corpus script built from the file layouts. */
#include <gtest/gtest.h>
#include <windows.h>

#include <map>
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
    std::map<std::string, int> tls_ports; /* reader name -> port */
    InnServer()
    {
        std::istringstream ports(FileBytes(folder + L"\\ports"));
        ports >> open_port >> auth_port;
        std::istringstream tls(FileBytes(folder + L"\\tls-ports"));
        std::string name;
        int port;
        while (tls >> name >> port)
            tls_ports[name] = port;
        std::istringstream names(FileBytes(folder + L"\\expected\\groups.txt"));
        std::string header(100, '\0');
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

namespace {

/* The SHA-256 of a test certificate, from the fingerprints inn.sh wrote. */
bool CertificateFingerprint(const std::wstring &folder, const std::string &name, unsigned char *out)
{
    std::istringstream lines(FileBytes(folder + L"\\tls\\sha256"));
    std::string cert, hex;
    while (lines >> cert >> hex) {
        if (cert != name || hex.size() != 2 * kFingerprintBytes)
            continue;
        for (int i = 0; i < kFingerprintBytes; i++)
            out[i] = (unsigned char)strtol(hex.substr(2 * i, 2).c_str(), nullptr, 16);
        return true;
    }
    return false;
}

struct Questions {
    int answer = 0;
    std::vector<NntpCertificate> asked;
};

int Answer(void *context, const NntpCertificate *certificate)
{
    Questions *q = (Questions *)context;
    q->asked.push_back(*certificate);
    return q->answer;
}

} // namespace

/* Every secure link the user can set against INN: what a good link stores
 * is the corpus byte for byte, compressed or not; a certificate that fails
 * a check is put to the user with what is wrong, and unless trusted the run
 * ends with nothing stored; a pinned certificate goes through without a
 * question, a changed one is asked about again; a password is never sent
 * before the link is encrypted. */
TEST(InnEndToEnd, SecureLinks)
{
    InnServer inn;
    ASSERT_EQ(inn.tls_ports.size(), 6u) << "INN fixture (tools/inn/e2e.sh) has no TLS readers";
    const wchar_t *refused = L"サーバの証明書を信頼しなかったので接続を中止しました。取得済みの記事は変わりません。";
    struct Case {
        const char *name;
        const char *reader;
        DWORD mode;
        const char *host;
        bool login;
        bool compress;
        const char *pinned; /* the certificate whose fingerprint is pinned, or none */
        int answer;         /* the user's, when asked */
        DWORD problems;     /* what the question says; 0: no question */
        const wchar_t *text; /* the run's failure, or null for the corpus stored */
        bool with_ca = true; /* the test CA in CaFile; else the system's roots alone */
    } cases[] = {
        {"implicit TLS", "implicit", kTlsImplicit, "localhost", true, false, nullptr, 0, 0, nullptr},
        {"implicit TLS, compressed", "implicit", kTlsImplicit, "localhost", true, true, nullptr, 0, 0, nullptr},
        {"implicit TLS by address", "implicit", kTlsImplicit, "127.0.0.1", true, true, nullptr, 0, 0, nullptr},
        {"STARTTLS", "starttls", kTlsStartTls, "localhost", true, true, nullptr, 0, 0, nullptr},
        {"STARTTLS, pinned", "starttls", kTlsStartTls, "localhost", true, false, "good", 0, 0, nullptr},
        {"login in the clear", "starttls", kTlsNone, "localhost", true, false, nullptr, 0, 0,
         L"このサーバは暗号化した接続でしかログインできません。設定の[暗号化]を TLS か STARTTLS にしてください。\r\n483 "},
        {"self-signed", "selfsigned", kTlsImplicit, "localhost", false, false, nullptr, 0, kCertificateUntrusted,
         refused},
        {"another host's", "wronghost", kTlsImplicit, "localhost", false, false, nullptr, 0, kCertificateWrongHost,
         refused},
        {"expired", "expired", kTlsImplicit, "localhost", false, false, nullptr, 0, kCertificateExpired, refused},
        {"pinned one changed", "good2", kTlsImplicit, "localhost", false, false, "good", 0, kCertificatePinChanged,
         refused},
        {"self-signed, trusted", "selfsigned", kTlsImplicit, "localhost", false, true, nullptr, 1,
         kCertificateUntrusted, nullptr},
        {"self-signed, pinned", "selfsigned", kTlsImplicit, "localhost", false, true, "selfsigned", 0, 0, nullptr},
        {"the system's roots alone", "implicit", kTlsImplicit, "localhost", true, false, nullptr, 0,
         kCertificateUntrusted, refused, false},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        InnServer fresh;
        NntpServer server = TestServer(fresh.tls_ports[c.reader], c.login ? "pelnor" : nullptr,
                                       c.login ? "e2e-secret" : nullptr);
        strcpy(server.host, c.host);
        server.tls_mode = c.mode;
        server.compress = c.compress;
        if (c.with_ca)
            wcscpy(server.ca_file, (fresh.folder + L"\\tls\\ca.pem").c_str());
        if (c.pinned) {
            ASSERT_TRUE(CertificateFingerprint(fresh.folder, c.pinned, server.pin));
            server.has_pin = true;
        }
        Questions questions;
        questions.answer = c.answer;
        NntpTrust trust = {&questions, Answer};
        const std::string before = fresh.Files(false);
        SessionRun run = RunScriptedSession(server, fresh.groups, fresh.data.path(), 1000, kNoStop, &trust);

        ASSERT_EQ(questions.asked.size(), c.problems ? 1u : 0u)
            << (questions.asked.empty() ? 0 : questions.asked[0].problems);
        if (c.problems) {
            const NntpCertificate &asked = questions.asked[0];
            EXPECT_EQ(asked.problems, c.problems);
            unsigned char served[kFingerprintBytes];
            /* The login readers serve the good certificate, the others the one they are named after. */
            std::string cert = c.login ? "good" : c.reader;
            ASSERT_TRUE(CertificateFingerprint(fresh.folder, cert, served));
            EXPECT_EQ(memcmp(asked.fingerprint, served, kFingerprintBytes), 0);
            EXPECT_EQ(asked.port, (DWORD)fresh.tls_ports[c.reader]);
            EXPECT_NE(std::string(asked.subject).find("CN="), std::string::npos) << asked.subject;
        }
        if (!c.text) {
            EXPECT_EQ(run.ok, 1) << run.result.text;
            EXPECT_TRUE(fresh.Files(false) == inn.Files(true));
            continue;
        }
        EXPECT_EQ(run.ok, 0);
        EXPECT_EQ(std::wstring(run.result.text).substr(0, wcslen(c.text)), c.text);
        EXPECT_TRUE(fresh.Files(false) == before);
    }
}

namespace {

/* The value of the first line of `log` naming `header` (line end cut). */
std::string LogHeader(const std::string &log, size_t from, const std::string &header)
{
    size_t at = log.find("\r\n" + header + ": ", from);
    if (at == std::string::npos)
        return "";
    at += header.size() + 4;
    return log.substr(at, log.find("\r\n", at) - at);
}

} // namespace

/* Drafts posted to INN (compressed, as INN offers it) come back through the
 * download as they were typed: Japanese as ISO-2022-JP words, what that
 * lacks as UTF-8, a line starting with "." whole; a follow-up carries its
 * parent's Message-ID in References. */
TEST(InnEndToEnd, PostedDraftsComeBackAsTyped)
{
    InnServer inn;
    ASSERT_NE(inn.open_port, 0) << "INN fixture (tools/inn/e2e.sh) not running";
    TempFolder drafts;
    const std::string kanji_subject = "\x8a\xbf\x8e\x9a\x82\xcc\x83\x65\x83\x58\x83\x67"; /* 漢字のテスト */
    const std::string name = "\x8e\x52\x93\x63\x91\xbe\x98\x59";                         /* 山田太郎 */
    ASSERT_TRUE(WriteFileBytes(drafts.file(L"o1.txt"), "Newsgroups: fj.test.post\r\nSubject: " + kanji_subject +
                                                           "\r\n\r\n.dot first\r\n" + kanji_subject + "\r\n"));
    ASSERT_TRUE(WriteFileBytes(drafts.file(L"o2.txt"), "Newsgroups: fj.test.post\r\nSubject: \xc3\xbd\xc4 &#x1F600;\r\n"
                                                       "\r\nhalf-width \xc3\xbd\xc4\r\n"));
    PostingParams posting = {drafts.path().c_str(), name.c_str(), "yamada@example.jp", nullptr};
    WriteFileBytes(inn.data.file(L"fj.test.post.idx"), std::string(100, '\0').replace(0, 1, 1, '\5'));
    NntpServer server = TestServer(inn.open_port);
    server.compress = 1;
    SessionRun run =
        RunScriptedSession(server, {L"fj.test.post"}, inn.data.path(), 100, kNoStop, nullptr, 1, &posting);
    ASSERT_EQ(run.ok, 1) << run.error;
    EXPECT_TRUE(run.kept.empty());
    EXPECT_TRUE(FileExists(drafts.file(L"s1.txt")) && FileExists(drafts.file(L"s2.txt")));
    std::string log = FileBytes(inn.data.file(L"fj.test.post.log"));
    ASSERT_NE(log.find("X-Local-Seq: 2"), std::string::npos) << log;
    size_t second = log.find("X-Local-Seq: 1"); /* the second article's head follows */
    EXPECT_EQ(LogHeader("\r\n" + log, 0, "Subject"), kanji_subject);
    EXPECT_EQ(LogHeader("\r\n" + log, 0, "From"), name + " <yamada@example.jp>");
    EXPECT_NE(log.find("\r\n\r\n.dot first\r\n" + kanji_subject + "\r\n"), std::string::npos);
    EXPECT_EQ(LogHeader(log, second, "Subject"), "\xc3\xbd\xc4 &#x1F600;");
    EXPECT_NE(log.find("\r\n\r\nhalf-width \xc3\xbd\xc4\r\n", second), std::string::npos);

    /* The follow-up, in a later run: References names the first post. */
    std::string parent = LogHeader("\r\n" + log, 0, "Message-ID");
    ASSERT_FALSE(parent.empty());
    ASSERT_TRUE(WriteFileBytes(drafts.file(L"o3.txt"), "Newsgroups: fj.test.post\r\nSubject: Re: " + kanji_subject +
                                                           "\r\nReferences: " + parent + "\r\n\r\n> quoted\r\n"));
    run = RunScriptedSession(server, {L"fj.test.post"}, inn.data.path(), 100, kNoStop, nullptr, 1, &posting);
    ASSERT_EQ(run.ok, 1) << run.error;
    log = FileBytes(inn.data.file(L"fj.test.post.log"));
    ASSERT_NE(log.find("X-Local-Seq: 3"), std::string::npos);
    EXPECT_EQ(LogHeader(log, log.rfind("X-Local-Seq: 2"), "References"), parent);
    EXPECT_EQ(LogHeader(log, log.rfind("X-Local-Seq: 2"), "Subject"), "Re: " + kanji_subject);
}
