/* An empty program built like pelnor.exe: its imports are the C runtime's
 * own start-up, which the CE import check leaves out. */
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int)
{
    return 0;
}
