/* String-table texts filled with a failure's error number. */
#include <gtest/gtest.h>
#include <windows.h>

#include "base/res_text.h"
#include "resources/resource.h"

/* The filled texts are checked in the boxes that show them; a failure that
 * left no reason (error 0) reaches none of them, and still names one. */
TEST(ResText, AFailureWithoutAReasonNamesOne)
{
    wchar_t out[128];
    FormatResFailure(IDS_FILE_OPEN_FAILED, 0, out, 128);
    EXPECT_STREQ(out, L"ファイルが開けませんでした(13)");
}
