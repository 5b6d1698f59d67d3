#include "settings.h"

#include "settings/reg_value.h"
#include "base/scoped_win.h"

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

namespace {

/* The program key (created if missing), then its subkey (likewise). */
int OpenViewKey(const wchar_t *subkey, ScopedRegKey *view_key)
{
    if (!subkey) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    ScopedRegKey program_key;
    DWORD disposition;
    LONG rc = RegCreateKeyExW(HKEY_CURRENT_USER, PELNOR_REGISTRY_KEY, 0, nullptr, 0,
                              KEY_READ | KEY_WRITE, nullptr, program_key.receive(), &disposition);
    if (rc == ERROR_SUCCESS)
        rc = RegCreateKeyExW(program_key.get(), subkey, 0, nullptr, 0, KEY_READ | KEY_WRITE,
                             nullptr, view_key->receive(), &disposition);
    if (rc != ERROR_SUCCESS) {
        SetLastError((DWORD)rc);
        return 0;
    }
    return 1;
}

/* On failure the option's default, with the last error kept. */
int ReadWithDefault(const wchar_t *subkey, const wchar_t *name, DWORD fallback, DWORD *value)
{
    if (ReadViewOption(subkey, name, value))
        return 1;
    *value = fallback;
    return 0;
}

} // namespace

int ReadViewOption(const wchar_t *subkey, const wchar_t *name, DWORD *value)
{
    ScopedRegKey key;
    if (!OpenViewKey(subkey, &key))
        return 0;
    return ReadRegDword(key.get(), name, value);
}

int WriteViewOption(const wchar_t *subkey, const wchar_t *name, DWORD value)
{
    ScopedRegKey key;
    if (!OpenViewKey(subkey, &key))
        return 0;
    return WriteRegDword(key.get(), name, value);
}

int ReadViewReadArticle(DWORD *value)
{
    return ReadWithDefault(kSubjectViewSubkey, kViewReadArticleName, kDefaultViewReadArticle, value);
}

int WriteViewReadArticle(DWORD value)
{
    return WriteViewOption(kSubjectViewSubkey, kViewReadArticleName, value);
}

int ReadPriorityViewLevel(DWORD *value)
{
    return ReadWithDefault(kSubjectViewSubkey, kPriorityViewLevelName, kDefaultPriorityViewLevel, value);
}

int WritePriorityViewLevel(DWORD value)
{
    return WriteViewOption(kSubjectViewSubkey, kPriorityViewLevelName, value);
}

int ReadThreadView(DWORD *value)
{
    return ReadWithDefault(kSubjectViewSubkey, kThreadViewName, kDefaultThreadView, value);
}

int WriteThreadView(DWORD value)
{
    return WriteViewOption(kSubjectViewSubkey, kThreadViewName, value);
}

void ReadViewOptions(ViewOptions *options)
{
    ReadViewReadArticle(&options->view_read_article);
    ReadPriorityViewLevel(&options->priority_level);
    ReadShowArticleHeader(&options->show_article_header);
    ReadThreadView(&options->thread_view);
}

int ReadShowArticleHeader(DWORD *value)
{
    return ReadWithDefault(kArticleViewSubkey, kShowArticleHeaderName, kDefaultShowArticleHeader, value);
}

int WriteShowArticleHeader(DWORD value)
{
    return WriteViewOption(kArticleViewSubkey, kShowArticleHeaderName, value);
}

int ReadPipelineDepth(DWORD *value)
{
    int read = ReadWithDefault(kDownloadSubkey, kPipelineDepthName, kDefaultPipelineDepth, value);
    if (*value < kPipelineDepthMin)
        *value = kPipelineDepthMin;
    else if (*value > kPipelineDepthMax)
        *value = kPipelineDepthMax;
    return read;
}

namespace {

/* "host:port", the name a pin is kept under. */
void PinName(const wchar_t *host, DWORD port, wchar_t *name, size_t capacity)
{
    _snwprintf(name, capacity - 1, L"%ls:%lu", host, (unsigned long)port);
    name[capacity - 1] = L'\0';
}

int HexDigit(wchar_t c)
{
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    return -1;
}

} // namespace

int ReadCertificatePin(const wchar_t *host, DWORD port, unsigned char fingerprint[kFingerprintBytes])
{
    ScopedRegKey key;
    if (!OpenViewKey(kCertificatesSubkey, &key))
        return 0;
    wchar_t name[300];
    PinName(host, port, name, ARRAYSIZE(name));
    wchar_t *text = ReadRegText(key.get(), name);
    if (!text)
        return 0;
    int ok = wcslen(text) == 2 * kFingerprintBytes;
    for (int i = 0; ok && i < kFingerprintBytes; i++) {
        int high = HexDigit(text[2 * i]), low = HexDigit(text[2 * i + 1]);
        ok = high >= 0 && low >= 0;
        fingerprint[i] = (unsigned char)(high * 16 + low);
    }
    free(text);
    if (!ok)
        SetLastError(ERROR_FILE_NOT_FOUND);
    return ok;
}

int WriteCertificatePin(const wchar_t *host, DWORD port, const unsigned char fingerprint[kFingerprintBytes])
{
    ScopedRegKey key;
    if (!OpenViewKey(kCertificatesSubkey, &key))
        return 0;
    wchar_t name[300];
    PinName(host, port, name, ARRAYSIZE(name));
    wchar_t text[2 * kFingerprintBytes + 1];
    for (int i = 0; i < kFingerprintBytes; i++)
        _snwprintf(text + 2 * i, 3, L"%02X", fingerprint[i]);
    text[2 * kFingerprintBytes] = L'\0';
    return WriteRegText(key.get(), name, text);
}
