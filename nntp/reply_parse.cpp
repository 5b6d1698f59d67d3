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

unsigned long ParseReplyNumberStrict(const char **cursor)
{
    const char *p = *cursor;
    unsigned long long value = 0;
    int digits = 0;
    for (; *p >= '0' && *p <= '9'; p++, digits++) {
        value = value * 10 + (unsigned long long)(*p - '0');
        if (value > 0xFFFFFFFFull)
            break;
    }
    if (digits == 0 || value > 0xFFFFFFFFull || (*p != '\0' && *p != ' ' && *p != '\r')) {
        *cursor = nullptr;
        return 0xFFFFFFFFul;
    }
    while (*p == ' ')
        p++;
    *cursor = p;
    return (unsigned long)value;
}
