#include <gtest/gtest.h>
#include <windows.h>

#include <stddef.h>
#include <string.h>

#include <string>
#include <vector>

#include "settings/settings.h"
#include "support/registry_fixture.h"

namespace {

/* Colours are 4 bytes of REG_BINARY, little-endian. */
StoredValue Binary(DWORD colour)
{
    return {REG_BINARY, std::string((const char *)&colour, 4)};
}

/* A record with InitSettings, freed (fonts too) at the end of the test. */
struct Record {
    Settings s;
    Record() { InitSettings(&s); }
    ~Record()
    {
        FreeSettings(&s);
        DeleteObject(s.ArticleFont);
        DeleteObject(s.SubjectFont);
    }
    Settings *operator->() { return &s; }
    int Load() /* SettingsComplete of a load that must succeed */
    {
        int complete = -1;
        EXPECT_EQ(LoadSettings(&s, &complete), 1) << GetLastError();
        return complete;
    }
};

class SettingsTest : public testing::Test {
protected:
    void SetUp() override { DeletePelnorKey(); }
    void TearDown() override { DeletePelnorKey(); }
};

/* Each value as the defaults save it, and as a full set comes back from a
 * load and a save (absent texts and the drafts folder: their users' tests). */
TEST_F(SettingsTest, DefaultsAndFullRoundTripInEachValuesType)
{
    const struct { const wchar_t *name; StoredValue defaults, full; } values[] = {
        {L"Server", TextValue(L""), TextValue(L"news.example.jp")},
        {L"Port", DwordValue(119), DwordValue(10119)},
        {L"DataPath", TextValue(L""), TextValue(L"\\Storage\\news\\")},
        {L"Limit", DwordValue(50), DwordValue(300)},
        {L"UserID", {}, TextValue(L"表示user")},
        {L"Password", {}, TextValue(L"pa予定表ss")},
        {L"KeyMode", DwordValue(0), DwordValue(1)},
        {L"AutoNextArticle", DwordValue(1), DwordValue(0)},
        {L"Dialup", DwordValue(0), DwordValue(1)},
        {L"EntryName", TextValue(L""), TextValue(L"会社の回線")},
        {L"DisconnectWaitTime", DwordValue(0), DwordValue(15)},
        {L"FontName", TextValue(L"Tahoma"), TextValue(L"ＭＳ ゴシック")},
        {L"FontSizeA", DwordValue(14), DwordValue(12)},
        {L"FontSizeS", DwordValue(14), DwordValue(0xFFFFFFFF)},
        {L"HeaderColor", Binary(0), Binary(0x00C08040)},
        {L"ReferenceLine", Binary(0), Binary(0x00112233)},
        {L"UserName", TextValue(L""), TextValue(L"山田太郎")},
        {L"MailAddress", TextValue(L""), TextValue(L"yamada@example.jp")},
        {L"Organization", TextValue(L""), TextValue(L"マロウビー株式会社 ﾃｽﾄ")},
        {L"EditorPath", TextValue(L""), TextValue(L"\\Windows\\pword.exe")},
        {L"TlsMode", DwordValue(0), DwordValue(2)},
        {L"CaFile", {}, TextValue(L"\\Storage\\社内CA.pem")},
        {L"Compress", DwordValue(1), DwordValue(0)},
        {L"DecodeCharsets", DwordValue(1), DwordValue(0)},
        {L"Posting", DwordValue(0), DwordValue(1)},
    };
    auto expect_saved = [&](bool full) {
        for (const auto &v : values)
            EXPECT_EQ(PelnorValue(v.name), full ? v.full : v.defaults) << v.name;
    };

    Record d;
    EXPECT_EQ(d.Load(), 0);
    EXPECT_TRUE(d->ArticleFont && d->SubjectFont);
    ASSERT_EQ(SaveSettings(&d.s), 1);
    expect_saved(false);

    /* The full set planted, loaded, and saved again from the record: a
     * value loaded wrong is saved wrong. */
    for (const auto &v : values)
        RegSetKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, v.name, v.full.type, v.full.bytes.data(),
                        (DWORD)v.full.bytes.size());
    Record r;
    EXPECT_EQ(r.Load(), 1);
    EXPECT_STREQ(r->UserID, "\x95\x5C\x8E\xA6" "user"); /* the texts in code page 932 */
    EXPECT_STREQ(r->Password, "pa\x97\x5C\x92\xE8\x95\x5C" "ss");
    EXPECT_STREQ(r->UserName, "\x8E\x52\x93\x63\x91\xBE\x98\x59");
    EXPECT_STREQ(r->Organization,
                 "\x83\x7D\x83\x8D\x83\x45\x83\x72\x81\x5B\x8A\x94\x8E\xAE\x89\xEF\x8E\xD0 \xC3\xBD\xC4");
    DeletePelnorKey();
    ASSERT_EQ(SaveSettings(&r.s), 1) << GetLastError();
    expect_saved(true);
}

/* Values as a user may leave them by hand, loaded and saved back into the
 * same record (what is saved shows what was loaded). */
TEST_F(SettingsTest, HandEditedValuesLoadAndSaveBack)
{
    SeedCompleteSettings(L"\\Storage\\news\\");
    SetPelnorDword(L"Port", 0);
    SetPelnorString(L"UserName", L"  \t ");
    SetPelnorString(L"MailAddress", L"\t");
    SetPelnorString(L"Organization", L" \t");
    SetPelnorDword(L"FontSizeA", 0xFFFFFFFF);
    Record r;
    ASSERT_EQ(r.Load(), 1);
    EXPECT_EQ(r->MailAddress, nullptr);
    EXPECT_STREQ(r->Organization, " \t"); /* blank, but no mail address beside it */
    EXPECT_EQ(r->ArticleFont, nullptr);
    ASSERT_EQ(SaveSettings(&r.s), 1);
    EXPECT_EQ(PelnorValue(L"Port"), DwordValue(0));
    EXPECT_EQ(PelnorValue(L"UserName"), TextValue(L""));

    /* Beside a mail address a blank organisation is none. */
    SetPelnorString(L"MailAddress", L"yamada@example.jp");
    ASSERT_EQ(r.Load(), 1);
    EXPECT_EQ(r->Organization, nullptr);
}

/* A value longer than its field takes the default, as if missing. */
TEST_F(SettingsTest, OverLongValuesCountAsMissing)
{
    const struct { const wchar_t *name; size_t field, longest; const wchar_t *fallback; int complete_if_over; }
    fields[] = {
        {L"Server", offsetof(Settings, Server), 259, L"", 0},
        {L"EntryName", offsetof(Settings, EntryName), 20, L"", 1},
        {L"FontName", offsetof(Settings, FontName), 31, L"Tahoma", 1}};
    for (const auto &f : fields) {
        SeedCompleteSettings(L"\\Storage\\news\\");
        for (size_t length : {f.longest, f.longest + 1}) {
            SetPelnorString(f.name, std::wstring(length, L'x'));
            Record r;
            EXPECT_EQ(r.Load(), length == f.longest ? 1 : f.complete_if_over);
            EXPECT_EQ(std::wstring((const wchar_t *)((const char *)&r.s + f.field)),
                      length == f.longest ? std::wstring(length, L'x') : f.fallback);
        }
    }
    for (size_t length : {255, 256}) {
        SetPelnorString(L"UserID", std::wstring(length, L'u'));
        SetPelnorString(L"Password", std::wstring(length, L'p'));
        Record r;
        EXPECT_EQ(r.Load(), 1);
        EXPECT_STREQ(r->UserID, length == 255 ? std::string(255, 'u').c_str() : nullptr);
        EXPECT_STREQ(r->Password, length == 255 ? std::string(255, 'p').c_str() : nullptr);
    }

    /* A folder without room for its backslash is not saved at all. */
    Record r;
    DeletePelnorKey();
    wcscpy(r->DataPath, std::wstring(259, L'd').c_str());
    SetLastError(0);
    EXPECT_EQ(SaveSettings(&r.s), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    EXPECT_EQ(PelnorValue(L"Server").type, 0u);
}

/* The data folder is used with its backslash even when the registry lacks
 * it, so no file is made beside the folder; a limit of 0 would fetch
 * nothing and is asked for again like a missing one. */
TEST_F(SettingsTest, DataPathGetsItsBackslashAndLimitZeroIsMissing)
{
    const std::wstring d258(258, L'd');
    const struct { std::wstring stored; DWORD limit; std::wstring loaded; DWORD limit_loaded; int complete; } cases[] = {
        {L"C:\\news", 300, L"C:\\news\\", 300, 1},
        {d258, 300, d258 + L"\\", 300, 1},
        {d258 + L"d", 300, d258 + L"d", 300, 0}, /* no room for the backslash */
        {d258 + L"\\", 0, d258 + L"\\", 50, 0},
    };
    for (const auto &c : cases) {
        SeedCompleteSettings(c.stored);
        SetPelnorDword(L"Limit", c.limit);
        Record r;
        EXPECT_EQ(r.Load(), c.complete) << c.stored.size();
        EXPECT_EQ(std::wstring(r->DataPath), c.loaded);
        EXPECT_EQ(r->Limit, c.limit_loaded);
    }
}

TEST_F(SettingsTest, PipelineDepthIsClampedAndDefaultsWhenMissing)
{
    DWORD value = 0;
    EXPECT_EQ(ReadPipelineDepth(&value), 0);
    EXPECT_EQ(value, 128u);
    const DWORD cases[][2] = {{0, 1}, {1, 1}, {7, 7}, {256, 256}, {257, 256}, {0xFFFFFFFFu, 256}};
    for (const auto &c : cases) {
        ASSERT_EQ(WriteViewOption(L"Download", L"PipelineDepth", c[0]), 1);
        EXPECT_EQ(ReadPipelineDepth(&value), 1);
        EXPECT_EQ(value, c[1]) << c[0];
    }
}

TEST_F(SettingsTest, KeyThatCannotBeCreatedFailsLoadAndSave)
{
    ASSERT_TRUE(MakePelnorKeyUnmakeable());
    auto error_of = [](auto call) {
        SetLastError(0);
        return call() ? 0 : GetLastError();
    };
    Record r;
    int complete;
    EXPECT_EQ(error_of([&] { return LoadSettings(&r.s, &complete); }), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(error_of([&] { return SaveSettings(&r.s); }), ERROR_CHILD_MUST_BE_VOLATILE);
    DeleteUnmakeableParent();
}

} // namespace

/* Digits only: the properties pages refuse anything else. */
TEST(SettingsHelpers, ParseDecimal)
{
    const struct { const wchar_t *text; int ok; DWORD value; } numbers[] = {
        {L"", 1, 0}, {L"0080", 1, 80}, {L"4294967296", 1, 0} /* wraps */, {L"80a", 0, 99},
        {L" 80", 0, 99}, {L"80 ", 0, 99}, {L"-1", 0, 99}, {L"８０", 0, 99}};
    for (const auto &n : numbers) {
        DWORD value = 99;
        EXPECT_EQ(ParseDecimal(n.text, &value), n.ok) << n.text;
        EXPECT_EQ(value, n.value) << n.text;
    }
}
