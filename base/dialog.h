/*
 * One way to run a dialog from its resource template: the caller's typed
 * state arrives with WM_INITDIALOG, is kept in the dialog's user data and is
 * handed to the handler with every later message, so no dialog procedure
 * repeats that set-up. The handler has the shape
 *
 *   INT_PTR Handler(HWND dialog, UINT msg, WPARAM wp, LPARAM lp, State *state);
 *
 * and answers as a dialog procedure does. Messages that come before
 * WM_INITDIALOG (WM_SETFONT) get the default handling; a command that comes
 * before it is told to the user, as it means the dialog was driven before it
 * was made.
 *
 *   RunDialog<CatchUpHandler>(instance, IDD_CATCHUP, owner, &choice);
 */
#ifndef PELNOR_DIALOG_H
#define PELNOR_DIALOG_H

#include <windows.h>

#include <type_traits>

namespace dialog_detail {

template <typename State> State *StateOf(INT_PTR (*)(HWND, UINT, WPARAM, LPARAM, State *));

/* The state kept in the dialog (stored first on WM_INITDIALOG), or null. */
void *KeptState(HWND dialog, UINT msg, LPARAM lp);

template <auto Handler> INT_PTR CALLBACK Procedure(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    using State = std::remove_pointer_t<decltype(StateOf(Handler))>;
    State *state = (State *)KeptState(dialog, msg, lp);
    if (!state)
        return msg == WM_COMMAND ? TRUE : FALSE;
    return Handler(dialog, msg, wp, lp, state);
}

/* The same for a page of a property sheet: its state is the lParam of the
 * page description that arrives with WM_INITDIALOG. Without it every message
 * is left to the default handling. */
void *KeptPageState(HWND dialog, UINT msg, LPARAM lp);

template <auto Handler> INT_PTR CALLBACK PageProcedure(HWND dialog, UINT msg, WPARAM wp, LPARAM lp)
{
    using State = std::remove_pointer_t<decltype(StateOf(Handler))>;
    State *state = (State *)KeptPageState(dialog, msg, lp);
    if (!state)
        return FALSE;
    return Handler(dialog, msg, wp, lp, state);
}

template <auto Handler, typename State> void CheckState()
{
    static_assert(std::is_same<decltype(StateOf(Handler)), State *>::value,
                  "the handler takes another state than the one given");
}

} // namespace dialog_detail

/* Modal: returns what the handler passed to EndDialog, or -1 when the
 * dialog could not be made. */
template <auto Handler, typename State>
INT_PTR RunDialog(HINSTANCE instance, UINT template_id, HWND owner, State *state)
{
    dialog_detail::CheckState<Handler, State>();
    return DialogBoxParamW(instance, MAKEINTRESOURCEW(template_id), owner, dialog_detail::Procedure<Handler>,
                           (LPARAM)state);
}

/* Modeless: the dialog window, or null with the last error. */
template <auto Handler, typename State>
HWND CreateModelessDialog(HINSTANCE instance, UINT template_id, HWND owner, State *state)
{
    dialog_detail::CheckState<Handler, State>();
    return CreateDialogParamW(instance, MAKEINTRESOURCEW(template_id), owner, dialog_detail::Procedure<Handler>,
                              (LPARAM)state);
}

/* The dialog procedure of a property-sheet page whose description carries
 * a State * as its lParam; the handler has the shape above:
 *
 *   page.pfnDlgProc = PropertyPageProcedure<PageHandler>();
 */
template <auto Handler> DLGPROC PropertyPageProcedure()
{
    return dialog_detail::PageProcedure<Handler>;
}

/* Whether a check box or radio button of the dialog is checked. Windows CE
 * has no IsDlgButtonChecked, so the button is asked directly. */
inline bool IsButtonChecked(HWND dialog, int control_id)
{
    return SendDlgItemMessageW(dialog, control_id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

/* The two results every dialog of the program closes with. */
enum : INT_PTR { kDialogOk = 1, kDialogCancel = 2 };

#endif
