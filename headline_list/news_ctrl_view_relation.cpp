// The relation test: whether a headline matches any of the view's relation-search conditions.
#include "news_view/news_ctrl_view.h"

bool TRVNewsCtrlView::CheckIsRelationSearch(const CHeadline& headline, int categoryId,
                                            const CString& symbolText) const {
    // Titles are compared upper-cased against the words as stored: a lower-case word can only
    // ever hit a symbol text. The matcher reads the title once for every condition's words.
    return m_relation.matches(headline.m_strTitle, categoryId, symbolText);
}
