/*
 * The program's own modal chooser of a folder or a file (the device has no
 * folder picker): dialog 101 with a tree of folders read as the user opens
 * them. Folder mode (no pattern) takes any folder; file mode takes only a
 * file matching the pattern, such as "*.exe".
 *
 * Paths are written as the device writes them, from "\". On the desktop a
 * drive may be given: the tree's root "\" then stands for that drive's root
 * and every result begins with it ("Z:" + "\news\").
 */
#ifndef PELNOR_FILE_CHOOSER_H
#define PELNOR_FILE_CHOOSER_H

#include <windows.h>
#include <commctrl.h>

enum { kChooserPathChars = 260 };

struct FileChooser {
    HIMAGELIST imageList;             /* bitmap 116, made on first use */
    wchar_t path[kChooserPathChars];  /* where the chosen path is built */
    wchar_t *result;                  /* into path, after OK */
    const wchar_t *title;             /* borrowed caption */
    const wchar_t *pattern;           /* borrowed; null: folder mode */
    wchar_t drive[3];                 /* "Z:" on the desktop, "" for the device's own root */
};

/* Empty image list, no pattern, no drive. */
void InitFileChooser(FileChooser *chooser);

/* The tree's root becomes the root of the drive `path` is on ("C:\x" gives
 * "C:"); a path without a drive letter leaves the device's root. */
void SetFileChooserDrive(FileChooser *chooser, const wchar_t *path);

/* 1 when the user pressed OK (chooser->result holds the path: a folder ends
 * in "\", a file does not), 2 on Cancel or when the images cannot be made. */
int RunFileChooser(FileChooser *chooser, HINSTANCE instance, HWND owner, const wchar_t *title,
                   const wchar_t *pattern);

/* Destroys the image list if one was made. */
void FreeFileChooser(FileChooser *chooser);

#endif
