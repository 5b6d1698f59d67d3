#include "settings.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "settings/reg_value.h"
#include "base/scoped_win.h"
#include "text/widestr.h"

/*
 * A value that cannot be used as it stands (another type, or longer than
 * its field) is treated like an absent one: it takes the default, and the
 * four values start-up needs count as missing. A server name or folder cut
 * to fit would silently point somewhere else, and a cut login would fail
 * at the server with no hint why; the properties sheet shows the default
 * instead and the user types the value again.
 */

namespace {

/* The longest login name or password the authentication page can hold. */
const size_t kLoginChars = 255;

int OpenProgramKey(REGSAM access, ScopedRegKey *key)
{
    DWORD disposition;
    LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, 0, nullptr, 0, access,
                              nullptr, key->receive(), &disposition);
    if (rc != ERROR_SUCCESS) {
        SetLastError((DWORD)rc);
        return 0;
    }
    return 1;
}

/* A text for a field of `capacity` characters with its terminator.
 * 1 read, 0 the fallback taken, -1 memory ran out. */
/* Gives a non-empty folder path its trailing backslash; 0 when the field
 * has no room for it. */
int EndWithBackslash(wchar_t *path, size_t capacity)
{
    size_t length = wcslen(path);
    if (length == 0 || path[length - 1] == L'\\')
        return 1;
    if (length + 1 >= capacity)
        return 0;
    path[length] = L'\\';
    path[length + 1] = L'\0';
    return 1;
}

int LoadFixedText(HKEY key, const wchar_t *name, wchar_t *field, size_t capacity, const wchar_t *fallback)
{
    wchar_t *text = ReadRegText(key, name);
    size_t length = text ? wcslen(text) : 0;
    int result = text && length < capacity;
    if (result)
        memcpy(field, text, (length + 1) * sizeof(wchar_t));
    else
        wcscpy(field, fallback);
    if (!text && GetLastError() == ERROR_NOT_ENOUGH_MEMORY)
        result = -1;
    free(text);
    return result;
}

/* 1 read, 0 the fallback taken. */
int LoadNumber(HKEY key, const wchar_t *name, DWORD *field, DWORD fallback)
{
    if (ReadRegDword(key, name, field))
        return 1;
    *field = fallback;
    return 0;
}

void LoadSignedNumber(HKEY key, const wchar_t *name, LONG *field, LONG fallback)
{
    DWORD number;
    *field = LoadNumber(key, name, &number, (DWORD)fallback) ? (LONG)number : fallback;
}

/* Replaces *field with the value in 8-bit form, or none when the value is
 * absent, not a string or longer than `limit` characters (0: no limit).
 * Fails when memory runs out, and, with `errors_fail`, when the registry
 * cannot read a value that is there. */
int LoadNarrowText(HKEY key, const wchar_t *name, size_t limit, bool errors_fail, char **field)
{
    free(*field);
    *field = nullptr;
    wchar_t *wide = ReadRegText(key, name);
    if (!wide) {
        DWORD error = GetLastError();
        if (error == ERROR_NOT_ENOUGH_MEMORY)
            return 0;
        if (errors_fail && error != ERROR_FILE_NOT_FOUND && error != ERROR_INVALID_DATA)
            return 0;
        return 1;
    }
    if (limit && wcslen(wide) > limit) {
        free(wide);
        return 1;
    }
    *field = ToNarrow(wide);
    free(wide);
    if (!*field) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    return 1;
}

/* Nothing but spaces and tabs (the empty text included). */
bool IsBlank(const char *text)
{
    for (; *text; text++)
        if (*text != ' ' && *text != '\t')
            return false;
    return true;
}

void DropIfBlank(char **field)
{
    if (*field && IsBlank(*field)) {
        free(*field);
        *field = nullptr;
    }
}

int WriteNarrowText(HKEY key, const wchar_t *name, const char *text)
{
    wchar_t *wide = ToWide(text);
    if (!wide)
        return 0;
    int result = WriteRegText(key, name, wide);
    free(wide);
    return result;
}

/* An identity text is always written; none becomes the empty text. */
int WriteIdentityText(HKEY key, const wchar_t *name, const char *text)
{
    return text ? WriteNarrowText(key, name, text) : WriteRegText(key, name, L"");
}

} // namespace

void InitSettings(Settings *s)
{
    memset(s, 0, sizeof(*s));
}

void FreeSettings(Settings *s)
{
    char **narrow[] = {&s->UserID, &s->Password, &s->UserName, &s->MailAddress, &s->Organization};
    for (char **field : narrow) {
        free(*field);
        *field = nullptr;
    }
    free(s->EditorPath);
    s->EditorPath = nullptr;
    free(s->DraftPath);
    s->DraftPath = nullptr;
}

int LoadSettings(Settings *s, int *SettingsComplete)
{
    *SettingsComplete = 1;
    ScopedRegKey key;
    if (!OpenProgramKey(KEY_READ, &key))
        return 0;
    HKEY k = key.get();

    int read = LoadFixedText(k, L"Server", s->Server, ARRAYSIZE(s->Server), L"");
    if (read < 0)
        return 0;
    if (!read)
        *SettingsComplete = 0;
    if (!LoadNumber(k, L"Port", &s->Port, 119))
        *SettingsComplete = 0;
    read = LoadFixedText(k, L"DataPath", s->DataPath, ARRAYSIZE(s->DataPath), L"");
    if (read < 0)
        return 0;
    if (!read || !EndWithBackslash(s->DataPath, ARRAYSIZE(s->DataPath)))
        *SettingsComplete = 0;
    /* A limit of 0 would fetch nothing on every run. */
    if (!LoadNumber(k, L"Limit", &s->Limit, 50) || s->Limit == 0) {
        s->Limit = 50;
        *SettingsComplete = 0;
    }

    if (!LoadNarrowText(k, L"UserID", kLoginChars, true, &s->UserID))
        return 0;
    if (!LoadNarrowText(k, L"Password", kLoginChars, true, &s->Password))
        return 0;

    LoadNumber(k, L"KeyMode", &s->KeyMode, 0);
    LoadNumber(k, L"AutoNextArticle", &s->AutoNextArticle, 1);
    LoadNumber(k, L"Dialup", &s->Dialup, 0);
    if (LoadFixedText(k, L"EntryName", s->EntryName, ARRAYSIZE(s->EntryName), L"") < 0)
        return 0;
    LoadNumber(k, L"DisconnectWaitTime", &s->DisconnectWaitTime, 0);
    if (LoadFixedText(k, L"FontName", s->FontName, ARRAYSIZE(s->FontName), L"Tahoma") < 0)
        return 0;
    LoadSignedNumber(k, L"FontSizeA", &s->FontSizeA, 14);
    LoadSignedNumber(k, L"FontSizeS", &s->FontSizeS, 14);

    /* A font that cannot be made leaves the view on the system font. */
    MakeViewFont(s->FontName, s->FontSizeA, &s->ArticleFont);
    MakeViewFont(s->FontName, s->FontSizeS, &s->SubjectFont);

    /* An encryption mode this program does not know falls back to none
     * rather than to a mode the user did not choose. */
    if (!LoadNumber(k, L"TlsMode", &s->TlsMode, kTlsNone) || s->TlsMode >= kTlsModeCount)
        s->TlsMode = kTlsNone;
    if (LoadFixedText(k, L"CaFile", s->CaFile, ARRAYSIZE(s->CaFile), L"") < 0)
        return 0;
    LoadNumber(k, L"Compress", &s->Compress, 1);
    LoadNumber(k, L"DecodeCharsets", &s->DecodeCharsets, 1);
    LoadNumber(k, L"Posting", &s->Posting, 0);

    LoadNumber(k, L"HeaderColor", &s->HeaderColor, 0);
    LoadNumber(k, L"ReferenceLine", &s->ReferenceLine, 0);

    if (!LoadNarrowText(k, L"UserName", 0, false, &s->UserName))
        return 0;
    DropIfBlank(&s->UserName);
    if (!LoadNarrowText(k, L"MailAddress", 0, false, &s->MailAddress))
        return 0;
    DropIfBlank(&s->MailAddress);
    if (!LoadNarrowText(k, L"Organization", 0, false, &s->Organization))
        return 0;
    /* A blank organisation is dropped only beside a mail address. */
    if (s->MailAddress)
        DropIfBlank(&s->Organization);

    free(s->EditorPath);
    s->EditorPath = ReadRegText(k, L"EditorPath");
    if (!s->EditorPath) {
        if (GetLastError() == ERROR_NOT_ENOUGH_MEMORY)
            return 0;
        s->EditorPath = (wchar_t *)calloc(1, sizeof(wchar_t));
        if (!s->EditorPath) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return 0;
        }
    }

    /* DataPath already ends in a backslash, so the draft folder's name
     * holds a doubled one: "\news\\draft\". */
    free(s->DraftPath);
    size_t data_length = wcslen(s->DataPath);
    s->DraftPath = (wchar_t *)malloc((data_length + 5 + 3) * sizeof(wchar_t));
    if (!s->DraftPath) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    wcscpy(s->DraftPath, s->DataPath);
    wcscpy(s->DraftPath + data_length, L"\\draft\\");
    return 1;
}

int SaveSettings(Settings *s)
{
    /* The folder's backslash must fit the field; nothing is written if not. */
    if (!EndWithBackslash(s->DataPath, ARRAYSIZE(s->DataPath))) {
        SetLastError(ERROR_MORE_DATA);
        return 0;
    }

    ScopedRegKey key;
    if (!OpenProgramKey(KEY_READ | KEY_WRITE, &key))
        return 0;
    HKEY k = key.get();

    if (!WriteRegText(k, L"Server", s->Server) || !WriteRegDword(k, L"Port", s->Port))
        return 0;
    if (!WriteRegText(k, L"DataPath", s->DataPath) || !WriteRegDword(k, L"Limit", s->Limit))
        return 0;

    /* A password is kept only beside a login name. */
    if (s->UserID) {
        if (!WriteNarrowText(k, L"UserID", s->UserID))
            return 0;
        if (s->Password ? !WriteNarrowText(k, L"Password", s->Password) : !DeleteRegValue(k, L"Password"))
            return 0;
    } else if (!DeleteRegValue(k, L"UserID") || !DeleteRegValue(k, L"Password")) {
        return 0;
    }

    if (!WriteRegDword(k, L"KeyMode", s->KeyMode) ||
        !WriteRegDword(k, L"AutoNextArticle", s->AutoNextArticle) ||
        !WriteRegDword(k, L"Dialup", s->Dialup) ||
        !WriteRegText(k, L"EntryName", s->EntryName) ||
        !WriteRegDword(k, L"DisconnectWaitTime", s->DisconnectWaitTime) ||
        !WriteRegText(k, L"FontName", s->FontName) ||
        !WriteRegDword(k, L"FontSizeA", (DWORD)s->FontSizeA) ||
        !WriteRegDword(k, L"FontSizeS", (DWORD)s->FontSizeS))
        return 0;

    if (!WriteRegDword(k, L"TlsMode", s->TlsMode) || !WriteRegDword(k, L"Compress", s->Compress) ||
        !WriteRegDword(k, L"DecodeCharsets", s->DecodeCharsets) || !WriteRegDword(k, L"Posting", s->Posting))
        return 0;
    if (s->CaFile[0] ? !WriteRegText(k, L"CaFile", s->CaFile) : !DeleteRegValue(k, L"CaFile"))
        return 0;

    /* The colours are bytes, not numbers, in the registry. */
    if (!WriteRegBinary32(k, L"HeaderColor", s->HeaderColor) ||
        !WriteRegBinary32(k, L"ReferenceLine", s->ReferenceLine))
        return 0;

    if (!WriteIdentityText(k, L"UserName", s->UserName) ||
        !WriteIdentityText(k, L"MailAddress", s->MailAddress) ||
        !WriteIdentityText(k, L"Organization", s->Organization))
        return 0;

    return WriteRegText(k, L"EditorPath", s->EditorPath ? s->EditorPath : L"");
}
