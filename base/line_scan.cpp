#include "line_scan.h"

void LineSkipInit(LineSkip *skip, const char *target, uint32_t target_length)
{
    skip->target = target;
    skip->target_length = target_length;
    skip->count = 0;
    skip->carried = 0;
    skip->carried_last = '\0';
    skip->matches = 1;
}

const char *LineSkipScan(LineSkip *skip, const char *first, const char *end)
{
    const char *line_start = first;
    /* Whether the LF at `lf` ends a line: the byte before it is a CR, in
     * this piece or the last one carried. */
    auto after_cr = [&](const char *lf) { return (lf > first ? lf[-1] : skip->carried_last) == '\r'; };
    /* The line ending at the LF at `lf`: counted, and whether it is the
     * target. Only a line of the target's length is compared. */
    auto end_line = [&](const char *lf) {
        uint32_t piece = (uint32_t)(lf + 1 - line_start);
        uint32_t length = skip->carried + piece;
        bool found = length == skip->target_length && skip->matches &&
                     memcmp(line_start, skip->target + skip->carried, piece) == 0;
        skip->count += length;
        skip->carried = 0;
        skip->carried_last = '\0';
        skip->matches = 1;
        line_start = lf + 1;
        return found;
    };
    /* Line ends from masks of 64 bytes: most body lines are about that
     * long, so a step costs a few instructions rather than a search. */
    const char *p = first;
    for (; end - p >= 64; p += 64)
        for (uint64_t lfs = ByteMask(p, '\n'); lfs; lfs &= lfs - 1) {
            const char *lf = p + __builtin_ctzll(lfs);
            if (after_cr(lf) && end_line(lf))
                return line_start;
        }
    for (const char *lf; (lf = FindLf(p, end)); p = lf + 1)
        if (after_cr(lf) && end_line(lf))
            return line_start;
    /* The unfinished line goes on in the next piece. */
    if (line_start < end) {
        uint32_t piece = (uint32_t)(end - line_start);
        skip->matches = skip->matches && skip->carried + piece <= skip->target_length &&
                        memcmp(line_start, skip->target + skip->carried, piece) == 0;
        skip->carried += piece;
        skip->carried_last = end[-1];
    }
    return nullptr;
}

int LineSkipEnd(LineSkip *skip)
{
    if (!skip->carried)
        return 0;
    int found = skip->carried == skip->target_length && skip->matches;
    skip->count += skip->carried;
    skip->carried = 0;
    skip->carried_last = '\0';
    skip->matches = 1;
    return found;
}
