/*
 * A scripted RAS that records what the program asks of it and notifies the
 * dial's window as a real dial-up would, and a stand-in main frame that
 * records the dial-up messages it receives and answers them as the frame
 * does (enable itself; hang up on WM_PELNOR_HANG_UP).
 */
#ifndef PELNOR_TEST_DIALUP_FIXTURE_H
#define PELNOR_TEST_DIALUP_FIXTURE_H

#include <windows.h>

#include <string>
#include <vector>

#include "platform/ras.h"
#include "support/gui_helper.h"

struct EnumConnectionsCall {
    DWORD record_size; /* dwSize of the first record */
    DWORD buffer_bytes;
};

struct EntryParamsCall {
    bool phonebook_null;
    DWORD record_size;
    std::wstring entry;
};

struct DialCall {
    bool extensions_null;
    bool phonebook_null;
    DWORD record_size;
    std::wstring entry;
    std::wstring phone;
    std::wstring user;
    std::wstring password;
    DWORD notifier_type;
    HWND notifier;
    bool handle_was_null; /* *connection on entry */
};

/* Installed for its lifetime; the real table comes back afterwards. */
class ScriptedRas {
public:
    ScriptedRas();
    ~ScriptedRas();
    ScriptedRas(const ScriptedRas &) = delete;
    ScriptedRas &operator=(const ScriptedRas &) = delete;

    /* Posts the dial event `state` to the window of the last dial. */
    void Notify(UINT state, DWORD error = 0) const;
    HWND dial_window() const { return dials.empty() ? nullptr : dials.back().notifier; }
    int calls() const
    {
        return (int)(connection_enums.size() + entry_enums + param_queries.size() + dials.size() + hang_ups.size());
    }

    /* Script */
    DWORD active_connections = 0;
    std::wstring stored_user = L"taro";
    std::wstring stored_password = L"himitsu";
    HRASCONN handle = (HRASCONN)(ULONG_PTR)0x5A17;

    /* Record */
    std::vector<EnumConnectionsCall> connection_enums;
    int entry_enums = 0;
    std::vector<EntryParamsCall> param_queries;
    std::vector<DialCall> dials;
    std::vector<HRASCONN> hang_ups;

private:
    RasTable table_;
};

struct FrameMessage {
    UINT message;
    bool sent;              /* SendMessage rather than PostMessage */
    bool frame_was_enabled;
    size_t boxes_shown;     /* message boxes the watcher had seen by then */
    std::wstring dialog_status; /* field 1031 of the watched dialog, if any */
    bool dialog_visible;
};

/* A top-level window standing in for the main frame. One at a time. */
class StandInFrame {
public:
    explicit StandInFrame(const ModalWatcher *watcher);
    ~StandInFrame();
    StandInFrame(const StandInFrame &) = delete;
    StandInFrame &operator=(const StandInFrame &) = delete;

    HWND window() const { return window_; }
    int Count(UINT message) const;

    HRASCONN connection = nullptr; /* the frame's RAS connection handle */
    HWND watched_dialog = nullptr; /* whose state each message records */
    std::vector<FrameMessage> log;

private:
    static LRESULT CALLBACK Proc(HWND window, UINT msg, WPARAM wp, LPARAM lp);
    static LRESULT CALLBACK SentHook(int code, WPARAM wp, LPARAM lp);
    HWND window_ = nullptr;
    HHOOK sent_hook_ = nullptr;
    bool next_is_sent_ = false;
    const ModalWatcher *watcher_;
};

/* The dialogs (#32770 windows that are not message boxes) this thread has. */
std::vector<HWND> ThreadDialogs();

#endif
