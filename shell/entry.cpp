#include <windows.h>

#include "shell/pelnor_main.h"

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int show)
{
    return PelnorMain(instance, show);
}
