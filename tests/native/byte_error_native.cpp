/* The thread's last error for the native build, which has no SetLastError. */
#include "text/byte_error.h"

static thread_local unsigned long last_error;

void SetByteError(unsigned long code)
{
    last_error = code;
}
