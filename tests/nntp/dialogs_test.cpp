#include <gtest/gtest.h>
#include <windows.h>
#include <commctrl.h>

#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include "nntp/certificate_dialog.h"
#include "nntp/download_run.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/registry_fixture.h"

TEST(Progress, AGroupStartSetsTheNameAndTheBarsSixteenBitRange)
{
    HWND dialog = CreateDialogParamW(
        GetModuleHandleW(nullptr), MAKEINTRESOURCEW(IDD_PROGRESS), nullptr,
        [](HWND, UINT, WPARAM, LPARAM) -> INT_PTR { return FALSE; }, 0);
    ASSERT_NE(dialog, nullptr);
    HWND bar = GetDlgItem(dialog, IDC_PROGRESS_BAR);
    ProgressDialogShowGroup(dialog, L"fj.comp.misc", 5);
    EXPECT_EQ(WindowText(GetDlgItem(dialog, IDC_PROGRESS_GROUP)), L"fj.comp.misc");
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 5);
    SendMessageW(bar, PBM_DELTAPOS, 2, 0);

    /* The bound travels in 16 bits: a range of 70000 shows as 4464. */
    ProgressDialogShowGroup(dialog, L"japan.test", 70000);
    EXPECT_EQ(SendMessageW(bar, PBM_GETRANGE, FALSE, 0), 70000 - 65536);
    EXPECT_EQ(SendMessageW(bar, PBM_GETPOS, 0, 0), 0);
    DestroyWindow(dialog);
}

/* The certificate question: what is wrong and what the certificate is, in
 * a dialog the device's screen holds; only the trust button trusts (Enter
 * gives the cancel button), and trusting pins the fingerprint for this
 * server, which the next job's server value carries. */
TEST(CertificateDialog, ShowsTheFaultsAndOnlyTrustPins)
{
    NntpCertificate certificate = {};
    certificate.problems = kCertificatePinChanged | kCertificateExpired | kCertificateWrongHost;
    strcpy(certificate.subject, "CN=localhost");
    strcpy(certificate.issuer, "O=Pelnor tests, CN=Pelnor Test CA");
    strcpy(certificate.valid_from, "2020-01-01 00:00:00");
    strcpy(certificate.valid_to, "2021-01-01 00:00:00");
    for (int i = 0; i < kFingerprintBytes; i++)
        certificate.fingerprint[i] = (unsigned char)(0xE0 + i);
    certificate.server = L"news.example.jp";
    certificate.port = 563;
    const struct {
        const char *name;
        std::function<void(HWND)> answer;
        int trusted;
    } answers[] = {
        {"cancel", [](HWND dialog) { ClickButton(dialog, IDCANCEL); }, 0},
        {"trust", [](HWND dialog) { ClickButton(dialog, IDC_CERT_TRUST); }, 1},
    };
    for (const auto &a : answers) {
        SCOPED_TRACE(a.name);
        DeletePelnorKey();
        ModalWatcher watcher;
        std::wstring problem, details;
        RECT outer = {};
        watcher.WorkDialogs([&](HWND dialog) {
            problem = WindowText(GetDlgItem(dialog, IDC_CERT_PROBLEM));
            details = WindowText(GetDlgItem(dialog, IDC_CERT_DETAILS));
            GetWindowRect(dialog, &outer);
            EXPECT_EQ(LOWORD(SendMessageW(dialog, DM_GETDEFID, 0, 0)), IDCANCEL);
            EXPECT_EQ(CutTexts(dialog), std::vector<std::wstring>{});
            UpdateWindow(dialog);
            SaveScreenshot(dialog, L"certificate");
            a.answer(dialog);
        });
        EXPECT_EQ(AskTrustCertificate(GetModuleHandleW(nullptr), nullptr, &certificate), a.trusted);
        EXPECT_EQ(watcher.dialog_titles(), std::vector<std::wstring>{L"ｻｰﾊﾞ証明書の確認"});
        EXPECT_EQ(problem, L"news.example.jp:563 の証明書を確認できませんでした。\r\n"
                           L"警告: 前回信頼した証明書から変わっています。\r\n"
                           L"このサーバ名の証明書ではありません。\r\n有効期限が切れています。\r\n");
        EXPECT_EQ(details, L"発行先: CN=localhost\r\n発行者: O=Pelnor tests, CN=Pelnor Test CA\r\n有効期間(UTC):\r\n"
                           L"2020-01-01 00:00:00 から\r\n2021-01-01 00:00:00 まで\r\nSHA-256:\r\n"
                           L"E0:E1:E2:E3:E4:E5:E6:E7:E8:E9:EA:EB:EC:ED:EE:EF:F0:F1:F2:F3:F4:F5:F6:F7:F8:F9:FA:FB:FC:FD:FE:FF");
        EXPECT_TRUE(outer.right - outer.left <= 240 && outer.bottom - outer.top <= 320)
            << outer.right - outer.left << " x " << outer.bottom - outer.top;

        Settings settings;
        InitSettings(&settings);
        wcscpy(settings.Server, L"news.example.jp");
        settings.Port = 563;
        settings.TlsMode = kTlsImplicit;
        NntpServer server;
        ASSERT_EQ(NntpServerFromSettings(&server, &settings, nullptr), 1);
        EXPECT_EQ(server.has_pin, a.trusted == 1);
        if (a.trusted) {
            EXPECT_EQ(memcmp(server.pin, certificate.fingerprint, kFingerprintBytes), 0);
        }
        settings.Port = 564; /* another port is another server */
        ASSERT_EQ(NntpServerFromSettings(&server, &settings, nullptr), 1);
        EXPECT_FALSE(server.has_pin);
        FreeSettings(&settings);
    }
    DeletePelnorKey();
}
