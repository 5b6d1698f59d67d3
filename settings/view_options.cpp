#include "settings.h"

#include "settings/reg_value.h"
#include "base/scoped_win.h"

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
