/*
 * How a conversation with the server opens, one table for every caller
 * that opens one (the download and the group list): the server's side as
 * exchanges, and what each caller must make of it. Each caller plays a row
 * with its own first command ("CMD" in a row) and its own answer to it.
 */
#ifndef PELNOR_TEST_OPENING_CASES_H
#define PELNOR_TEST_OPENING_CASES_H

#include <windows.h>

#include <string>
#include <vector>

#include "support/script_client.h"

/* A line the client sends and what the server does then: sends `reply`,
 * or closes the connection when it is null. */
struct OpeningStep {
    std::string sent;
    const char *reply;
};

struct OpeningCase {
    const char *name;
    const char *greeting; /* null: the server closes at once */
    const char *user, *password;
    std::vector<OpeningStep> steps;
    bool opens; /* the caller's command is then answered as it wants */
    DWORD download_error;  /* the download's last error, 0 when it succeeds */
    const wchar_t *download_title, *download_text;
    const wchar_t *list_text; /* the group list's box, null for none */
    DWORD tls_mode = 0;       /* the server value's */
    bool compress = false;
};

/* The server value a row is played with. */
inline NntpServer OpeningServer(const OpeningCase &c, int port)
{
    NntpServer server = TestServer(port, c.user, c.password);
    server.tls_mode = c.tls_mode;
    server.compress = c.compress;
    return server;
}

/* The group list follows each authinfo line with an empty one (kept so). */
inline bool DoublesLine(bool doubled_login, const std::string &sent)
{
    return doubled_login && sent.compare(0, 9, "authinfo ") == 0;
}

inline NntpScript OpeningScript(const OpeningCase &c, bool doubled_login, const std::string &answer)
{
    NntpScript script;
    if (c.greeting)
        script.Send(c.greeting);
    else
        script.Close();
    for (const OpeningStep &step : c.steps) {
        script.Recv(DoublesLine(doubled_login, step.sent) ? 2 : 1);
        if (step.reply)
            script.Send(step.reply);
        else
            script.Close();
    }
    if (c.opens)
        script.Reply(answer);
    return script;
}

/* What the client sends of the table's steps and its command. */
inline std::string OpeningTranscript(const OpeningCase &c, bool doubled_login, const std::string &command)
{
    std::string sent;
    for (const OpeningStep &step : c.steps)
        sent += (step.sent == "CMD" ? command : step.sent) + (DoublesLine(doubled_login, step.sent) ? "\r\n\r\n" : "\r\n");
    if (c.opens)
        sent += command + "\r\n";
    return sent;
}

inline std::vector<OpeningCase> OpeningCases()
{
    const char *ready = "200 ready\r\n";
    const OpeningStep user = {"authinfo user taro", "381 more\r\n"};
    const OpeningStep password = {"authinfo pass himitsu", "281 ok\r\n"};
    return {
        {"greeting 201", "201 no posting\r\n", nullptr, nullptr, {}, true, 0, nullptr, nullptr, nullptr},
        {"password without a user", ready, nullptr, "himitsu", {}, true, 0, nullptr, nullptr, nullptr},
        {"user without a password", ready, "taro", nullptr, {}, true, 0, nullptr, nullptr, nullptr},
        {"login", ready, "taro", "himitsu", {user, password}, true, 0, nullptr, nullptr, nullptr},
        {"greeting refused", "502 no permission\r\n", nullptr, nullptr, {}, false, 13, L"接続を拒否されました",
         L"502 no permission\r\n", L"Connection refused : 502 no permission\r\n"},
        {"no greeting", nullptr, nullptr, nullptr, {}, false, 38, L"127.0.0.1", L"サーバからの応答がありません",
         L"Recv fail: Can't connect to server"},
        /* Only a request for the password lets the login go on. */
        {"user accepted alone", ready, "taro", "himitsu", {{"authinfo user taro", "281 Authentication accepted\r\n"}},
         false, 13, L"ユーザ名が不正です", L"281 Authentication accepted\r\n", L"281 Authentication accepted\r\n"},
        {"password refused", ready, "taro", "himitsu", {user, {"authinfo pass himitsu", "481 rejected\r\n"}}, false,
         13, L"パスワードが不正です", L"481 rejected\r\n", L"481 rejected\r\n"},
        /* The user's failures under "PELNOR", the password's under "Socket Error". */
        {"drop after the user", ready, "taro", "himitsu", {{"authinfo user taro", nullptr}}, false, 38, L"PELNOR",
         L"受信に失敗しました(38).", L"Can't redv data"},
        {"drop after the password", ready, "taro", "himitsu", {user, {"authinfo pass himitsu", nullptr}}, false, 38,
         L"Socket Error", L"受信に失敗しました(38).", L"Can't redv data"},
        /* A server that feeds this host wants MODE READER first, once. */
        {"MODE READER asked for", ready, nullptr, nullptr,
         {{"CMD", "401 MODE-READER\r\n"}, {"MODE READER", "200 reader ready\r\n"}}, true, 0, nullptr, nullptr, nullptr},
        /* ...and may want the login again after it. */
        {"login again after MODE READER", ready, "taro", "himitsu",
         {user, password, {"CMD", "401 MODE-READER\r\n"}, {"MODE READER", "200 reader ready\r\n"},
          {"CMD", "480 login first\r\n"}, user, password},
         true, 0, nullptr, nullptr, nullptr},
        {"drop after the greeting", ready, nullptr, nullptr, {{"CMD", nullptr}}, false, 38, L"Socket ERROR",
         L"受信に失敗しました(38).", L"受信に失敗"},
        /* With STARTTLS set, a refusal ends the conversation before the
         * login: the password never goes out in the clear. */
        {"STARTTLS refused", ready, "taro", "himitsu", {{"STARTTLS", "580 no TLS here\r\n"}}, false, 13,
         L"127.0.0.1", L"サーバが STARTTLS を受け付けませんでした: 580 no TLS here",
         L"サーバが STARTTLS を受け付けませんでした: 580 no TLS here\r\n", kTlsStartTls},
        {"login needs encryption", ready, "taro", "himitsu", {{"authinfo user taro", "483 Encryption required\r\n"}},
         false, 13, L"127.0.0.1",
         L"このサーバは暗号化した接続でしかログインできません。設定の[暗号化]を TLS か STARTTLS にしてください。\r\n"
         L"483 Encryption required",
         L"このサーバは暗号化した接続でしかログインできません。設定の[暗号化]を TLS か STARTTLS にしてください。\r\n"
         L"483 Encryption required\r\n"},
        /* Compression is asked for after the login, only when listed; a
         * server that does not list it, does not know CAPABILITIES or
         * refuses COMPRESS is used as it is. */
        {"compression refused", ready, "taro", "himitsu",
         {user, password, {"CAPABILITIES", "101 list\r\nVERSION 2\r\nREADER\r\ncompress   gzip  Deflate\r\n.\r\n"},
          {"COMPRESS DEFLATE", "403 not now\r\n"}},
         true, 0, nullptr, nullptr, nullptr, kTlsNone, true},
        {"compression not listed", ready, nullptr, nullptr,
         {{"CAPABILITIES", "101 list\r\nVERSION 2\r\nCOMPRESSION DEFLATE\r\nCOMPRESS GZIP\r\n.\r\n"}}, true, 0,
         nullptr, nullptr, nullptr, kTlsNone, true},
        {"CAPABILITIES unknown", ready, nullptr, nullptr, {{"CAPABILITIES", "500 what?\r\n"}}, true, 0, nullptr,
         nullptr, nullptr, kTlsNone, true},
    };
}

#endif
