#include <gtest/gtest.h>

#include <windows.h>

#include <stdlib.h>

#include <string>
#include <vector>

#include "base/dialog.h"
#include "drafts/draft_editor.h"
#include "resources/resource.h"
#include "support/gui_helper.h"
#include "support/temp_folder.h"

namespace {

RECT ChildRect(HWND dialog, int id)
{
    RECT rc;
    GetWindowRect(GetDlgItem(dialog, id), &rc);
    MapWindowPoints(nullptr, dialog, (POINT *)&rc, 2);
    return rc;
}

/* The editor fills the device's screen; when the soft keyboard takes the
 * lower part of it the window is shortened, and only the body gives up
 * room: the fields stay at the top and the buttons whole along the
 * bottom. */
TEST(DraftEditorTest, FillsTheScreenAndAShortWindowShortensOnlyTheBody)
{
    TempFolder folder;
    DraftEditor editor;
    DraftInit(&editor.draft);
    ASSERT_TRUE(DraftSetHeader(&editor.draft, "Newsgroups", "fj.test"));
    const char subject[] = "Re: \x8b\x9e\x93\x73\x82\xcc\x93\x56\x8b\x43"; /* 京都の天気 */
    ASSERT_TRUE(DraftSetHeader(&editor.draft, "Subject", subject));
    const char body[] = "\x8e\x52\x93\x63\x91\xbe\x98\x59 <taro@example.jp> \x82\xb3\x82\xf1\x82\xcd\x8f\x91\x82\xab"
                        "\x82\xdc\x82\xb5\x82\xbd:\r\n> \x8d\xa1\x93\xfa\x82\xcd\x90\xb0\x82\xea\x81\x42\r\n\r\n";
    ASSERT_TRUE(DraftSetBody(&editor.draft, body, sizeof body - 1));
    editor.path = _wcsdup(folder.file(L"d1.txt").c_str());

    const int heights[] = {320, 214, 160};
    RECT outer = {};
    std::vector<std::wstring> cut;
    std::vector<std::vector<int>> faults;
    ModalWatcher watcher;
    watcher.WorkDialogs([&](HWND dialog) {
        GetWindowRect(dialog, &outer);
        cut = CutTexts(dialog);
        SaveScreenshot(dialog, L"draft-editor");
        for (int height : heights) {
            SetWindowPos(dialog, nullptr, 0, 0, 240, height, SWP_NOMOVE | SWP_NOZORDER);
            RECT client;
            GetClientRect(dialog, &client);
            RECT subject_edit = ChildRect(dialog, IDC_EDITOR_SUBJECT), body_edit = ChildRect(dialog, IDC_EDITOR_BODY);
            std::vector<int> wrong; /* what is out of the window or over another control */
            for (int id : {IDC_EDITOR_NEWSGROUPS_LABEL, IDC_EDITOR_NEWSGROUPS, IDC_EDITOR_SUBJECT_LABEL,
                           IDC_EDITOR_SUBJECT, IDC_EDITOR_BODY, IDC_EDITOR_QUEUE, IDC_EDITOR_SAVE, IDCANCEL}) {
                RECT rc = ChildRect(dialog, id), inside;
                IntersectRect(&inside, &rc, &client);
                if (!EqualRect(&inside, &rc) || IsRectEmpty(&rc))
                    wrong.push_back(id);
                if (id == IDC_EDITOR_QUEUE || id == IDC_EDITOR_SAVE || id == IDCANCEL) {
                    if (rc.top < body_edit.bottom)
                        wrong.push_back(id);
                }
            }
            if (body_edit.top < subject_edit.bottom)
                wrong.push_back(IDC_EDITOR_BODY);
            faults.push_back(wrong);
        }
    });
    EXPECT_EQ(RunDraftEditor(&editor, GetModuleHandleW(nullptr), nullptr), kDialogCancel);
    EXPECT_LE(outer.right - outer.left, 240);
    EXPECT_LE(outer.bottom - outer.top, 320);
    EXPECT_EQ(cut, std::vector<std::wstring>{});
    EXPECT_EQ(faults, std::vector<std::vector<int>>(3));
    EXPECT_FALSE(FileExists(editor.path)) << "cancel writes nothing";
    DraftFree(&editor.draft);
    free(editor.path);
}

} // namespace
