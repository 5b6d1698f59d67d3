/* Finding the searched text again in the article shown: the text is
 * matched in its stored form, as the search matched it in the log, and
 * the place found is turned back into the text's own units. */
#include <stdlib.h>
#include <wchar.h>

#include "filters/text_match.h"
#include "text/stored_text.h"
#include "views/article_view.h"

int ArticleViewFindNext(ArticleView *view, const TextPattern *pattern)
{
    const wchar_t *text = view->holder->text;
    if (!text)
        return 0;
    StoredBuffer stored;
    StoredBufferInit(&stored);
    size_t units = wcslen(text);
    char16_t *scratch = nullptr;
    int found = 0;
    if (Utf16ToStored(&stored, (const char16_t *)text, units) && stored.used &&
        (scratch = (char16_t *)malloc((stored.used + 1) * sizeof(char16_t))) != nullptr) {
        const char *end = stored.data + stored.used;
        const char *from = stored.data + (view->find_from <= stored.used ? view->find_from : stored.used);
        size_t length;
        for (const char *hit; !found && (hit = TextPatternFind(pattern, from, end, &length)) != nullptr;
             from = hit + length) {
            /* A stored byte never stands for fewer than one unit: the
             * scratch holds any part of the text. */
            DWORD start = (DWORD)StoredToUtf16(stored.data, (size_t)(hit - stored.data), scratch);
            DWORD span = (DWORD)StoredToUtf16(hit, length, scratch);
            if (ArticleViewShowMark(view, start, span)) {
                view->find_from = (DWORD)(hit + length - stored.data);
                found = 1;
            }
        }
    }
    if (!found)
        ArticleViewClearMark(view);
    free(scratch);
    StoredBufferRelease(&stored);
    return found;
}
