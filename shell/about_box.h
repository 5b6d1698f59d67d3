/*
 * The About box: program name and version.
 */
#ifndef PELNOR_ABOUT_BOX_H
#define PELNOR_ABOUT_BOX_H

#include <windows.h>

/* Modal; returns when the user closes it. */
void RunAboutBox(HINSTANCE instance, HWND owner);

#endif
