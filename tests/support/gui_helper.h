/*
 * Driving real windows from tests: message boxes and dialogs are recorded
 * and answered through a WH_CBT hook, so no test ever blocks on a modal box;
 * the message pump waits for a state instead of sleeping.
 */
#ifndef PELNOR_TEST_GUI_HELPER_H
#define PELNOR_TEST_GUI_HELPER_H

#include <windows.h>
#include <commctrl.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

struct RecordedBox {
    std::wstring caption;
    std::wstring text;
    UINT icon = 0; /* MB_ICONERROR, MB_ICONEXCLAMATION, MB_ICONQUESTION, MB_ICONINFORMATION or 0 */
    bool has_owner = false;
    HWND owner = nullptr;
    std::vector<int> buttons; /* ids of the box's buttons, e.g. IDYES, IDNO */
};

/* What a box showed the user: caption, text and icon. */
using SeenBox = std::tuple<std::wstring, std::wstring, UINT>;

/* Watches the modal windows the calling thread opens. Message boxes are
 * recorded and answered (queued answers first, else the box's default
 * button); other dialogs are handed to the dialog handler once each, after
 * their WM_INITDIALOG. One watcher per thread at a time. */
class ModalWatcher {
public:
    ModalWatcher();
    ~ModalWatcher();
    ModalWatcher(const ModalWatcher &) = delete;
    ModalWatcher &operator=(const ModalWatcher &) = delete;

    void QueueAnswer(int button_id) { answers_.push_back(button_id); }
    void SetDialogHandler(std::function<void(HWND dialog)> handler) { dialog_handler_ = std::move(handler); }
    /* A dialog handler that works each dialog with `act` once it shows (see
     * RunSoon) and cancels one left open, so a failed step never hangs. */
    void WorkDialogs(std::function<void(HWND dialog)> act);
    const std::vector<RecordedBox> &boxes() const { return boxes_; }
    std::vector<SeenBox> seen() const
    {
        std::vector<SeenBox> all;
        for (const RecordedBox &box : boxes_)
            all.emplace_back(box.caption, box.text, box.icon);
        return all;
    }
    const std::vector<std::wstring> &dialog_titles() const { return dialogs_; }
    void Clear()
    {
        boxes_.clear();
        dialogs_.clear();
    }

private:
    static LRESULT CALLBACK Hook(int code, WPARAM wp, LPARAM lp);
    void Activated(HWND window);

    HHOOK hook_ = nullptr;
    std::vector<int> answers_;
    std::vector<RecordedBox> boxes_;
    std::vector<std::wstring> dialogs_;
    std::vector<HWND> seen_;
    std::function<void(HWND)> dialog_handler_;
};

/* Dispatches the thread's messages until done() holds (true) or the time
 * runs out (false). With an accelerator table, keys go through it first, as
 * in the program's own loop. */
bool PumpUntil(const std::function<bool()> &done, DWORD timeout_ms = 20000, HWND accel_window = nullptr,
               HACCEL accel = nullptr);
/* Dispatches what is queued now and returns. */
void PumpPending(HWND accel_window = nullptr, HACCEL accel = nullptr);

/* Presses and releases a key through the system's input queue, as a user
 * would, with the given modifiers held. */
void PressKey(WORD vk, bool ctrl = false, bool alt = false, bool shift = false);

/* Chooses the item with this command id in the next popup menu that
 * TrackPopupMenu shows on this thread. Call before the click that opens it. */
void ChooseNextPopupCommand(UINT command_id);

/* Runs `work` once from whichever message loop of the thread runs next, a
 * dialog's modal loop included: dialog handlers act after the dialog shows. */
void RunSoon(std::function<void()> work);

/* Clicks a push button or check box as a user would (press and release). */
void ClickButton(HWND dialog, int id);

/* Double-taps row `row` of a list-view control: selects it and sends the
 * parent the list's NM_DBLCLK. */
void DoubleClickListRow(HWND list, int row);

std::wstring WindowText(HWND window);
std::wstring ClassNameOf(HWND window);
std::wstring ListViewText(HWND list, int row, int column);
int ListViewRowCount(HWND list);
/* The first row whose first column reads `text`, or -1. */
int ListViewRow(HWND list, const std::wstring &text);

/* The file chooser's tree: the children's texts ("name/" for a folder);
 * the folder of `path` (drive and trailing backslash included) reached by
 * expanding each level as the user taps it, or null. */
std::vector<std::wstring> TreeChildren(HWND tree, HTREEITEM parent);
HTREEITEM TreeChild(HWND tree, HTREEITEM parent, const std::wstring &name);
HTREEITEM OpenTreeTo(HWND tree, const std::wstring &path);
/* Selects `item` and opens (or closes) it with the keyboard's + (or -). */
void TreeKey(HWND tree, HTREEITEM item, bool open);

/* The texts of the buttons, check boxes and labels inside `window` (its
 * pages included) that do not fit their control in the control's font: a
 * control that draws only part of its text, or nothing. */
std::vector<std::wstring> CutTexts(HWND window);

/* A PNG of what the window shows, written to the build's screenshots folder;
 * returns the file's path (empty on failure). */
std::wstring SaveScreenshot(HWND window, const wchar_t *name);

#endif
