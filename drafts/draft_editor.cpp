#include "draft_editor.h"

#include <stdlib.h>
#include <wchar.h>

#include "base/dialog.h"
#include "base/message_box.h"
#include "drafts/compose.h"
#include "platform/frame_size.h"
#include "resources/resource.h"
#include "text/widestr.h"

namespace {

enum { kGap = 2 };

/* A header value of the draft as 16-bit text ("" for none); newly
 * allocated, or null with 8. */
wchar_t *HeaderText(const Draft *draft, const char *name)
{
    char *value = DraftHeaderValue(draft, name);
    wchar_t *text = ToWide(value ? value : "");
    free(value);
    return text;
}

/* The body as the edit shows it: every line end CR LF, and the last line's
 * end left off (writing puts it back). Newly allocated, or null with 8. */
wchar_t *BodyText(const Draft *draft)
{
    wchar_t *stored = ToWide(draft->body ? draft->body : "");
    if (!stored)
        return nullptr;
    size_t lone = 0, length = wcslen(stored);
    for (size_t i = 0; i < length; i++)
        lone += stored[i] == L'\n' && (i == 0 || stored[i - 1] != L'\r');
    wchar_t *text = (wchar_t *)malloc((length + lone + 1) * sizeof(wchar_t));
    if (text) {
        size_t used = 0;
        for (size_t i = 0; i < length; i++) {
            if (stored[i] == L'\n' && (i == 0 || stored[i - 1] != L'\r'))
                text[used++] = L'\r';
            text[used++] = stored[i];
        }
        if (used >= 2 && text[used - 2] == L'\r' && text[used - 1] == L'\n')
            used -= 2;
        text[used] = L'\0';
    } else {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    free(stored);
    return text;
}

/* The whole text of a control, newly allocated with `extra` units of room
 * after it; null with 8. */
wchar_t *ControlText(HWND control, size_t extra)
{
    int length = GetWindowTextLengthW(control);
    wchar_t *text = (wchar_t *)malloc(((size_t)length + extra + 1) * sizeof(wchar_t));
    if (!text) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    text[GetWindowTextW(control, text, length + 1)] = L'\0';
    return text;
}

/* The field's text without blanks around it, as the header's value. */
int TakeField(HWND dialog, int control, const char *name, Draft *draft)
{
    wchar_t *text = ControlText(GetDlgItem(dialog, control), 0);
    if (!text)
        return 0;
    wchar_t *start = text;
    while (*start == L' ' || *start == L'\t')
        start++;
    size_t length = wcslen(start);
    while (length > 0 && (start[length - 1] == L' ' || start[length - 1] == L'\t'))
        length--;
    start[length] = L'\0';
    char *value = ToStored(start);
    free(text);
    int ok = value && DraftSetHeader(draft, name, value);
    free(value);
    return ok;
}

/* The body as stored text, its last line ended. */
int TakeBody(HWND dialog, Draft *draft)
{
    wchar_t *text = ControlText(GetDlgItem(dialog, IDC_EDITOR_BODY), 2);
    if (!text)
        return 0;
    size_t length = wcslen(text);
    if (length > 0 && text[length - 1] != L'\n')
        wcscpy(text + length, L"\r\n");
    char *body = ToStored(text);
    free(text);
    int ok = body && DraftSetBody(draft, body, strlen(body));
    free(body);
    return ok;
}

/* The three fields into the draft. The log's own newsgroups line, which a
 * hand-written draft may hold, gives way to the standard one the editor
 * showed in its place. */
int TakeFields(HWND dialog, Draft *draft)
{
    return TakeField(dialog, IDC_EDITOR_NEWSGROUPS, "Newsgroups", draft) &&
           DraftSetHeader(draft, "Newsgroup", nullptr) && TakeField(dialog, IDC_EDITOR_SUBJECT, "Subject", draft) &&
           TakeBody(dialog, draft);
}

/* Writes the draft at its path and files it under `root`; failures are
 * shown. */
bool Store(DraftEditor *editor, DraftRoot root)
{
    if (DraftLeavesSent(editor->path, root) && !DraftSetHeader(&editor->draft, "Message-ID", nullptr)) {
        ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return false;
    }
    if (!WriteDraft(editor->path, &editor->draft)) {
        ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return false;
    }
    wchar_t *moved = MoveDraft(editor->path, root);
    if (!moved) {
        ShowLastErrorBoxRes(IDS_DRAFT_MOVE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return false;
    }
    free(editor->path);
    editor->path = moved;
    return true;
}

/* A draft to be sent needs newsgroups and a subject: the user is told and
 * taken to the empty field. */
bool CheckForSending(HWND dialog, const Draft *draft)
{
    DraftLack lack = DraftLackForSending(draft);
    if (lack == kDraftComplete)
        return true;
    bool newsgroups = lack == kDraftNoNewsgroups;
    ShowResBox(dialog, newsgroups ? IDS_NEED_NEWSGROUPS : IDS_NEED_SUBJECT, IDS_CAPTION_PELNOR,
               MB_OK | MB_ICONEXCLAMATION);
    SetFocus(GetDlgItem(dialog, newsgroups ? IDC_EDITOR_NEWSGROUPS : IDC_EDITOR_SUBJECT));
    return false;
}

RECT TemplateRect(HWND dialog, int control)
{
    RECT rc;
    GetWindowRect(GetDlgItem(dialog, control), &rc);
    MapWindowPoints(nullptr, dialog, (POINT *)&rc, 2);
    return rc;
}

/* The sizes the template gives the controls, read once: the layout keeps
 * them and only moves and stretches. */
struct EditorLayout {
    int label_width;
    int row_height;
    int label_height;
    int button_height;
    int button_widths[3];
};

const int kButtons[3] = {IDC_EDITOR_QUEUE, IDC_EDITOR_SAVE, IDCANCEL};

void ReadLayout(HWND dialog, EditorLayout *layout)
{
    RECT label = TemplateRect(dialog, IDC_EDITOR_NEWSGROUPS_LABEL);
    RECT field = TemplateRect(dialog, IDC_EDITOR_NEWSGROUPS);
    layout->label_width = label.right - label.left;
    layout->label_height = label.bottom - label.top;
    layout->row_height = field.bottom - field.top;
    for (int i = 0; i < 3; i++) {
        RECT button = TemplateRect(dialog, kButtons[i]);
        layout->button_widths[i] = button.right - button.left;
        layout->button_height = button.bottom - button.top;
    }
}

/* Fields at the top, buttons along the bottom, the body between them: a
 * short window (the soft keyboard up) shortens only the body. */
void Layout(HWND dialog, const EditorLayout *layout)
{
    RECT client;
    GetClientRect(dialog, &client);
    int width = client.right;
    const int fields[2][2] = {{IDC_EDITOR_NEWSGROUPS_LABEL, IDC_EDITOR_NEWSGROUPS},
                              {IDC_EDITOR_SUBJECT_LABEL, IDC_EDITOR_SUBJECT}};
    int top = kGap;
    for (const auto &row : fields) {
        MoveWindow(GetDlgItem(dialog, row[0]), kGap, top + (layout->row_height - layout->label_height) / 2,
                   layout->label_width, layout->label_height, TRUE);
        int left = kGap + layout->label_width;
        MoveWindow(GetDlgItem(dialog, row[1]), left, top, width - kGap - left, layout->row_height, TRUE);
        top += layout->row_height + kGap;
    }
    int buttons_top = client.bottom - kGap - layout->button_height;
    int left = kGap;
    for (int i = 0; i < 3; i++) {
        MoveWindow(GetDlgItem(dialog, kButtons[i]), left, buttons_top, layout->button_widths[i],
                   layout->button_height, TRUE);
        left += layout->button_widths[i] + kGap;
    }
    int body_height = buttons_top - kGap - top;
    MoveWindow(GetDlgItem(dialog, IDC_EDITOR_BODY), kGap, top, width - 2 * kGap, body_height > 0 ? body_height : 0,
               TRUE);
}

struct EditorState {
    DraftEditor *editor;
    EditorLayout layout;
    bool laid_out;
};

void OnInit(HWND dialog, EditorState *state)
{
    ReadLayout(dialog, &state->layout);
    state->laid_out = true;
    /* Over the owner's panes, the size of the device's screen. */
    POINT origin = {0, 0};
    if (HWND owner = GetWindow(dialog, GW_OWNER))
        ClientToScreen(owner, &origin);
    SetWindowPos(dialog, nullptr, origin.x, origin.y, kDeviceClientWidth, kDeviceClientHeight,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    Layout(dialog, &state->layout);

    const Draft *draft = &state->editor->draft;
    wchar_t *newsgroups = HeaderText(draft, "Newsgroups");
    if (newsgroups && !*newsgroups) {
        free(newsgroups);
        newsgroups = HeaderText(draft, "Newsgroup");
    }
    wchar_t *subject = HeaderText(draft, "Subject");
    wchar_t *body = BodyText(draft);
    SetDlgItemTextW(dialog, IDC_EDITOR_NEWSGROUPS, newsgroups ? newsgroups : L"");
    SetDlgItemTextW(dialog, IDC_EDITOR_SUBJECT, subject ? subject : L"");
    HWND body_edit = GetDlgItem(dialog, IDC_EDITOR_BODY);
    SendMessageW(body_edit, EM_LIMITTEXT, 0, 0);
    SetWindowTextW(body_edit, body ? body : L"");

    /* The first field left to fill; with both filled, the end of the body. */
    HWND first = body_edit;
    if (!newsgroups || !*newsgroups)
        first = GetDlgItem(dialog, IDC_EDITOR_NEWSGROUPS);
    else if (!subject || !*subject)
        first = GetDlgItem(dialog, IDC_EDITOR_SUBJECT);
    SetFocus(first);
    if (first == body_edit) {
        int end = GetWindowTextLengthW(body_edit);
        SendMessageW(body_edit, EM_SETSEL, end, end);
        SendMessageW(body_edit, EM_SCROLLCARET, 0, 0);
    }
    free(newsgroups);
    free(subject);
    free(body);
}

INT_PTR EditorHandler(HWND dialog, UINT msg, WPARAM wp, LPARAM, EditorState *state)
{
    switch (msg) {
    case WM_INITDIALOG:
        OnInit(dialog, state);
        return FALSE; /* the focus is set */
    case WM_SIZE:
        if (state->laid_out)
            Layout(dialog, &state->layout);
        return TRUE;
    case WM_COMMAND:
        switch (LOWORD(wp)) {
        case IDC_EDITOR_QUEUE:
        case IDC_EDITOR_SAVE: {
            bool queue = LOWORD(wp) == IDC_EDITOR_QUEUE;
            Draft *draft = &state->editor->draft;
            if (!TakeFields(dialog, draft))
                ShowLastErrorBoxRes(IDS_DRAFT_WRITE_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
            else if ((!queue || CheckForSending(dialog, draft)) &&
                     Store(state->editor, queue ? kDraftsWaiting : kDraftsDrafts))
                EndDialog(dialog, queue ? kEditorQueued : kEditorSaved);
            return TRUE;
        }
        case IDOK:
            /* Enter in a one-line field goes on to the next field. */
            SendMessageW(dialog, WM_NEXTDLGCTL, 0, FALSE);
            return TRUE;
        case IDCANCEL:
            EndDialog(dialog, kDialogCancel);
            return TRUE;
        }
        return FALSE;
    }
    return FALSE;
}

} // namespace

INT_PTR RunDraftEditor(DraftEditor *editor, HINSTANCE instance, HWND owner)
{
    EditorState state = {editor, {}, false};
    return RunDialog<EditorHandler>(instance, IDD_DRAFT_EDITOR, owner, &state);
}
