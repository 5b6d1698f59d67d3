#include <gtest/gtest.h>

#include <windows.h>

#include "resources/resource.h"
#include "shell/res_text.h"
#include "support/gui_helper.h"

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

TEST(StringTable, GroupListFailureOfDeleteReadHasAText)
{
    /* Entry 19 is asked for when the group list of "delete read articles"
     * cannot be opened; it must say something, with the error number. */
    const wchar_t *text = LoadResString(IDS_GROUP_FILE_OPEN);
    ASSERT_NE(text, nullptr);
    EXPECT_NE(wcsstr(text, L"(%d)"), nullptr);
    EXPECT_NE(LoadResString(IDS_GROUP_LIST_OPEN), nullptr);
}

TEST(StringTable, MissingEntryLoadsAsNull)
{
    EXPECT_EQ(LoadResString(9), nullptr);
    EXPECT_EQ(LoadResString(39999), nullptr);
}

TEST(StringTable, LoadOverwritesTheSharedBuffer)
{
    const wchar_t *first = LoadResString(IDS_COL_UNREAD);
    const wchar_t *second = LoadResString(IDS_COL_DATE);
    EXPECT_EQ(first, second);
    EXPECT_STREQ(first, L"日付");
}

TEST(FormatLastError, FillsTheErrorNumber)
{
    SetLastError(183);
    EXPECT_STREQ(FormatLastError(LoadResString(IDS_DATA_INIT_FAILED)), L"データファイルの初期化に失敗しました(183)");
    SetLastError(0);
    EXPECT_STREQ(FormatLastError(L"x(%d)."), L"x(0).");
    SetLastError(5);
    EXPECT_STREQ(FormatLastError(nullptr), L"");
}

TEST(ErrorBoxes, ShowTheLastErrorWithCaptionAndIcon)
{
    ModalWatcher watcher;
    SetLastError(38);
    ShowLastErrorBoxRes(IDS_INDEX_INIT_FAILED, IDS_CAPTION_PELNOR, MB_ICONERROR);
    SetLastError(2);
    ShowLastErrorBox(IDS_DELETE_READ_FAILED, L"fj.comp.misc", MB_ICONEXCLAMATION);
    ASSERT_EQ(watcher.boxes().size(), 2u);
    EXPECT_EQ(watcher.boxes()[0].caption, L"PELNOR");
    EXPECT_EQ(watcher.boxes()[0].text, L"インデックスの初期化に失敗しました(38)");
    EXPECT_EQ(watcher.boxes()[0].icon, (UINT)MB_ICONERROR);
    EXPECT_FALSE(watcher.boxes()[0].has_owner);
    EXPECT_EQ(watcher.boxes()[1].caption, L"fj.comp.misc");
    EXPECT_EQ(watcher.boxes()[1].text, L"既読記事の削除に失敗しました(2)");
    EXPECT_EQ(watcher.boxes()[1].icon, (UINT)MB_ICONEXCLAMATION);
}
