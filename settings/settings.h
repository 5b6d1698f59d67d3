/*
 * The configuration record and its registry persistence under
 * HKEY_CURRENT_USER\Software\marrowby\Pelnor, plus the three view options
 * kept one value at a time in subkeys of the same key.
 */
#ifndef PELNOR_SETTINGS_H
#define PELNOR_SETTINGS_H

#include <windows.h>

#define PELNOR_REGISTRY_KEY L"Software\\marrowby\\Pelnor"

struct Settings {
    wchar_t Server[260];
    wchar_t DataPath[260];     /* ends in one backslash after a save */
    DWORD Port;
    DWORD Limit;               /* most articles per group and run */
    DWORD KeyMode;             /* 1: article view keys scroll one line */
    DWORD AutoNextArticle;
    DWORD Dialup;
    wchar_t EntryName[21];
    DWORD DisconnectWaitTime;  /* seconds */
    char *UserID;              /* owned 8-bit texts, or null for none */
    char *Password;
    char *UserName;
    char *MailAddress;
    char *Organization;
    wchar_t FontName[32];
    LONG FontSizeA;            /* -1: no font of our own */
    LONG FontSizeS;
    HFONT ArticleFont;         /* made at load; not stored */
    HFONT SubjectFont;
    COLORREF HeaderColor;
    COLORREF ReferenceLine;
    COLORREF SampleColor;      /* colour page preview; not stored */
    wchar_t *EditorPath;       /* owned; never null after a load */
    wchar_t *DraftPath;        /* owned; DataPath + "\draft\" */
};

/* Sets the owned texts and font handles to none. */
void InitSettings(Settings *s);
/* Frees the owned texts; leaves the font handles alone. */
void FreeSettings(Settings *s);

/* Fills the record from the registry, defaults for missing values.
 * *SettingsComplete is 1 when Server, Port, DataPath and Limit were all
 * present. Returns 1, or 0 with the last error set. */
int LoadSettings(Settings *s, int *SettingsComplete);

/* Writes the record; appends the missing trailing backslash to DataPath. */
int SaveSettings(Settings *s);

/* Names of the values that make the settings complete and are missing from
 * the registry, each after a line break, into `out` (characters). */
void DescribeMissingSettings(wchar_t *out, size_t out_chars);

/* Replaces *font with a font of the face and height; size -1 gives none. */
int MakeViewFont(const wchar_t *face, LONG size, HFONT *font);

/* One 32-bit value of a subkey of the program key (created if missing). */
int ReadViewOption(const wchar_t *subkey, const wchar_t *name, DWORD *value);
int WriteViewOption(const wchar_t *subkey, const wchar_t *name, DWORD value);

int ReadViewReadArticle(DWORD *value);
int WriteViewReadArticle(DWORD value);
int ReadPriorityViewLevel(DWORD *value);
int WritePriorityViewLevel(DWORD value);
int ReadShowArticleHeader(DWORD *value);
int WriteShowArticleHeader(DWORD value);

/* Digits only, no sign or blanks; the empty text is 0. No overflow check. */
int ParseDecimal(const wchar_t *text, DWORD *value);

/* Removes every trailing backslash in place. */
void StripTrailingBackslashes(wchar_t *text);

#endif
