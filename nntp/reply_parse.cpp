#include "reply_parse.h"

unsigned long ParseReplyNumber(const char **cursor)
{
    const char *p = *cursor;
    unsigned long value = 0;
    while (*p != '\0' && *p != ' ' && *p != '\r') {
        if (*p < '0' || *p > '9') {
            *cursor = nullptr;
            return 0xFFFFFFFFul;
        }
        value = (value * 10 + (unsigned long)(*p - '0')) & 0xFFFFFFFFul;
        p++;
    }
    while (*p == ' ')
        p++;
    *cursor = p;
    return value;
}
