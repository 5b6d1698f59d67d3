#include "draft_tree.h"

#include <stdlib.h>
#include <string.h>
#include <wchar.h>

#include "base/line_reader.h"
#include "base/path.h"
#include "base/res_text.h"
#include "base/scoped_win.h"
#include "resources/resource.h"
#include "store/header_block.h"
#include "text/widestr.h"

namespace {

enum : DWORD { kDraftLineBytes = 1024, kDraftReadBuffer = 1024 };
enum { kImageSize = 16, kItemTextChars = 1024 };

/* A draft's two header values, 16-bit; null when the header is absent. */
struct DraftHeader {
    wchar_t *newsgroups;
    wchar_t *subject;
};

void FreeDraftHeader(DraftHeader *header)
{
    free(header->newsgroups);
    free(header->subject);
    header->newsgroups = nullptr;
    header->subject = nullptr;
}

/* The value of the last header line of the block that begins with `name`,
 * up to its line end, converted; null when there is none, it is empty or
 * memory ran out. The block's lines end in CR LF, continuations already joined. */
wchar_t *HeaderValue(const HeaderBlock *block, const char *name)
{
    size_t name_length = strlen(name);
    const char *found = nullptr;
    size_t found_length = 0;
    const char *end = block->write_position;
    for (const char *line = block->buffer; line < end;) {
        const char *stop = line;
        while (stop < end && *stop != '\r' && *stop != '\n')
            stop++;
        if ((size_t)(stop - line) >= name_length && memcmp(line, name, name_length) == 0) {
            found = line + name_length;
            found_length = (size_t)(stop - found);
        }
        while (stop < end && (*stop == '\r' || *stop == '\n'))
            stop++;
        line = stop;
    }
    if (!found || found_length == 0) /* an empty value is shown as a missing one */
        return nullptr;
    char *narrow = (char *)malloc(found_length + 1);
    if (!narrow)
        return nullptr;
    memcpy(narrow, found, found_length);
    narrow[found_length] = '\0';
    wchar_t *wide = ToWide(narrow);
    free(narrow);
    return wide;
}

/* Reads the header of the draft at `path`: its lines up to the first empty
 * one (or the end of the file), continuations joined as in the group logs.
 * 0 when the file cannot be opened or read, or a line is too long. */
int ReadDraftHeader(const wchar_t *path, int standard_header, DraftHeader *header)
{
    header->newsgroups = nullptr;
    header->subject = nullptr;
    ScopedFile file(CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid())
        return 0;
    LineReader reader;
    if (!LineReaderInit(&reader, file.get(), kDraftReadBuffer, kDraftLineBytes))
        return 0;
    HeaderBlock block;
    HeaderBlockInit(&block);
    int ok = HeaderBlockPrepare(&block);
    char line[kDraftLineBytes];
    DWORD length;
    while (ok) {
        if (!LineReaderCopy(&reader, line, kDraftLineBytes, &length)) {
            ok = GetLastError() == ERROR_HANDLE_EOF;
            break;
        }
        if (line[0] == '\r' || line[0] == '\n')
            break;
        ok = HeaderBlockAdd(&block, line);
    }
    LineReaderFree(&reader);
    if (ok) {
        /* The names are the ones the group logs keep; posting writes the
         * standard one. */
        if (standard_header)
            header->newsgroups = HeaderValue(&block, "Newsgroups: ");
        if (!header->newsgroups)
            header->newsgroups = HeaderValue(&block, "Newsgroup: ");
        header->subject = HeaderValue(&block, "Subject: ");
    }
    HeaderBlockFree(&block);
    return ok;
}

HTREEITEM InsertItem(HWND tree, HTREEITEM parent, HTREEITEM after, const wchar_t *text, int image,
                     LPARAM file = 0)
{
    TVINSERTSTRUCTW insert = {};
    insert.hParent = parent;
    insert.hInsertAfter = after;
    insert.item.mask = TVIF_TEXT | TVIF_IMAGE | TVIF_SELECTEDIMAGE | TVIF_PARAM;
    insert.item.pszText = (wchar_t *)text;
    insert.item.iImage = image;
    insert.item.iSelectedImage = image;
    insert.item.lParam = file;
    return (HTREEITEM)SendMessageW(tree, TVM_INSERTITEMW, 0, (LPARAM)&insert);
}

void FreeFileNames(DraftTree *tree)
{
    for (DWORD i = 0; i < tree->file_count; i++)
        free(tree->files[i]);
    tree->file_count = 0;
}

/* Keeps a copy of the name; its item parameter (its place plus one), or 0
 * when memory ran out. */
LPARAM KeepFileName(DraftTree *tree, const wchar_t *name)
{
    if (tree->file_count == tree->file_capacity) {
        DWORD capacity = tree->file_capacity ? tree->file_capacity * 2 : 16;
        wchar_t **grown = (wchar_t **)realloc(tree->files, capacity * sizeof *grown);
        if (!grown)
            return 0;
        tree->files = grown;
        tree->file_capacity = capacity;
    }
    wchar_t *copy = JoinPath(L"", name);
    if (!copy)
        return 0;
    tree->files[tree->file_count++] = copy;
    return (LPARAM)tree->file_count;
}

/* The child of `root` named `name`, or a new one in its sorted place. */
HTREEITEM NewsgroupsNode(HWND tree, HTREEITEM root, const wchar_t *name)
{
    HTREEITEM after = TVI_FIRST;
    wchar_t text[kItemTextChars];
    for (HTREEITEM child = TreeView_GetChild(tree, root); child; child = TreeView_GetNextSibling(tree, child)) {
        TVITEMW item = {};
        item.mask = TVIF_TEXT;
        item.hItem = child;
        item.pszText = text;
        item.cchTextMax = kItemTextChars;
        text[0] = L'\0';
        SendMessageW(tree, TVM_GETITEMW, 0, (LPARAM)&item);
        int order = wcscmp(text, name);
        if (order == 0)
            return child;
        if (order > 0)
            break;
        after = child;
    }
    return InsertItem(tree, root, after, name, kDraftFolderImage);
}

} // namespace

void DraftTreeInit(DraftTree *tree)
{
    ZeroMemory(tree, sizeof *tree);
}

int CreateDraftTree(DraftTree *tree, HWND parent, const RECT *rect, HINSTANCE instance, UINT id)
{
    tree->images = ImageList_LoadImageW(instance, MAKEINTRESOURCEW(IDB_FILE_IMAGES), kImageSize, 0, CLR_DEFAULT,
                                        IMAGE_BITMAP, LR_CREATEDIBSECTION);
    if (!tree->images)
        return 0;
    tree->tree = CreateWindowExW(0, WC_TREEVIEWW, L"", WS_CHILD | WS_VISIBLE | TVS_HASLINES | TVS_HASBUTTONS |
                                 TVS_LINESATROOT, rect->left, rect->top, rect->right - rect->left,
                                 rect->bottom - rect->top, parent, (HMENU)(UINT_PTR)id, instance, nullptr);
    if (!tree->tree) {
        DWORD error = GetLastError();
        ImageList_Destroy(tree->images);
        tree->images = nullptr;
        SetLastError(error);
        return 0;
    }
    TreeView_SetImageList(tree->tree, tree->images, TVSIL_NORMAL);
    return 1;
}

int FillDraftTree(DraftTree *tree, const wchar_t *draft_path, int standard_header)
{
    TreeView_DeleteAllItems(tree->tree);
    FreeFileNames(tree);
    static const UINT kRootNames[kDraftRootCount] = {IDS_DRAFTS_WAITING, IDS_DRAFTS_DRAFTS, IDS_DRAFTS_SENT};
    wchar_t text[kItemTextChars];
    for (int i = 0; i < kDraftRootCount; i++) {
        LoadResText(kRootNames[i], text, kItemTextChars);
        tree->roots[i] = InsertItem(tree->tree, TVI_ROOT, TVI_LAST, text, kDraftFolderImage);
        if (!tree->roots[i])
            return 0;
    }
    wchar_t none[32];
    LoadResText(IDS_NONE, none, 32);

    wchar_t *pattern = JoinPath(draft_path, L"*.txt");
    if (!pattern)
        return 0;
    WIN32_FIND_DATAW entry;
    ScopedFindFile find(FindFirstFileW(pattern, &entry));
    free(pattern);
    if (!find.valid())
        return 1;
    int result = 1;
    do {
        if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            continue;
        wchar_t *path = JoinPath(draft_path, entry.cFileName);
        DraftHeader header;
        int read = path && ReadDraftHeader(path, standard_header, &header);
        free(path);
        if (!read)
            continue;
        HTREEITEM root = tree->roots[DraftRootOf(entry.cFileName)];
        HTREEITEM node = NewsgroupsNode(tree->tree, root, header.newsgroups ? header.newsgroups : none);
        LPARAM file = KeepFileName(tree, entry.cFileName);
        if (!node || !file)
            result = 0;
        else
            InsertItem(tree->tree, node, TVI_LAST, header.subject ? header.subject : none, kDraftFileImage, file);
        FreeDraftHeader(&header);
    } while (result && FindNextFileW(find.get(), &entry));
    return result;
}

const wchar_t *DraftTreeFileOf(const DraftTree *tree, HTREEITEM item)
{
    if (!item)
        return nullptr;
    TVITEMW query = {};
    query.mask = TVIF_PARAM;
    query.hItem = item;
    if (!SendMessageW(tree->tree, TVM_GETITEMW, 0, (LPARAM)&query))
        return nullptr;
    DWORD place = (DWORD)query.lParam;
    return place >= 1 && place <= tree->file_count ? tree->files[place - 1] : nullptr;
}

HTREEITEM DraftTreeFindFile(const DraftTree *tree, const wchar_t *file_name)
{
    /* Leaves are two levels down: root folder, newsgroups node, draft. */
    for (HTREEITEM root = TreeView_GetRoot(tree->tree); root; root = TreeView_GetNextSibling(tree->tree, root))
        for (HTREEITEM node = TreeView_GetChild(tree->tree, root); node;
             node = TreeView_GetNextSibling(tree->tree, node))
            for (HTREEITEM leaf = TreeView_GetChild(tree->tree, node); leaf;
                 leaf = TreeView_GetNextSibling(tree->tree, leaf)) {
                const wchar_t *name = DraftTreeFileOf(tree, leaf);
                if (name && _wcsicmp(name, file_name) == 0)
                    return leaf;
            }
    return nullptr;
}

void DraftTreeRelease(DraftTree *tree)
{
    if (tree->images)
        ImageList_Destroy(tree->images);
    tree->images = nullptr;
    FreeFileNames(tree);
    free(tree->files);
    tree->files = nullptr;
    tree->file_capacity = 0;
}
