/* The line search under the line reader's skip, built natively with the
 * sanitizers and the plain byte search of the targets without SSE2: the
 * skip table's rows handed over in pieces as reads of those sizes would,
 * each piece in a buffer of exactly its size. */
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "base/line_scan.h"
#include "line_skip_rows.h"

TEST(LineSkip, SkipTableInPieces)
{
    for (const SkipRow &row : kSkipRows) {
        const std::vector<char> target(row.target.begin(), row.target.end());
        for (uint32_t size : kSkipPieces) {
            LineSkip skip;
            LineSkipInit(&skip, target.data(), (uint32_t)target.size());
            int found = 0;
            for (size_t at = 0; !found && at < row.bytes.size();) {
                size_t end = std::min(at + size, row.bytes.size());
                const std::vector<char> piece(row.bytes.begin() + at, row.bytes.begin() + end);
                const char *after = LineSkipScan(&skip, piece.data(), piece.data() + piece.size());
                if (after) {
                    found = 1;
                    EXPECT_EQ(at + (size_t)(after - piece.data()), skip.count) << row.bytes.substr(0, 20) << " " << size;
                }
                at = end;
            }
            if (!found)
                found = LineSkipEnd(&skip);
            EXPECT_EQ(found, row.found) << row.bytes.substr(0, 20) << " " << size;
            if (found) {
                EXPECT_EQ(skip.count, row.skipped) << row.bytes.substr(0, 20) << " " << size;
            }
        }
    }
}
