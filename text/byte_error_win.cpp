#include "byte_error.h"

#include <windows.h>

void SetByteError(unsigned long code)
{
    SetLastError(code);
}
