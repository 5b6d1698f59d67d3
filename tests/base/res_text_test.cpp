/* String-table texts as the program's boxes show them: loaded, filled with
 * an error number or a server's line, cut to the caller's buffer. */
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "base/res_text.h"
#include "resources/resource.h"

TEST(ResText, TextsComeOutFilledAndCut)
{
    wchar_t out[128];
    EXPECT_EQ(LoadResText(IDS_COL_UNREAD, out, 128), 1);
    EXPECT_STREQ(out, L"未読");
    EXPECT_EQ(LoadResText(9, out, 128), 0); /* no such entry: the empty text */
    EXPECT_STREQ(out, L"");
    EXPECT_EQ(LoadResString(9), nullptr);

    auto error = [&](UINT id, DWORD number, int chars) {
        FormatResError(id, number, out, chars);
        return std::wstring(out);
    };
    auto text = [&](UINT id, const wchar_t *argument) {
        FormatResText(id, argument, out, 128);
        return std::wstring(out);
    };
    EXPECT_EQ(error(IDS_DATA_INIT_FAILED, 183, 128), L"データファイルの初期化に失敗しました(183)");
    EXPECT_EQ(error(IDS_RECV_FAILED, 10054, 128), L"受信に失敗しました(10054).");
    EXPECT_EQ(error(IDS_DATA_INIT_FAILED, 183, 8), L"データファイル"); /* 7 units and the NUL */
    EXPECT_EQ(text(IDS_GROUP_FAILED, L"411 no such group\r\n"), L"グループへ移動できませんでした : 411 no such group\r\n");
    EXPECT_EQ(text(IDS_GROUP_FAILED, nullptr), L"グループへ移動できませんでした : ");

    /* A failure that left no reason still names one. */
    FormatResFailure(IDS_FILE_OPEN_FAILED, 0, out, 128);
    EXPECT_STREQ(out, L"ファイルが開けませんでした(13)");
    FormatResFailure(IDS_FILE_OPEN_FAILED, 5, out, 128);
    EXPECT_STREQ(out, L"ファイルが開けませんでした(5)");
}
