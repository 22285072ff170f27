#pragma once

#include "host/framework/quote_list_view.h"

// The quote list beside the news: the symbols related to the shown headline with their live
// quotes. The news view creates it, feeds it the related symbols and asks it which symbol the
// user focused. Grid, quote updates and persistence are the host list's.
// Ownership: owned by the window tree of the news view. Thread: UI thread.
class CNewsRelateSymbolQuoteView : public QuoteListBaseView {
    NEWS_DECLARE_DYNCREATE(CNewsRelateSymbolQuoteView)

public:
    // Creation: the name and the two integers are the creator's (child id, link group).
    bool bCreateView(host::ui::Window* parent, const CString& name, int value1, int value2) override;
    void vChangeCast() override;
    void vNotSupportSymbol(host::ui::DeviceContext& dc) override;
    // With an empty grid: returns the row count (0 or less) and leaves the outputs alone.
    // Otherwise gives the focused symbol and returns the row count.
    int GetCurrSymbolInfo(unsigned char& service, CString& code) override;

    const CString& GetName() const { return m_strName; }
    int GetValue1() const { return m_iValue1; }
    int GetValue2() const { return m_iValue2; }

protected:
    void OnDraw(host::ui::DeviceContext& dc) override;

private:
    CString m_strName;
    int m_iValue1 = 0;
    int m_iValue2 = 0;
};
