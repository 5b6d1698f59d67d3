/*
 * Numbers of an NNTP status line. Byte-level: no windows.h.
 */
#ifndef PELNOR_REPLY_PARSE_H
#define PELNOR_REPLY_PARSE_H

/* Reads the decimal field at *cursor up to a NUL, a blank or a CR, skips the
 * blanks after it and leaves *cursor on the next field. A field starting
 * with a blank gives 0. Any other byte in the field sets *cursor to null and
 * gives 0xFFFFFFFF. No overflow check (the value wraps). */
unsigned long ParseReplyNumber(const char **cursor);

/* Reads the decimal field at *cursor as ParseReplyNumber does, but a field
 * of no digits or one whose value does not fit in 32 bits also sets *cursor
 * to null. */
unsigned long ParseReplyNumberStrict(const char **cursor);

#endif
