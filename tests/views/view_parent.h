/*
 * A top-level window to hold a view (or a menu bar) under test; it keeps
 * the WM_COMMANDs sent to it.
 */
#ifndef PELNOR_TEST_VIEW_PARENT_H
#define PELNOR_TEST_VIEW_PARENT_H

#include <windows.h>

#include <vector>

class ViewParent {
public:
    ViewParent()
    {
        window = CreateWindowExW(0, L"STATIC", L"parent", WS_POPUP | WS_VISIBLE, 0, 0, 240, 300, nullptr, nullptr,
                                 nullptr, nullptr);
        SetWindowLongPtrW(window, GWLP_WNDPROC, (LONG_PTR)Proc);
        SetForegroundWindow(window);
        notices().clear();
        commands().clear();
    }
    ~ViewParent() { DestroyWindow(window); }

    /* The notification codes, and the whole wParams. */
    static std::vector<UINT> &notices()
    {
        static std::vector<UINT> codes;
        return codes;
    }
    static std::vector<WPARAM> &commands()
    {
        static std::vector<WPARAM> all;
        return all;
    }

    HWND window;

private:
    static LRESULT CALLBACK Proc(HWND w, UINT msg, WPARAM wp, LPARAM lp)
    {
        if (msg == WM_COMMAND) {
            notices().push_back(HIWORD(wp));
            commands().push_back(wp);
            return 0;
        }
        return DefWindowProcW(w, msg, wp, lp);
    }
};

/* A key as the focused view gets it. */
inline void SendKey(HWND view, WPARAM key)
{
    SendMessageW(view, WM_KEYDOWN, key, 0);
}

#endif
