/*
 * Starting another program on a file. The desktop's CreateProcess wants the
 * program's own name at the head of the command line; the Pocket PC's takes
 * the arguments alone.
 */
#ifndef PELNOR_PROGRAM_H
#define PELNOR_PROGRAM_H

#include <windows.h>

/* Starts `program` with the path `file` as its one argument and lets it
 * run on its own. 1, or 0 with the last error. */
int StartProgramOnFile(const wchar_t *program, const wchar_t *file);

#endif
