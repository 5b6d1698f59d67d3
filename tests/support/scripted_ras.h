/*
 * A RAS that records what the program asks of it and, at the test's word,
 * notifies the dial's window as a real dial-up would. Installed in place of
 * the real table for its lifetime; one at a time.
 */
#ifndef PELNOR_TEST_SCRIPTED_RAS_H
#define PELNOR_TEST_SCRIPTED_RAS_H

#include <windows.h>

#include <string>
#include <vector>

#include "platform/ras.h"

struct DialCall {
    std::wstring entry;
    std::wstring user;
    std::wstring password;
    DWORD notifier_type;
    HWND notifier;
    bool handle_was_null; /* *connection on entry */
};

class ScriptedRas {
public:
    ScriptedRas();
    ~ScriptedRas();
    ScriptedRas(const ScriptedRas &) = delete;
    ScriptedRas &operator=(const ScriptedRas &) = delete;

    /* Posts the dial event `state` to the window of the last dial. */
    void Notify(UINT state) const;
    HWND dial_window() const { return dials.empty() ? nullptr : dials.back().notifier; }

    /* Script: connections reported up, the entry's stored login, the
     * handle a dial gives. */
    DWORD active_connections = 0;
    std::wstring stored_user = L"taro";
    std::wstring stored_password = L"himitsu";
    HRASCONN handle = (HRASCONN)(ULONG_PTR)0x5A17;
    std::vector<std::wstring> phone_book; /* the entries listed */
    DWORD enum_error = 0;                 /* listing the entries fails with it */

    /* Record */
    int calls = 0; /* of any function */
    std::vector<DialCall> dials;
    std::vector<HRASCONN> hang_ups;

private:
    RasTable table_;
};

#endif
