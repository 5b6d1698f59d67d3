#include "delete_read_command.h"

#include "resources/resource.h"
#include "base/message_box.h"
#include "base/res_text.h"
#include "shell/group_checks.h"
#include "store/group_file.h"
#include "store/group_store.h"
#include "store/read_marks.h"

void DeleteReadCommand(AppFrame *frame)
{
    if (ShowResBox(nullptr, IDS_ASK_DELETE_READ, IDS_CAPTION_DELETE_READ, MB_YESNO | MB_ICONQUESTION) == IDNO)
        return;

    GroupFileReader *groups = GroupFileOpen(frame->settings.DataPath);
    if (!groups) {
        ShowLastErrorBoxRes(IDS_GROUP_FILE_OPEN, IDS_CAPTION_PELNOR, MB_ICONERROR);
        return;
    }
    /* A group that fails is reported under its own name; the others go on.
     * Each waits for its files' check, in the rows' order as group.dat's. */
    DWORD row = 0;
    for (const wchar_t *name; (name = GroupFileNext(groups)) != nullptr; row++) {
        GroupChecksWait(frame, row, name);
        GroupStore store;
        GroupStoreInit(&store);
        if (!GroupStoreSetNames(&store, frame->settings.DataPath, name) || !DeleteReadArticles(&store))
            ShowLastErrorBox(IDS_DELETE_READ_FAILED, name, MB_ICONEXCLAMATION);
        GroupStoreRelease(&store);
    }
    GroupFileClose(groups);
    ReloadData(frame);
}
