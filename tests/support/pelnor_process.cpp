#include "pelnor_process.h"

#include <commctrl.h>

#include "gui_helper.h"
#include "temp_folder.h"

PelnorProcess StartPelnor()
{
    std::wstring exe = WinePathOf(PELNOR_BUILD_DIR "/pelnor.exe");
    std::wstring command = L"\"" + exe + L"\"";
    STARTUPINFOW si = {sizeof(si)};
    PROCESS_INFORMATION pi = {};
    if (!CreateProcessW(exe.c_str(), &command[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi))
        return PelnorProcess();
    CloseHandle(pi.hThread);
    return PelnorProcess{pi.hProcess, pi.dwProcessId};
}

DWORD ExitCodeAfter(HANDLE process, DWORD ms)
{
    DWORD code = STILL_ACTIVE;
    if (WaitForSingleObject(process, ms) == WAIT_OBJECT_0)
        GetExitCodeProcess(process, &code);
    return code;
}

static BOOL CALLBACK CountFrame(HWND window, LPARAM lp)
{
    if (ClassNameOf(window) == L"PelnorMainFrmWnd") {
        ((FrameCount *)lp)->count++;
        ((FrameCount *)lp)->last = window;
    }
    return TRUE;
}

FrameCount PelnorFrames()
{
    FrameCount c;
    EnumWindows(CountFrame, (LPARAM)&c);
    return c;
}

std::wstring RemoteListViewText(HANDLE process, HWND list, int row, int column)
{
    struct Lent {
        LVITEMW item;
        wchar_t text[1024];
    };
    Lent *remote = (Lent *)VirtualAllocEx(process, nullptr, sizeof(Lent), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (!remote)
        return L"";
    Lent local = {};
    local.item.iSubItem = column;
    local.item.pszText = remote->text;
    local.item.cchTextMax = 1024;
    std::wstring text;
    if (WriteProcessMemory(process, remote, &local, sizeof local, nullptr)) {
        SendMessageW(list, LVM_GETITEMTEXTW, row, (LPARAM)remote);
        if (ReadProcessMemory(process, remote, &local, sizeof local, nullptr)) {
            local.text[1023] = L'\0';
            text = local.text;
        }
    }
    VirtualFreeEx(process, remote, 0, MEM_RELEASE);
    return text;
}
