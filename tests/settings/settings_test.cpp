#include <gtest/gtest.h>
#include <windows.h>

#include <stddef.h>
#include <string.h>

#include <string>
#include <vector>

#include "settings/settings.h"
#include "support/registry_fixture.h"

namespace {

/* A value's type and bytes; REG_NONE and no bytes when it is absent. */
using Value = std::pair<DWORD, std::string>;

/* Read from the program key or a subkey with the plain registry calls. */
Value Query(const wchar_t *name, const wchar_t *subkey = nullptr)
{
    std::wstring path = subkey ? PELNOR_REGISTRY_KEY L"\\" + std::wstring(subkey) : PELNOR_REGISTRY_KEY;
    Value value = {REG_NONE, std::string(1024, '\0')};
    DWORD size = 1024;
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS ||
        RegQueryValueExW(key, name, nullptr, &value.first, (BYTE *)&value.second[0], &size) != ERROR_SUCCESS) {
        value.first = REG_NONE;
        size = 0;
    }
    RegCloseKey(key);
    value.second.resize(size);
    return value;
}

bool KeyExists()
{
    HKEY key;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return false;
    RegCloseKey(key);
    return true;
}

/* REG_SZ is UTF-16LE with its terminator; numbers and colours 32-bit LE. */
std::string Sz(const std::wstring &text)
{
    std::string bytes;
    for (wchar_t c : text + L'\0')
        bytes += {(char)(c & 0xFF), (char)(c >> 8)};
    return bytes;
}

std::string Le32(DWORD v) { return {(char)v, (char)(v >> 8), (char)(v >> 16), (char)(v >> 24)}; }

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

/* Each value as the defaults save it, and as a full set comes back from a load and a save. */
TEST_F(SettingsTest, DefaultsAndFullRoundTripInEachValuesType)
{
    const struct { const wchar_t *name; DWORD type; std::string defaults, full; } values[] = {
        {L"Server", REG_SZ, Sz(L""), Sz(L"news.example.jp")},
        {L"Port", REG_DWORD, Le32(119), Le32(10119)},
        {L"DataPath", REG_SZ, Sz(L""), Sz(L"\\Storage\\news\\")},
        {L"Limit", REG_DWORD, Le32(50), Le32(300)},
        {L"UserID", REG_SZ, "", Sz(L"表示user")},
        {L"Password", REG_SZ, "", Sz(L"pa予定表ss")},
        {L"KeyMode", REG_DWORD, Le32(0), Le32(1)},
        {L"AutoNextArticle", REG_DWORD, Le32(1), Le32(0)},
        {L"Dialup", REG_DWORD, Le32(0), Le32(1)},
        {L"EntryName", REG_SZ, Sz(L""), Sz(L"会社の回線")},
        {L"DisconnectWaitTime", REG_DWORD, Le32(0), Le32(15)},
        {L"FontName", REG_SZ, Sz(L"Tahoma"), Sz(L"ＭＳ ゴシック")},
        {L"FontSizeA", REG_DWORD, Le32(14), Le32(12)},
        {L"FontSizeS", REG_DWORD, Le32(14), Le32(0xFFFFFFFF)},
        {L"HeaderColor", REG_BINARY, Le32(0), std::string("\x40\x80\xC0\x00", 4)},
        {L"ReferenceLine", REG_BINARY, Le32(0), std::string("\x33\x22\x11\x00", 4)},
        {L"UserName", REG_SZ, Sz(L""), Sz(L"山田太郎")},
        {L"MailAddress", REG_SZ, Sz(L""), Sz(L"yamada@example.jp")},
        {L"Organization", REG_SZ, Sz(L""), Sz(L"マロウビー株式会社 ﾃｽﾄ")},
        {L"EditorPath", REG_SZ, Sz(L""), Sz(L"\\Windows\\pword.exe")},
    };
    auto expect_saved = [&](bool full) {
        for (const auto &v : values) {
            const std::string &bytes = full ? v.full : v.defaults;
            EXPECT_EQ(Query(v.name), Value(bytes.empty() ? REG_NONE : v.type, bytes)) << v.name;
        }
    };

    ASSERT_FALSE(KeyExists());
    Record d;
    EXPECT_EQ(d.Load(), 0);
    EXPECT_TRUE(KeyExists());
    for (char *text : {d->UserID, d->Password, d->UserName, d->MailAddress, d->Organization})
        EXPECT_EQ(text, nullptr);
    EXPECT_TRUE(d->ArticleFont && d->SubjectFont);
    EXPECT_STREQ(d->DraftPath, L"\\draft\\");
    ASSERT_EQ(SaveSettings(&d.s), 1);
    expect_saved(false);

    /* The full set planted, loaded, and saved again from the record. */
    for (const auto &v : values)
        RegSetKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, v.name, v.type, v.full.data(), (DWORD)v.full.size());
    Record r;
    EXPECT_EQ(r.Load(), 1);
    EXPECT_EQ(std::vector<DWORD>({r->Port, r->Limit, r->KeyMode, r->AutoNextArticle, r->Dialup, r->DisconnectWaitTime,
                                  (DWORD)r->FontSizeA, (DWORD)r->FontSizeS, r->HeaderColor, r->ReferenceLine}),
              std::vector<DWORD>({10119, 300, 1, 0, 1, 15, 12, 0xFFFFFFFF, 0x00C08040, 0x00112233}));
    EXPECT_EQ(std::vector<std::wstring>({r->Server, r->DataPath, r->EntryName, r->FontName, r->EditorPath}),
              std::vector<std::wstring>({L"news.example.jp", L"\\Storage\\news\\", L"会社の回線", L"ＭＳ ゴシック",
                                         L"\\Windows\\pword.exe"}));
    EXPECT_STREQ(r->UserID, "\x95\x5C\x8E\xA6" "user"); /* the texts in code page 932 */
    EXPECT_STREQ(r->Password, "pa\x97\x5C\x92\xE8\x95\x5C" "ss");
    EXPECT_STREQ(r->UserName, "\x8E\x52\x93\x63\x91\xBE\x98\x59");
    EXPECT_STREQ(r->MailAddress, "yamada@example.jp");
    EXPECT_STREQ(r->Organization,
                 "\x83\x7D\x83\x8D\x83\x45\x83\x72\x81\x5B\x8A\x94\x8E\xAE\x89\xEF\x8E\xD0 \xC3\xBD\xC4");
    EXPECT_NE(r->ArticleFont, nullptr);
    EXPECT_EQ(r->SubjectFont, nullptr);
    EXPECT_STREQ(r->DraftPath, L"\\Storage\\news\\\\draft\\");
    DeletePelnorKey();
    wcscpy(r->DataPath, L"\\Storage\\news");
    ASSERT_EQ(SaveSettings(&r.s), 1) << GetLastError();
    EXPECT_STREQ(r->DataPath, L"\\Storage\\news\\");
    expect_saved(true);
}

/* Values as a user may leave them by hand, loaded and saved back into the
 * same record. */
TEST_F(SettingsTest, HandEditedValuesLoadAndSaveBack)
{
    SeedCompleteSettings(L"\\Storage\\news\\");
    SetPelnorDword(L"Port", 0);
    SetPelnorString(L"UserName", L"  \t ");
    SetPelnorString(L"MailAddress", L"\t");
    SetPelnorString(L"Organization", L" \t");
    SetPelnorString(L"Password", L"secret");
    SetPelnorDword(L"FontSizeA", 0xFFFFFFFF);
    Record r;
    ASSERT_EQ(r.Load(), 1);
    EXPECT_EQ(r->Port, 0u);
    EXPECT_EQ(r->UserName, nullptr);
    EXPECT_EQ(r->MailAddress, nullptr);
    EXPECT_STREQ(r->Organization, " \t"); /* blank, but no mail address beside it */
    EXPECT_EQ(r->UserID, nullptr);
    EXPECT_STREQ(r->Password, "secret");
    EXPECT_EQ(r->ArticleFont, nullptr);
    ASSERT_EQ(SaveSettings(&r.s), 1);
    EXPECT_EQ(Query(L"Port"), Value(REG_DWORD, Le32(0)));
    EXPECT_EQ(Query(L"UserName"), Value(REG_SZ, Sz(L"")));
    EXPECT_EQ(Query(L"UserID"), Value(REG_NONE, ""));
    EXPECT_EQ(Query(L"Password"), Value(REG_NONE, ""));
    EXPECT_EQ(Query(L"DataPath"), Value(REG_SZ, Sz(L"\\Storage\\news\\"))); /* no second backslash */

    /* Beside a mail address a blank organisation is none, an absent one too. */
    SetPelnorString(L"MailAddress", L"yamada@example.jp");
    ASSERT_EQ(r.Load(), 1);
    EXPECT_EQ(r->Port, 0u);
    EXPECT_EQ(r->Password, nullptr);
    EXPECT_EQ(r->Organization, nullptr);
    RegDeleteKeyValueW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, L"Organization");
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
    EXPECT_FALSE(KeyExists());
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

TEST_F(SettingsTest, ViewOptionsLiveInTheirSubkeysWithTheirDefaults)
{
    const struct { int (*read)(DWORD *), (*write)(DWORD); const wchar_t *subkey, *name; DWORD fallback, stored; }
    options[] = {
        {ReadViewReadArticle, WriteViewReadArticle, L"SubjectView", L"ViewReadArticle", 0, 1},
        {ReadPriorityViewLevel, WritePriorityViewLevel, L"SubjectView", L"PriorityViewLevel", 1, 2},
        {ReadShowArticleHeader, WriteShowArticleHeader, L"ArticleView", L"ShowArticleHeader", 0, 1}};
    DWORD value = 77;
    for (const auto &o : options) {
        EXPECT_EQ(o.read(&value), 0);
        EXPECT_EQ(value, o.fallback);
        ASSERT_EQ(o.write(o.stored), 1);
        EXPECT_EQ(Query(o.name, o.subkey), Value(REG_DWORD, Le32(o.stored)));
        EXPECT_EQ(o.read(&value), 1);
        EXPECT_EQ(value, o.stored);
    }
    ASSERT_EQ(WritePriorityViewLevel(0), 1); /* normal is 0, not the default */
    EXPECT_EQ(ReadPriorityViewLevel(&value), 1);
    EXPECT_EQ(value, 0u);
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

TEST_F(SettingsTest, KeyThatCannotBeCreatedFailsLoadSaveAndViewOptions)
{
    /* Under a volatile parent the lasting program key cannot be created. */
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\marrowby");
    HKEY parent;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\marrowby", 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &parent, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(parent);
    auto error_of = [](auto call) {
        SetLastError(0);
        return call() ? 0 : GetLastError();
    };
    Record r;
    int complete;
    DWORD value = 77;
    EXPECT_EQ(error_of([&] { return LoadSettings(&r.s, &complete); }), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(error_of([&] { return SaveSettings(&r.s); }), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(error_of([&] { return ReadPriorityViewLevel(&value); }), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_EQ(value, 1u);
    EXPECT_EQ(error_of([] { return WriteViewReadArticle(1); }), ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_FALSE(KeyExists());
    RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\marrowby");
}

} // namespace

TEST(SettingsHelpers, ParseDecimalStripTrailingBackslashesMakeViewFont)
{
    const struct { const wchar_t *text; int ok; DWORD value; } numbers[] = {
        {L"", 1, 0}, {L"0080", 1, 80}, {L"123456", 1, 123456}, {L"4294967296", 1, 0} /* wraps */, {L"80a", 0, 99},
        {L" 80", 0, 99}, {L"80 ", 0, 99}, {L"\t80", 0, 99}, {L" ", 0, 99}, {L"-1", 0, 99}, {L"８０", 0, 99}};
    for (const auto &n : numbers) {
        DWORD value = 99;
        EXPECT_EQ(ParseDecimal(n.text, &value), n.ok);
        EXPECT_EQ(value, n.value);
    }
    wchar_t folder[] = L"\\Storage\\news\\\\\\";
    StripTrailingBackslashes(folder);
    EXPECT_STREQ(folder, L"\\Storage\\news");

    HFONT font = nullptr;
    for (LONG size : {14L, -12L}) {
        ASSERT_EQ(MakeViewFont(L"ＭＳ ゴシック", size, &font), 1);
        LOGFONTW f = {}, expected = {size, 0, 0, 0, 400, 0, 0, 0, 1, 0, 0, 0, 0, L""};
        ASSERT_EQ(GetObjectW(font, sizeof(f), &f), (int)sizeof(f));
        EXPECT_EQ(memcmp(&f, &expected, offsetof(LOGFONTW, lfFaceName)), 0) << "size " << size;
        EXPECT_STREQ(f.lfFaceName, L"ＭＳ ゴシック");
    }
    DeleteObject(font);
}
