#include "certificate_dialog.h"

#include <stdio.h>
#include <stdlib.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

enum { kTextChars = 1024 };

/* Appends the string `id` and a line break to `text`. */
void AppendLine(wchar_t *text, UINT id)
{
    size_t used = wcslen(text);
    LoadResText(id, text + used, (int)(kTextChars - used));
    wcsncat(text, L"\r\n", kTextChars - wcslen(text) - 1);
}

void ProblemText(const NntpCertificate *c, wchar_t *text)
{
    wchar_t server[300];
    _snwprintf(server, ARRAYSIZE(server) - 1, L"%ls:%lu", c->server ? c->server : L"", (unsigned long)c->port);
    server[ARRAYSIZE(server) - 1] = L'\0';
    FormatResText(IDS_CERT_INTRO, server, text, kTextChars);
    wcsncat(text, L"\r\n", kTextChars - wcslen(text) - 1);
    static const struct {
        DWORD problem;
        UINT id;
    } kProblems[] = {
        {kCertificatePinChanged, IDS_CERT_PIN_CHANGED}, {kCertificateUntrusted, IDS_CERT_UNTRUSTED},
        {kCertificateWrongHost, IDS_CERT_WRONG_HOST},   {kCertificateExpired, IDS_CERT_EXPIRED},
        {kCertificateNotYetValid, IDS_CERT_NOT_YET_VALID}, {kCertificateOtherFault, IDS_CERT_OTHER_FAULT},
    };
    for (const auto &p : kProblems)
        if (c->problems & p.problem)
            AppendLine(text, p.id);
}

/* One 8-bit field of the certificate as 16-bit text. */
void Field(const char *value, wchar_t *out, size_t chars)
{
    wchar_t *wide = ToWide(value);
    CopyWideText(out, wide ? wide : L"?", chars);
    free(wide);
}

void DetailsText(const NntpCertificate *c, wchar_t *text)
{
    wchar_t subject[256], issuer[256], from[20], to[20], fingerprint[3 * kFingerprintBytes];
    Field(c->subject, subject, ARRAYSIZE(subject));
    Field(c->issuer, issuer, ARRAYSIZE(issuer));
    Field(c->valid_from, from, ARRAYSIZE(from));
    Field(c->valid_to, to, ARRAYSIZE(to));
    for (int i = 0; i < kFingerprintBytes; i++)
        _snwprintf(fingerprint + 3 * i, 4, i + 1 < kFingerprintBytes ? L"%02X:" : L"%02X", c->fingerprint[i]);
    wchar_t format[256];
    LoadResText(IDS_CERT_DETAILS, format, ARRAYSIZE(format));
    _snwprintf(text, kTextChars - 1, format, subject, issuer, from, to, fingerprint);
    text[kTextChars - 1] = L'\0';
}

INT_PTR CertificateHandler(HWND dialog, UINT message, WPARAM wp, LPARAM, const NntpCertificate *certificate)
{
    switch (message) {
    case WM_INITDIALOG: {
        wchar_t text[kTextChars];
        ProblemText(certificate, text);
        SetDlgItemTextW(dialog, IDC_CERT_PROBLEM, text);
        DetailsText(certificate, text);
        SetDlgItemTextW(dialog, IDC_CERT_DETAILS, text);
        /* Trust is never the answer Enter gives. */
        SetFocus(GetDlgItem(dialog, IDCANCEL));
        return FALSE;
    }
    case WM_COMMAND:
        if (LOWORD(wp) == IDC_CERT_TRUST)
            EndDialog(dialog, kDialogOk);
        else if (LOWORD(wp) == IDCANCEL)
            EndDialog(dialog, kDialogCancel);
        return TRUE;
    }
    return FALSE;
}

int AskOwner(void *context, const NntpCertificate *certificate)
{
    return BackgroundJobAsk((BackgroundJob *)context, WM_PELNOR_ASK_CERTIFICATE, (LPARAM)certificate) == 1;
}

} // namespace

int AskTrustCertificate(HINSTANCE instance, HWND owner, const NntpCertificate *certificate)
{
    if (RunDialog<CertificateHandler>(instance, IDD_CERTIFICATE, owner, certificate) != kDialogOk)
        return 0;
    if (!WriteCertificatePin(certificate->server, certificate->port, certificate->fingerprint))
        ShowLastErrorBoxRes(IDS_CERT_PIN_FAILED, IDS_CAPTION_PELNOR, MB_ICONEXCLAMATION);
    return 1;
}

NntpTrust JobTrust(BackgroundJob *job)
{
    NntpTrust trust = {job, AskOwner};
    return trust;
}

bool AnswerCertificateQuestion(HINSTANCE instance, HWND dialog, UINT message, LPARAM lp)
{
    if (message != WM_PELNOR_ASK_CERTIFICATE)
        return false;
    int trusted = AskTrustCertificate(instance, dialog, (const NntpCertificate *)lp);
    SetWindowLongPtrW(dialog, DWLP_MSGRESULT, trusted);
    return true;
}
