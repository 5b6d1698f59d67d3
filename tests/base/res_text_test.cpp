#include <gtest/gtest.h>

#include <windows.h>

#include "resources/resource.h"
#include "base/res_text.h"

namespace {

struct NumberedText {
    UINT id;
    const wchar_t *text;
};

/* Every string whose number other parts of the program and its documents
 * refer to, with its exact text. */
const NumberedText kNumberedStrings[] = {
    {1, L"ヘッダ行"},
    {3, L"引用行"},
    {7, L"データファイルの初期化に失敗しました(%d)"},
    {11, L"メモリが足りません"},
    {23, L"インデックスの初期化に失敗しました(%d)"},
    {25, L"既読にできませんでした(%d)"},
    {55, L"設定の保存ができませんでした(%d)"},
    {57, L"ファイルが開けませんでした(%d)"},
    {59, L"フィルタファイルが書き込めませんでした(%d)"},
    {97, L"グループ一覧が取得できませんでした(%d)"},
    {99, L"プロパティでユーザ名を設定してください."},
    {101, L"プロパティでメールアドレスを設定してください."},
    {103, L"プロパティ未設定"},
    {105, L"ﾆｭｰｽｸﾞﾙｰﾌﾟ"},
    {107, L"未読"},
    {109, L"記事数"},
    {111, L"状態"},
    {113, L"現在"},
    {115, L"最大"},
    {117, L"日付"},
    {119, L"差出人"},
    {121, L"題名"},
    {123, L"プロパティ"},
    {125, L"メイン"},
    {127, L"認証"},
    {129, L"キー"},
    {131, L"接続"},
    {133, L"文字"},
    {135, L"色"},
    {137, L"ユーザ"},
    {139, L"投稿"},
    {141, L" "},
    {143, L"送信待ち"},
    {145, L"草稿"},
    {147, L"送信済"},
};

} // namespace

TEST(StringTable, NumberedEntriesHaveTheirExactTexts)
{
    for (const NumberedText &entry : kNumberedStrings) {
        const wchar_t *text = LoadResString(entry.id);
        ASSERT_NE(text, nullptr) << "string " << entry.id;
        EXPECT_STREQ(text, entry.text) << "string " << entry.id;
    }
}

TEST(StringTable, LoadingAndFormatting)
{
    /* Entry 19, asked for when the group list of "delete read articles"
     * cannot be opened, says something with the error number. */
    const wchar_t *text = LoadResString(IDS_GROUP_FILE_OPEN);
    ASSERT_NE(text, nullptr);
    EXPECT_NE(wcsstr(text, L"(%d)"), nullptr);
    EXPECT_EQ(LoadResString(9), nullptr);

    /* One shared buffer: the second load replaces the first. */
    const wchar_t *first = LoadResString(IDS_COL_UNREAD);
    EXPECT_EQ(first, LoadResString(IDS_COL_DATE));
    EXPECT_STREQ(first, L"日付");

    SetLastError(183);
    EXPECT_STREQ(FormatLastError(LoadResString(IDS_DATA_INIT_FAILED)), L"データファイルの初期化に失敗しました(183)");
    EXPECT_STREQ(FormatLastError(nullptr), L"");
}
