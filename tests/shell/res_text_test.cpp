#include <gtest/gtest.h>

#include "resources/resource.h"
#include "shell/res_text.h"

TEST(ResText, LoadsJapaneseEntry)
{
    const wchar_t *text = LoadResString(IDS_DATA_INIT_FAILED);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, L"データファイルの初期化に失敗しました(%d)");
}
