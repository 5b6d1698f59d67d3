#include "session_fixture.h"

#include <commctrl.h>

GroupList::GroupList(const std::vector<std::wstring> &names)
{
    list_ = CreateWindowExW(0, WC_LISTVIEWW, L"", WS_POPUP | LVS_REPORT, 0, 0, 200, 200, nullptr, nullptr,
                            GetModuleHandleW(nullptr), nullptr);
    LVCOLUMNW column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.cx = 150;
    column.pszText = const_cast<wchar_t *>(L"Group");
    SendMessageW(list_, LVM_INSERTCOLUMNW, 0, (LPARAM)&column);
    for (size_t i = 0; i < names.size(); i++) {
        LVITEMW item = {};
        item.mask = LVIF_TEXT;
        item.iItem = (int)i;
        item.pszText = const_cast<wchar_t *>(names[i].c_str());
        SendMessageW(list_, LVM_INSERTITEMW, 0, (LPARAM)&item);
    }
}

GroupList::~GroupList()
{
    DestroyWindow(list_);
}

SessionRun RunScriptedSession(int port, const std::vector<std::wstring> &groups, const char *user,
                              const char *password, const std::wstring &data_path, DWORD limit,
                              const wchar_t *server)
{
    GroupList list(groups);
    GroupCursor cursor;
    GroupCursorInit(&cursor, list.window());
    SessionRun run;
    RunResultClear(&run.result);
    ProgressInit(&run.progress);
    SessionParams params = {};
    params.server = server;
    params.port = (DWORD)port;
    params.data_path = data_path.c_str();
    params.limit = limit;
    params.cursor = &cursor;
    params.progress = &run.progress;
    params.user = user;
    params.password = password;
    SetLastError(0);
    run.ok = RunSession(&params, &run.result);
    run.error = GetLastError();
    return run;
}
