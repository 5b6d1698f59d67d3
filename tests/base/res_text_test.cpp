/* String-table texts as the program's boxes show them: loaded, filled with
 * an error number or a server's line, cut to the caller's buffer. */
#include <gtest/gtest.h>
#include <windows.h>

#include "base/res_text.h"
#include "resources/resource.h"

/* The filled texts are checked in the boxes that show them; these are the
 * edges no box reaches. */
TEST(ResText, TextsComeOutFilledAndCut)
{
    wchar_t out[128];
    EXPECT_EQ(LoadResText(9, out, 128), 0); /* no such entry: the empty text */
    EXPECT_STREQ(out, L"");
    EXPECT_EQ(LoadResString(9), nullptr);
    FormatResError(IDS_DATA_INIT_FAILED, 183, out, 8);
    EXPECT_STREQ(out, L"データファイル"); /* 7 units and the NUL */
    FormatResText(IDS_GROUP_FAILED, nullptr, out, 128);
    EXPECT_STREQ(out, L"グループへ移動できませんでした : ");

    /* A failure that left no reason still names one. */
    FormatResFailure(IDS_FILE_OPEN_FAILED, 0, out, 128);
    EXPECT_STREQ(out, L"ファイルが開けませんでした(13)");
}
