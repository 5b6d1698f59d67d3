/*
 * What came of a download run or of one group in it, as the protocol
 * knows it: a kind, the step it happened at, the system error and the
 * server's line. The window side words it for the user (download_texts.h).
 */
#ifndef PELNOR_NNTP_OUTCOME_H
#define PELNOR_NNTP_OUTCOME_H

#include <windows.h>

enum NntpOutcomeKind {
    kOutcomeFetched = 0, /* a group's range: `count` stored, maybe `limited` */
    kOutcomeNoNewArticles,
    kOutcomeNoMemory,
    kOutcomeConnectFailed,
    kOutcomeNoGreeting,
    kOutcomeRefused,         /* `reply` says no */
    kOutcomeSendFailed,
    kOutcomeReceiveFailed,
    kOutcomeUnexpectedReply, /* `reply` is not what was asked for */
    kOutcomeIncomplete,      /* a reply's text ended early */
    kOutcomeIndexInitFailed,
    kOutcomeLogOpenFailed,
    kOutcomeIndexOpenFailed,
    kOutcomeLogWriteFailed,
    kOutcomeIndexWriteFailed,
    kOutcomeTlsFailed,          /* the handshake broke: `error` */
    kOutcomeCaFileFailed,       /* the file of extra roots: `error` */
    kOutcomeCertificateRefused, /* the user did not trust the server's certificate */
    kOutcomeStartTlsRefused,    /* `reply` */
    kOutcomeEncryptionRequired, /* a 483 to the login: `reply` */
    kOutcomePostRefused,        /* the server refused a draft: `reply` */
    kOutcomeDraftIncomplete,    /* a draft without Newsgroups or Subject */
    kOutcomeDraftUnreadable,    /* a draft could not be read or given its Message-ID: `error` */
};

/* Where it happened. */
enum NntpOutcomeStep {
    kOutcomeAtSession, /* connect, greeting, memory */
    kOutcomeAtUser,
    kOutcomeAtPassword,
    kOutcomeAtGroup,   /* the GROUP exchange */
    kOutcomeAtArticle, /* anything after it, the store's failures too */
    kOutcomeAtPost,    /* sending the waiting drafts */
};

enum {
    kSeverityInformation = 0,
    kSeverityWarning = 1, /* the run goes on with the next group */
    kSeverityError = 2,   /* the run stops and the text is shown */
};

struct NntpOutcome {
    NntpOutcomeKind kind;
    NntpOutcomeStep step;
    DWORD severity;
    DWORD error;          /* the system error of a failure */
    DWORD count;          /* kOutcomeFetched: articles stored */
    DWORD limit;          /* ...and the per-run limit, */
    int limited;          /* reached */
    const char *reply;    /* the server's line, line end included, or null */
    int decode_reply;     /* DecodeCharsets: the line is read as any header text is */
    const wchar_t *group; /* null before the first group */
    const wchar_t *draft; /* kOutcomeAtPost: the draft's subject, or its file name */
};

/* An outcome of `kind` at `step`, nothing else said yet. */
inline NntpOutcome MakeOutcome(NntpOutcomeKind kind, NntpOutcomeStep step, DWORD severity, DWORD error = 0)
{
    NntpOutcome outcome = {};
    outcome.kind = kind;
    outcome.step = step;
    outcome.severity = severity;
    outcome.error = error;
    return outcome;
}

#endif
