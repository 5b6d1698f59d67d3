/*
 * The skip table: the line sought, found past lines of any length in bytes
 * that arrive in pieces. Shared by the line reader's test (a file read
 * through buffers of these sizes, under Wine) and the native test of the
 * line search (pieces of these sizes). No windows.h.
 */
#ifndef PELNOR_TESTS_LINE_SKIP_ROWS_H
#define PELNOR_TESTS_LINE_SKIP_ROWS_H

#include <stdint.h>

#include <string>

struct SkipRow {
    std::string bytes, target;
    int found;        /* 0: the bytes end first */
    uint32_t skipped; /* when found: the bytes up to the target's end */
};

inline const SkipRow kSkipRows[] = {
    {"one\r\ntwo\n==\r\r\n==\r\n==\r\nafter", "==\r\n", 1, 18},
    /* With its NUL the longest line the reader's line buffer holds. */
    {"x==\r\n" + std::string(1021, '=') + "\r\n==\r\n", "==\r\n", 1, 5 + 1023 + 4},
    /* Longer than the line buffer: passed, in one read or several. */
    {"a\r\n" + std::string(1100, 'y') + "\r\n==\r\n", "==\r\n", 1, 3 + 1102 + 4},
    {"a\r\n" + std::string(1100, 'y'), "==\r\n", 0, 0},
    {std::string(2000, '=') + "\r\n==\r\n", "==\r\n", 1, 2002 + 4},
    /* Longer than every read buffer, its CR LF split between the first two
     * reads of 4096 bytes, with a lone LF and the target's bytes inside it. */
    {"x\r\n" + std::string(4089, 'y') + "\n==\r\n==\r\n", "==\r\n", 1, 3 + 4094 + 4},
    {"a\r\n==\r", "==\r\n", 0, 0},
    /* Long enough to be searched 64 bytes at a time: a CR LF across two
     * steps ends the line, a lone LF opening a line does not. */
    {"x\r\n" + std::string(63, 'a') + "\r\n==\r\n" + std::string(70, 'c'), "==\r\n", 1, 72},
    {"x\r\n" + std::string(63, 'a') + "\r\n\n==\r\n" + std::string(70, 'c') + "\r\n==\r\n", "==\r\n", 1, 149},
};

/* Reads of 1 and 4 bytes split every line and CR LF; 4096 holds most rows
 * whole. */
inline const uint32_t kSkipPieces[] = {1, 4, 100, 4096};

#endif
