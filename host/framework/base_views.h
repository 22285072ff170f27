#pragma once

#include <memory>
#include <vector>

#include "host/backend/news_receiver.h"
#include "host/backend/news_records.h"
#include "host/framework/runtime_class.h"
#include "host/ui/device_context.h"
#include "host/ui/window.h"

class TRVCfgIO2;

// Root of the host's view framework: a view has a host window and handles its events.
// Ownership: the view owns its window (destroyed with the view) and the child views it
// adopted; the host owns the top view. Thread: UI thread.
class TRVVirtualBaseView : public host::ui::WindowHandler {
public:
    TRVVirtualBaseView();
    ~TRVVirtualBaseView() override;
    TRVVirtualBaseView(const TRVVirtualBaseView&) = delete;
    TRVVirtualBaseView& operator=(const TRVVirtualBaseView&) = delete;

    virtual const CRuntimeClass* GetRuntimeClass() const = 0;

    // Creates the view's window as a child of parent (null: a top-level window) with the
    // given child id. false when the host could not create it.
    bool Create(host::ui::Window* parent, const host::ui::Rect& rect, int childId);
    host::ui::Window* GetWnd() const { return m_pWnd; }
    host::ui::Rect GetClientRect() const;
    void Invalidate(bool erase = true);

    virtual void OnInitialUpdate() {}
    virtual void InitialViewInfo(TRVCfgIO2* /*cfg*/, const CString& /*section*/, int /*layout1*/, int /*layout2*/,
                                 const CString& /*name*/) {}
    virtual void SaveViewInfo(TRVCfgIO2* /*cfg*/, const CString& /*section*/, int /*layout1*/, int /*layout2*/) {}
    virtual void GetCaption(CString& /*caption*/) {}
    virtual void ChangeActiveApp(int /*active*/) {}
    virtual void vChangeCast() {}
    void vSetFrameID(int frameId) { m_iFrameID = frameId; }
    int GetFrameID() const { return m_iFrameID; }

    // Child views live as long as this view (the window tree owns them).
    TRVVirtualBaseView* AdoptChildView(std::unique_ptr<TRVVirtualBaseView> child);

    // WindowHandler: the default handling of a message that no message map took.
    host::ui::LRESULT handleMessage(const host::ui::Message& message) override;
    void paint(host::ui::DeviceContext& dc) override { OnDraw(dc); }

protected:
    virtual void OnDraw(host::ui::DeviceContext& /*dc*/) {}

private:
    host::ui::Window* m_pWnd = nullptr; // owned: destroyed in the destructor
    int m_iFrameID = 0;
    std::vector<std::unique_ptr<TRVVirtualBaseView>> m_childViews;
};

// Adds the view font, the view colours and the common timer handling.
class RVComVirtualBaseView : public TRVVirtualBaseView {
public:
    // Re-reads the view font from the host's settings.
    void InitFont();
    const host::ui::Font& GetViewFont() const { return m_font; }
    void SetViewFont(const host::ui::Font& font) { m_font = font; }
    // Pixel height of a text line in the view font.
    int GetFontHeight() const;
    virtual void OnTimer(unsigned /*id*/) {}

private:
    host::ui::Font m_font;
};

// A quote view: link group, current symbol, data state, title band, back-end callbacks.
class TRVQuoteBaseView : public RVComVirtualBaseView, public NewsReceiver {
public:
    TRVQuoteBaseView();
    ~TRVQuoteBaseView() override;

    enum DataState : int { kDataNormal = 0, kDataNotSupported = 1 };

    // Symbol binding (overridden by views that follow a symbol).
    virtual void ChangeSymbol(const TRVQuoteBaseView* sender, unsigned char group, unsigned char service,
                              const CString& code, const CString& name);
    // Gives the view's current symbol; the result is the number of symbols the view holds
    // there (1 for a view that follows one symbol).
    virtual int GetCurrSymbolInfo(unsigned char& service, CString& code);
    virtual void vDoSymbolUpdate(const std::vector<CSymbolUpdateInfo>& /*updates*/) {}
    virtual void vReRegisterSymbols() {}
    virtual void vUnregisterViewSymbol() {}
    virtual void vNotSupportSymbol(host::ui::DeviceContext& /*dc*/) {}

    // Whether the user may see a service (the back end's authorisation).
    bool bIsAuthService(unsigned char service) const;
    // Announces this view's current symbol to every view of the link group.
    void SendChangeSymbol(TRVQuoteBaseView* view, unsigned char group);

    unsigned char GetLinkGroup() const { return m_byLinkGroup; }
    void SetLinkGroup(unsigned char group) { m_byLinkGroup = group; }
    unsigned char GetSymbolService() const { return m_bySymbolService; }
    const CString& GetSymbolCode() const { return m_strSymbolCode; }
    void SetSymbol(unsigned char service, const CString& code);

    int GetDataState() const { return m_iDataState; }
    void SetDataState(int state) { m_iDataState = state; }
    bool IsShowTitle() const { return m_bShowTitle; }
    void SetShowTitle(bool show) { m_bShowTitle = show; }
    int GetTitleHeight() const { return m_bShowTitle ? m_iTitleHeight : 0; }
    int GetViewType() const { return m_iViewType; }
    void SetViewType(int type) { m_iViewType = type; }
    // The view's status text line (caption text).
    const CString& GetCaptionText() const { return m_strCaptionText; }
    void SetCaptionText(const CString& text) { m_strCaptionText = text; }
    // Set by the host: keep pop-up windows in step with the application's activation.
    bool IsPopupFollowApp() const { return m_bPopupFollowApp; }
    void SetPopupFollowApp(bool follow) { m_bPopupFollowApp = follow; }
    // The view's two row background colours: plain rows (also the view's own background) and
    // striped rows. The host sets them with its colour scheme before it announces the change
    // (vChangeCast); a new view starts with the host's list background colours.
    COLORREF GetBackColor() const { return m_crBack; }
    void SetBackColor(COLORREF color) { m_crBack = color; }
    COLORREF GetStripeColor() const { return m_crStripe; }
    void SetStripeColor(COLORREF color) { m_crStripe = color; }

    // Every live quote view of the process, in creation order (non-owning).
    static const std::vector<TRVQuoteBaseView*>& AllViews();

protected:
    // Host paint services for the title band, the not-supported picture and the frame.
    void DrawTitle(host::ui::DeviceContext& dc);
    void DrawNotSupport(host::ui::DeviceContext& dc);
    void DrawBorder(host::ui::DeviceContext& dc);
    void SendPaintLayout() {}

private:
    unsigned char m_byLinkGroup = 0;
    unsigned char m_bySymbolService = 0;
    CString m_strSymbolCode;
    int m_iDataState = kDataNormal;
    bool m_bShowTitle = false;
    int m_iTitleHeight = 20;
    int m_iViewType = 1;
    CString m_strCaptionText;
    bool m_bPopupFollowApp = false;
    COLORREF m_crBack = 0;
    COLORREF m_crStripe = 0;
};

// Symbol registration with the host's real-time distribution. An empty code registers a
// whole news service.
void C_RegisterSymbol(TRVQuoteBaseView* view, const std::vector<CSymbolInfo>& added,
                      const std::vector<CSymbolInfo>& removed);
void C_UnRegisterSymbol(TRVQuoteBaseView* view);

// The host's test for an ordinary listed stock code of the stock exchange service.
bool bIsNormalTWSESymbolID(unsigned char service, const CString& code);
