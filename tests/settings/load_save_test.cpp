#include <gtest/gtest.h>
#include <windows.h>

#include <stdlib.h>
#include <string.h>

#include <string>

#include "registry_fixture.h"
#include "settings/settings.h"

namespace {

/* Shift_JIS bytes, written out by hand. */
const char kYamadaTaro[] = "\x8E\x52\x93\x63\x91\xBE\x98\x59";             /* 山田太郎 */
const char kHyoujiUser[] = "\x95\x5C\x8E\xA6" "user";                      /* 表示user */
const char kPassword[] = "pa\x97\x5C\x92\xE8\x95\x5C" "ss";                /* pa予定表ss */
const char kOrganization[] = "\x83\x7D\x83\x8D\x83\x45\x83\x72\x81\x5B"
                             "\x8A\x94\x8E\xAE\x89\xEF\x8E\xD0 \xC3\xBD\xC4"; /* マロウビー株式会社 ﾃｽﾄ */

char *Dup(const char *text)
{
    return text ? strdup(text) : nullptr;
}

/* A record with InitSettings, freed (fonts too) at the end of the test. */
struct Record {
    Settings s;
    Record() { InitSettings(&s); }
    ~Record()
    {
        FreeSettings(&s);
        if (s.ArticleFont)
            DeleteObject(s.ArticleFont);
        if (s.SubjectFont)
            DeleteObject(s.SubjectFont);
    }
    Settings *operator->() { return &s; }
    Settings *get() { return &s; }
};

int Load(Record &r)
{
    int complete = -1;
    EXPECT_EQ(LoadSettings(r.get(), &complete), 1) << GetLastError();
    return complete;
}

void PlantComplete()
{
    PlantText(L"Server", L"news.example.jp");
    PlantDword(L"Port", 119);
    PlantText(L"DataPath", L"\\Storage\\news\\");
    PlantDword(L"Limit", 50);
}

std::string Narrow(const char *text)
{
    return text ? std::string(text) : std::string("<none>");
}

} // namespace

class SettingsTest : public PelnorKeyTest {};

TEST_F(SettingsTest, NoKeyCreatesItAndTakesEveryDefault)
{
    Record r;
    EXPECT_EQ(Load(r), 0);
    EXPECT_TRUE(KeyExists());
    EXPECT_EQ(ValueCount(), 0); /* the load writes nothing */

    EXPECT_STREQ(r->Server, L"");
    EXPECT_STREQ(r->DataPath, L"");
    EXPECT_EQ(r->Port, 119u);
    EXPECT_EQ(r->Limit, 50u);
    EXPECT_EQ(r->KeyMode, 0u);
    EXPECT_EQ(r->AutoNextArticle, 1u);
    EXPECT_EQ(r->Dialup, 0u);
    EXPECT_STREQ(r->EntryName, L"");
    EXPECT_EQ(r->DisconnectWaitTime, 0u);
    EXPECT_EQ(r->UserID, nullptr);
    EXPECT_EQ(r->Password, nullptr);
    EXPECT_EQ(r->UserName, nullptr);
    EXPECT_EQ(r->MailAddress, nullptr);
    EXPECT_EQ(r->Organization, nullptr);
    EXPECT_STREQ(r->FontName, L"Tahoma");
    EXPECT_EQ(r->FontSizeA, 14);
    EXPECT_EQ(r->FontSizeS, 14);
    EXPECT_NE(r->ArticleFont, nullptr);
    EXPECT_NE(r->SubjectFont, nullptr);
    EXPECT_EQ(r->HeaderColor, 0u);
    EXPECT_EQ(r->ReferenceLine, 0u);
    ASSERT_NE(r->EditorPath, nullptr);
    EXPECT_STREQ(r->EditorPath, L"");
    ASSERT_NE(r->DraftPath, nullptr);
    EXPECT_STREQ(r->DraftPath, L"\\draft\\");
}

TEST_F(SettingsTest, CompleteWhenTheFourValuesArePresent)
{
    PlantComplete();
    Record r;
    EXPECT_EQ(Load(r), 1);

    const wchar_t *required[] = {L"Server", L"Port", L"DataPath", L"Limit"};
    for (const wchar_t *name : required) {
        PlantComplete();
        DeleteValue(name);
        Record partial;
        EXPECT_EQ(Load(partial), 0) << "without " << std::string(name, name + wcslen(name));
    }
}

TEST_F(SettingsTest, FullRoundTrip)
{
    Record out;
    wcscpy(out->Server, L"news.example.jp");
    out->Port = 10119;
    wcscpy(out->DataPath, L"\\Storage\\news");
    out->Limit = 300;
    out->KeyMode = 1;
    out->AutoNextArticle = 0;
    out->Dialup = 1;
    wcscpy(out->EntryName, L"会社の回線");
    out->DisconnectWaitTime = 15;
    out->UserID = Dup(kHyoujiUser);
    out->Password = Dup(kPassword);
    out->UserName = Dup(kYamadaTaro);
    out->MailAddress = Dup("yamada@example.jp");
    out->Organization = Dup(kOrganization);
    wcscpy(out->FontName, L"ＭＳ ゴシック");
    out->FontSizeA = 12;
    out->FontSizeS = -1;
    out->HeaderColor = 0x00C08040;
    out->ReferenceLine = 0x00112233;
    out->SampleColor = 0x00ABCDEF;
    out->EditorPath = _wcsdup(L"\\Windows\\pword.exe");
    ASSERT_EQ(SaveSettings(out.get()), 1) << GetLastError();
    EXPECT_STREQ(out->DataPath, L"\\Storage\\news\\");

    struct Expected {
        const wchar_t *name;
        DWORD type;
        std::string bytes;
    } expected[] = {
        {L"Server", REG_SZ, Utf16Bytes(L"news.example.jp")},
        {L"Port", REG_DWORD, std::string("\x87\x27\x00\x00", 4)},
        {L"DataPath", REG_SZ, Utf16Bytes(L"\\Storage\\news\\")},
        {L"Limit", REG_DWORD, std::string("\x2C\x01\x00\x00", 4)},
        {L"UserID", REG_SZ, Utf16Bytes(L"表示user")},
        {L"Password", REG_SZ, Utf16Bytes(L"pa予定表ss")},
        {L"KeyMode", REG_DWORD, std::string("\x01\x00\x00\x00", 4)},
        {L"AutoNextArticle", REG_DWORD, std::string("\x00\x00\x00\x00", 4)},
        {L"Dialup", REG_DWORD, std::string("\x01\x00\x00\x00", 4)},
        {L"EntryName", REG_SZ, Utf16Bytes(L"会社の回線")},
        {L"DisconnectWaitTime", REG_DWORD, std::string("\x0F\x00\x00\x00", 4)},
        {L"FontName", REG_SZ, Utf16Bytes(L"ＭＳ ゴシック")},
        {L"FontSizeA", REG_DWORD, std::string("\x0C\x00\x00\x00", 4)},
        {L"FontSizeS", REG_DWORD, std::string("\xFF\xFF\xFF\xFF", 4)},
        {L"HeaderColor", REG_BINARY, std::string("\x40\x80\xC0\x00", 4)},
        {L"ReferenceLine", REG_BINARY, std::string("\x33\x22\x11\x00", 4)},
        {L"UserName", REG_SZ, Utf16Bytes(L"山田太郎")},
        {L"MailAddress", REG_SZ, Utf16Bytes(L"yamada@example.jp")},
        {L"Organization", REG_SZ, Utf16Bytes(L"マロウビー株式会社 ﾃｽﾄ")},
        {L"EditorPath", REG_SZ, Utf16Bytes(L"\\Windows\\pword.exe")},
    };
    for (const Expected &e : expected) {
        RawValue raw = QueryRaw(e.name);
        std::string name(e.name, e.name + wcslen(e.name));
        ASSERT_TRUE(raw.exists) << name;
        EXPECT_EQ(raw.type, e.type) << name;
        EXPECT_EQ(raw.bytes, e.bytes) << name;
    }
    EXPECT_EQ(ValueCount(), (long)(sizeof(expected) / sizeof(expected[0])));

    Record in;
    EXPECT_EQ(Load(in), 1);
    EXPECT_STREQ(in->Server, L"news.example.jp");
    EXPECT_EQ(in->Port, 10119u);
    EXPECT_STREQ(in->DataPath, L"\\Storage\\news\\");
    EXPECT_EQ(in->Limit, 300u);
    EXPECT_EQ(in->KeyMode, 1u);
    EXPECT_EQ(in->AutoNextArticle, 0u);
    EXPECT_EQ(in->Dialup, 1u);
    EXPECT_STREQ(in->EntryName, L"会社の回線");
    EXPECT_EQ(in->DisconnectWaitTime, 15u);
    EXPECT_EQ(Narrow(in->UserID), kHyoujiUser);
    EXPECT_EQ(Narrow(in->Password), kPassword);
    EXPECT_EQ(Narrow(in->UserName), kYamadaTaro);
    EXPECT_EQ(Narrow(in->MailAddress), "yamada@example.jp");
    EXPECT_EQ(Narrow(in->Organization), kOrganization);
    EXPECT_STREQ(in->FontName, L"ＭＳ ゴシック");
    EXPECT_EQ(in->FontSizeA, 12);
    EXPECT_EQ(in->FontSizeS, -1);
    EXPECT_NE(in->ArticleFont, nullptr);
    EXPECT_EQ(in->SubjectFont, nullptr);
    EXPECT_EQ(in->HeaderColor, 0x00C08040u);
    EXPECT_EQ(in->ReferenceLine, 0x00112233u);
    EXPECT_EQ(in->SampleColor, 0u);
    EXPECT_STREQ(in->EditorPath, L"\\Windows\\pword.exe");
    EXPECT_STREQ(in->DraftPath, L"\\Storage\\news\\\\draft\\");
}

TEST_F(SettingsTest, PortSavedAsZeroLoadsAsZero)
{
    Record out;
    ASSERT_EQ(Load(out), 0);
    wcscpy(out->Server, L"news");
    wcscpy(out->DataPath, L"\\news");
    out->Port = 0;
    ASSERT_EQ(SaveSettings(out.get()), 1);
    EXPECT_EQ(QueryRaw(L"Port").bytes, std::string(4, '\0'));

    Record in;
    EXPECT_EQ(Load(in), 1);
    EXPECT_EQ(in->Port, 0u);
}

TEST_F(SettingsTest, DataPathGainsOneBackslashAndDraftPathDoublesIt)
{
    PlantComplete();
    Record r;
    ASSERT_EQ(Load(r), 1);
    wcscpy(r->DataPath, L"\\Storage\\news");
    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_STREQ(r->DataPath, L"\\Storage\\news\\");
    EXPECT_EQ(QueryRaw(L"DataPath").bytes, Utf16Bytes(L"\\Storage\\news\\"));
    ASSERT_EQ(Load(r), 1);
    EXPECT_STREQ(r->DraftPath, L"\\Storage\\news\\\\draft\\");

    /* A folder that already ends in a backslash is written as it is. */
    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_EQ(QueryRaw(L"DataPath").bytes, Utf16Bytes(L"\\Storage\\news\\"));

    /* An empty folder stays empty. */
    r->DataPath[0] = L'\0';
    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_EQ(QueryRaw(L"DataPath").bytes, Utf16Bytes(L""));

    /* The longest folder the field holds with its backslash. */
    std::wstring longest(258, L'd');
    wcscpy(r->DataPath, longest.c_str());
    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_EQ(QueryRaw(L"DataPath").bytes, Utf16Bytes(longest + L"\\"));
}

TEST_F(SettingsTest, FolderWithoutRoomForItsBackslashWritesNothing)
{
    Record r;
    wcscpy(r->Server, L"news");
    std::wstring full(259, L'd');
    wcscpy(r->DataPath, full.c_str());
    r->EditorPath = _wcsdup(L"");
    SetLastError(0);
    EXPECT_EQ(SaveSettings(r.get()), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MORE_DATA);
    EXPECT_STREQ(r->DataPath, full.c_str());
    EXPECT_FALSE(KeyExists());
}

TEST_F(SettingsTest, BlankIdentityTextsLoadAsNoneAndSaveAsEmpty)
{
    PlantComplete();
    PlantText(L"UserName", L"  \t ");
    PlantText(L"MailAddress", L"\t");
    PlantText(L"Organization", L"");
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(r->UserName, nullptr);
    EXPECT_EQ(r->MailAddress, nullptr);

    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_EQ(QueryRaw(L"UserName").type, (DWORD)REG_SZ);
    EXPECT_EQ(QueryRaw(L"UserName").bytes, Utf16Bytes(L""));
    EXPECT_EQ(QueryRaw(L"MailAddress").bytes, Utf16Bytes(L""));

    /* None is written as "" even when the value never existed. */
    DeleteKeyTree(ProgramKeyPath());
    Record fresh;
    wcscpy(fresh->Server, L"news");
    fresh->EditorPath = _wcsdup(L"");
    ASSERT_EQ(SaveSettings(fresh.get()), 1);
    for (const wchar_t *name : {L"UserName", L"MailAddress", L"Organization"}) {
        RawValue raw = QueryRaw(name);
        EXPECT_TRUE(raw.exists);
        EXPECT_EQ(raw.type, (DWORD)REG_SZ);
        EXPECT_EQ(raw.bytes, Utf16Bytes(L""));
    }
}

TEST_F(SettingsTest, TextsWithBlanksInsideAreKept)
{
    PlantComplete();
    PlantText(L"UserName", L" 山田 太郎 ");
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(Narrow(r->UserName), " \x8E\x52\x93\x63 \x91\xBE\x98\x59 ");
}

TEST_F(SettingsTest, BlankOrganizationIsDroppedOnlyBesideAMailAddress)
{
    PlantComplete();
    PlantText(L"Organization", L" \t");

    /* No mail address: the blank organisation is held as it is. */
    Record without;
    ASSERT_EQ(Load(without), 1);
    EXPECT_EQ(Narrow(without->Organization), " \t");

    /* A blank mail address is none, so the same holds. */
    PlantText(L"MailAddress", L"   ");
    Record blank_mail;
    ASSERT_EQ(Load(blank_mail), 1);
    EXPECT_EQ(blank_mail->MailAddress, nullptr);
    EXPECT_EQ(Narrow(blank_mail->Organization), " \t");

    /* Beside a mail address it is none. */
    PlantText(L"MailAddress", L"yamada@example.jp");
    Record with;
    ASSERT_EQ(Load(with), 1);
    EXPECT_EQ(with->Organization, nullptr);

    /* Beside a mail address and absent: none, nothing examined. */
    DeleteValue(L"Organization");
    Record absent;
    ASSERT_EQ(Load(absent), 1);
    EXPECT_EQ(absent->Organization, nullptr);
    EXPECT_EQ(Narrow(absent->MailAddress), "yamada@example.jp");
}

TEST_F(SettingsTest, FontSizeMinusOneGivesNoFont)
{
    PlantComplete();
    PlantDword(L"FontSizeA", 0xFFFFFFFF);
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(r->FontSizeA, -1);
    EXPECT_EQ(r->ArticleFont, nullptr);
    ASSERT_NE(r->SubjectFont, nullptr);
    LOGFONTW font;
    ASSERT_EQ(GetObjectW(r->SubjectFont, sizeof(font), &font), (int)sizeof(font));
    EXPECT_EQ(font.lfHeight, 14);
    EXPECT_STREQ(font.lfFaceName, L"Tahoma");
}

TEST_F(SettingsTest, PasswordWithoutUserIDLoadsAndTheSaveDeletesBoth)
{
    PlantComplete();
    PlantText(L"Password", L"secret");
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(r->UserID, nullptr);
    EXPECT_EQ(Narrow(r->Password), "secret");

    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_FALSE(QueryRaw(L"UserID").exists);
    EXPECT_FALSE(QueryRaw(L"Password").exists);
}

TEST_F(SettingsTest, UserIDWithoutPasswordDeletesThePasswordValue)
{
    PlantComplete();
    PlantText(L"UserID", L"yamada");
    PlantText(L"Password", L"old");
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(Narrow(r->UserID), "yamada");
    free(r->Password);
    r->Password = nullptr;

    ASSERT_EQ(SaveSettings(r.get()), 1);
    EXPECT_EQ(QueryRaw(L"UserID").bytes, Utf16Bytes(L"yamada"));
    EXPECT_FALSE(QueryRaw(L"Password").exists);

    /* And again with neither value there to delete. */
    DeleteValue(L"UserID");
    free(r->UserID);
    r->UserID = nullptr;
    EXPECT_EQ(SaveSettings(r.get()), 1) << GetLastError();
    EXPECT_FALSE(QueryRaw(L"UserID").exists);
}

TEST_F(SettingsTest, ReloadReplacesEveryText)
{
    PlantComplete();
    PlantText(L"UserID", L"a");
    PlantText(L"Password", L"b");
    PlantText(L"UserName", L"c");
    PlantText(L"MailAddress", L"d");
    PlantText(L"Organization", L"e");
    PlantText(L"EditorPath", L"\\editor.exe");
    Record r;
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(Narrow(r->Organization), "e");
    HFONT first_font = r->ArticleFont;
    ASSERT_NE(first_font, nullptr);

    for (const wchar_t *name : {L"UserID", L"Password", L"UserName", L"MailAddress", L"Organization", L"EditorPath"})
        DeleteValue(name);
    PlantText(L"DataPath", L"\\other\\");
    PlantDword(L"FontSizeA", 0xFFFFFFFF);
    ASSERT_EQ(Load(r), 1);
    EXPECT_EQ(r->UserID, nullptr);
    EXPECT_EQ(r->Password, nullptr);
    EXPECT_EQ(r->UserName, nullptr);
    EXPECT_EQ(r->MailAddress, nullptr);
    EXPECT_EQ(r->Organization, nullptr);
    EXPECT_STREQ(r->EditorPath, L"");
    EXPECT_STREQ(r->DraftPath, L"\\other\\\\draft\\");
    EXPECT_EQ(r->ArticleFont, nullptr);
    EXPECT_EQ(GetObjectType(first_font), 0u); /* the old font was deleted */
}

/* Values longer than their fields take the default, as if missing. */
TEST_F(SettingsTest, OverLongValuesCountAsMissing)
{
    struct Field {
        const wchar_t *name;
        size_t longest;
    } fields[] = {{L"Server", 259}, {L"DataPath", 259}, {L"EntryName", 20}, {L"FontName", 31}};

    for (const Field &f : fields) {
        std::string name(f.name, f.name + wcslen(f.name));
        SCOPED_TRACE(name);
        DeleteKeyTree(ProgramKeyPath());
        PlantComplete();
        std::wstring fits(f.longest, L'x');
        PlantText(f.name, fits);
        Record ok;
        EXPECT_EQ(Load(ok), 1);
        const wchar_t *field = f.name[0] == L'S' ? ok->Server
                             : f.name[0] == L'D' ? ok->DataPath
                             : f.name[0] == L'E' ? ok->EntryName : ok->FontName;
        EXPECT_EQ(std::wstring(field), fits);

        PlantText(f.name, fits + L"y");
        Record over;
        int complete = Load(over);
        field = f.name[0] == L'S' ? over->Server
              : f.name[0] == L'D' ? over->DataPath
              : f.name[0] == L'E' ? over->EntryName : over->FontName;
        bool required = f.name[0] == L'S' || f.name[0] == L'D';
        EXPECT_EQ(complete, required ? 0 : 1);
        EXPECT_STREQ(field, f.name[0] == L'F' ? L"Tahoma" : L"");
    }

    /* A value stored without its terminator is read whole, and judged by
     * its length just the same. */
    DeleteKeyTree(ProgramKeyPath());
    PlantComplete();
    PlantRaw(L"Server", REG_SZ, Utf16Bytes(L"news", false));
    Record bare;
    EXPECT_EQ(Load(bare), 1);
    EXPECT_STREQ(bare->Server, L"news");
    PlantRaw(L"Server", REG_SZ, Utf16Bytes(std::wstring(260, L'x'), false));
    Record bare_over;
    EXPECT_EQ(Load(bare_over), 0);
    EXPECT_STREQ(bare_over->Server, L"");
}

TEST_F(SettingsTest, OverLongLoginIsNone)
{
    PlantComplete();
    PlantText(L"UserID", std::wstring(255, L'u'));
    PlantText(L"Password", std::wstring(255, L'p'));
    Record fits;
    ASSERT_EQ(Load(fits), 1);
    EXPECT_EQ(Narrow(fits->UserID), std::string(255, 'u'));
    EXPECT_EQ(Narrow(fits->Password), std::string(255, 'p'));

    PlantText(L"UserID", std::wstring(256, L'u'));
    PlantText(L"Password", std::wstring(4000, L'p'));
    Record over;
    ASSERT_EQ(Load(over), 1);
    EXPECT_EQ(over->UserID, nullptr);
    EXPECT_EQ(over->Password, nullptr);

    /* Only the login has a limit: identity texts and the editor are read
     * whatever their length. */
    std::wstring long_name(5000, L'名');
    PlantText(L"UserName", long_name);
    PlantText(L"EditorPath", std::wstring(3000, L'e'));
    Record identity;
    ASSERT_EQ(Load(identity), 1);
    ASSERT_NE(identity->UserName, nullptr);
    EXPECT_EQ(strlen(identity->UserName), 10000u);
    EXPECT_EQ(std::wstring(identity->EditorPath), std::wstring(3000, L'e'));
}

TEST_F(SettingsTest, ValuesOfAnotherTypeCountAsMissing)
{
    PlantComplete();
    PlantText(L"Port", L"119");
    PlantRaw(L"Limit", REG_BINARY, std::string("\x10\x00", 2));
    PlantDword(L"Server", 7);
    PlantDword(L"UserID", 1);
    PlantRaw(L"HeaderColor", REG_DWORD, Le32(0x00FF0000));
    Record r;
    EXPECT_EQ(Load(r), 0);
    EXPECT_EQ(r->Port, 119u);
    EXPECT_EQ(r->Limit, 50u);
    EXPECT_STREQ(r->Server, L"");
    EXPECT_EQ(r->UserID, nullptr);
    EXPECT_EQ(r->HeaderColor, 0x00FF0000u); /* a colour as REG_DWORD is read */

    /* An expandable string is taken as written. */
    PlantRaw(L"Server", REG_EXPAND_SZ, Utf16Bytes(L"%HOST%"));
    Record expand;
    Load(expand);
    EXPECT_STREQ(expand->Server, L"%HOST%");
}

TEST_F(SettingsTest, DescribeMissingSettingsNamesWhatTheLoadMisses)
{
    wchar_t text[100];
    DescribeMissingSettings(text, 100);
    EXPECT_STREQ(text, L"\r\nServer\r\nPort\r\nDataPath\r\nLimit");
    EXPECT_FALSE(KeyExists());

    PlantText(L"Server", L"news");
    PlantDword(L"Limit", 10);
    DescribeMissingSettings(text, 100);
    EXPECT_STREQ(text, L"\r\nPort\r\nDataPath");

    PlantDword(L"Port", 119);
    PlantText(L"DataPath", std::wstring(260, L'd'));
    DescribeMissingSettings(text, 100);
    EXPECT_STREQ(text, L"\r\nDataPath");

    PlantText(L"DataPath", L"\\news\\");
    DescribeMissingSettings(text, 100);
    EXPECT_STREQ(text, L"");

    /* A short buffer keeps the names that fit whole. */
    DeleteKeyTree(ProgramKeyPath());
    wchar_t small[12];
    wmemset(small, L'#', 12);
    DescribeMissingSettings(small, 12);
    EXPECT_STREQ(small, L"\r\nServer");
    DescribeMissingSettings(small, 8);
    EXPECT_STREQ(small, L"");
}

TEST_F(SettingsTest, KeyThatCannotBeCreatedFailsLoadAndSave)
{
    VolatileParentKey parent;
    Record r;
    int complete = -1;
    SetLastError(0);
    EXPECT_EQ(LoadSettings(r.get(), &complete), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_CHILD_MUST_BE_VOLATILE);
    wcscpy(r->Server, L"news");
    SetLastError(0);
    EXPECT_EQ(SaveSettings(r.get()), 0);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_CHILD_MUST_BE_VOLATILE);
    EXPECT_FALSE(KeyExists());
}
