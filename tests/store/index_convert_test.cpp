#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "store_test_util.h"
#include "support/old_indexes.h"

using IndexConvertTest = GroupFixture;

/* Old versions keep their records; a text index (version 1) or a cut one is
 * rebuilt from the log, keeping what its header still says. */
TEST_F(IndexConvertTest, OldAndTruncatedIndexesEndAsVersion5)
{
    ASSERT_TRUE(WriteFileBytes(LogPath(), OldLog()));
    const HeaderFields converted{5, 34, 40, 77, 3, 2, "old", 1, 1, 1}, cut{5, 34, 40, 77, 3, 0, "old", 3};
    const std::string current = HeaderBytes(cut) + CurrentRecords(false);
    const struct {
        std::string index;
        HeaderFields header;
        bool rebuilt;
    } cases[] = {
        {OldIndex(2), converted, false},
        {OldIndex(3), converted, false},
        {OldIndex(4), converted, false},
        {OldTextIndex(SJIS_NIHONGO " ok"), {5, 34, 40, 77, 3, 0, SJIS_NIHONGO " ok", 3}, true},
        {current.substr(0, 100 + 92 + 40), cut, true}, /* a whole header, records cut */
        {current.substr(0, 14), {5, 34, 40, 0, 3, 0, "", 3}, true}, /* half of reserved */
        {current.substr(0, 3), {5, 34, 0, 0, 3, 0, "", 3}, true},   /* made anew: last fetched from the log */
    };
    for (const auto &c : cases) {
        ASSERT_TRUE(WriteFileBytes(IndexPath(), c.index));
        int unknown = -1;
        ASSERT_TRUE(IndexBringUpToDate(&store_, &unknown)) << &c - cases;
        EXPECT_EQ(unknown, 0);
        EXPECT_EQ(FileBytes(IndexPath()), HeaderBytes(c.header) + CurrentRecords(c.rebuilt)) << &c - cases;
        EXPECT_FALSE(FileExists(IndexPath() + L"~"));
    }
}
