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
    wchar_t DataPath[260];     /* ends in one backslash once loaded or saved */
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
    DWORD TlsMode;             /* kTlsNone, kTlsImplicit or kTlsStartTls */
    wchar_t CaFile[260];       /* a PEM file of roots trusted besides the system's; "" none */
    DWORD Compress;            /* 1: COMPRESS DEFLATE when the server offers it */
    DWORD DecodeCharsets;      /* 1: articles of any charset; the views wrap and match by character */
    DWORD Posting;             /* 1: drafts are edited and sent; 0: the drafts pane only lists them */
};

/* How the link to the server is encrypted. */
enum {
    kTlsNone = 0,
    kTlsImplicit = 1, /* TLS from the first byte, on its own port */
    kTlsStartTls = 2, /* plain greeting, then STARTTLS */
    kTlsModeCount = 3,
    kPlainPort = 119,
    kTlsPort = 563,
};

/* Clears the record: every number zero, the owned texts and the font
 * handles none. */
void InitSettings(Settings *s);
/* Frees the owned texts and sets them to none; leaves the font handles
 * alone (the caller deletes them). */
void FreeSettings(Settings *s);

/* Fills the record from the registry, creating the program key if missing;
 * missing values take their defaults and never fail the load. The texts and
 * fonts already held are replaced. *SettingsComplete is 1 when Server, Port,
 * DataPath and Limit were all present; a DataPath without its trailing
 * backslash gets one in the record (a path with no room for it counts as
 * missing), and a Limit of 0 counts as missing and reads as 50. A value of another type, or longer
 * than its field (Server and DataPath 259 characters, EntryName 20,
 * FontName 31, UserID and Password 255), counts as missing. Returns 1, or 0
 * with the last error set: the key cannot be opened, an existing UserID or
 * Password cannot be read, or memory runs out. */
int LoadSettings(Settings *s, int *SettingsComplete);

/* Writes the record, stopping at the first failure (last error set). A
 * non-empty DataPath without a trailing backslash gets one, in the record as
 * well; when the field has no room for it the save fails with 234 before
 * anything is written. Password is written only beside a UserID; UserName,
 * MailAddress and Organization are always written, none as "". */
int SaveSettings(Settings *s);

/* Deletes *font if any and makes a font of the face and height in its
 * place; size -1 leaves none (the views use the system font). */
int MakeViewFont(const wchar_t *face, LONG size, HFONT *font);

/* View options: REG_DWORD values in subkeys of the program key. */
static const wchar_t kSubjectViewSubkey[] = L"SubjectView";
static const wchar_t kArticleViewSubkey[] = L"ArticleView";
static const wchar_t kViewReadArticleName[] = L"ViewReadArticle";
static const wchar_t kPriorityViewLevelName[] = L"PriorityViewLevel";
static const wchar_t kShowArticleHeaderName[] = L"ShowArticleHeader";
static const wchar_t kThreadViewName[] = L"ThreadView";
enum {
    kDefaultViewReadArticle = 0,
    kDefaultPriorityViewLevel = 1, /* low: every subject */
    kDefaultShowArticleHeader = 0,
    kDefaultThreadView = 0 /* the flat list in priority runs */
};

/* The reading views' options: one record, owned by the frame, whose copies
 * the views are handed. */
struct ViewOptions {
    DWORD view_read_article;   /* ViewReadArticle */
    DWORD priority_level;      /* PriorityViewLevel: 0 normal, 1 low, 2 high */
    DWORD show_article_header; /* ShowArticleHeader */
    DWORD thread_view;         /* ThreadView */
};

/* All four from the registry; a value that cannot be read gives its
 * default. */
void ReadViewOptions(ViewOptions *options);

/* One 32-bit value of a subkey of the program key; the key and the subkey
 * are created if missing. A failed read leaves *value alone. */
int ReadViewOption(const wchar_t *subkey, const wchar_t *name, DWORD *value);
int WriteViewOption(const wchar_t *subkey, const wchar_t *name, DWORD value);

/* The three options in their subkeys. A failed read returns 0 with the
 * last error set and the option's default in *value, so a caller may use
 * *value either way. */
int ReadViewReadArticle(DWORD *value);
int WriteViewReadArticle(DWORD value);
int ReadPriorityViewLevel(DWORD *value);
int WritePriorityViewLevel(DWORD value);
int ReadShowArticleHeader(DWORD *value);
int WriteShowArticleHeader(DWORD value);
int ReadThreadView(DWORD *value);
int WriteThreadView(DWORD value);

/* The download's pipeline depth: REG_DWORD PipelineDepth in the Download
 * subkey, articles whose HEAD and BODY may be out before their replies are
 * read. 1 is the one-command-at-a-time dialogue. */
static const wchar_t kDownloadSubkey[] = L"Download";
static const wchar_t kPipelineDepthName[] = L"PipelineDepth";
enum {
    kPipelineDepthMin = 1,
    kPipelineDepthMax = 256,
    /* The fastest depth measured against INN on loopback and over a 50 ms
     * link; deeper gains nothing and holds more of the server's output. */
    kDefaultPipelineDepth = 128
};

/* The depth, clamped to kPipelineDepthMin..kPipelineDepthMax; a missing or
 * unreadable value gives the default (0 with the last error set). */
int ReadPipelineDepth(DWORD *value);

/* The pinned certificates: subkey Certificates of the program key, one
 * REG_SZ value per "host:port" holding a SHA-256 fingerprint as 64 hex
 * digits. */
static const wchar_t kCertificatesSubkey[] = L"Certificates";
enum { kFingerprintBytes = 32 };

/* The fingerprint pinned for `host` and `port`: 1, or 0 with the last
 * error (ERROR_FILE_NOT_FOUND when none is pinned; a value that is not 64
 * hex digits counts as none). */
int ReadCertificatePin(const wchar_t *host, DWORD port, unsigned char fingerprint[kFingerprintBytes]);
/* Pins `fingerprint` for `host` and `port`, replacing any earlier one. */
int WriteCertificatePin(const wchar_t *host, DWORD port, const unsigned char fingerprint[kFingerprintBytes]);

/* Digits only, no sign or blanks; the empty text is 0. No overflow check:
 * the number wraps. Fails with 13 and leaves *value alone otherwise. */
int ParseDecimal(const wchar_t *text, DWORD *value);

/* Removes every trailing backslash in place. */
void StripTrailingBackslashes(wchar_t *text);

#endif
