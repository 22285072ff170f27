#pragma once

#include <optional>
#include <string>

#include "host/backend/news_records.h"
#include "host/ui/device_context.h"
#include "host/ui/dialog_template.h"
#include "host/ui/window.h"

class CDialog;

// Data exchange between a dialog's controls and its members (UpdateData). In the saving
// direction the controls' values are read into the members, otherwise the members are
// written into the controls. A control the dialog does not have is skipped.
class CDataExchange {
public:
    CDataExchange(CDialog& dialog, bool saveAndValidate) : m_dialog(dialog), m_bSaveAndValidate(saveAndValidate) {}
    host::ui::Window* control(int id) const;
    CDialog& dialog() const { return m_dialog; }

private:
    CDialog& m_dialog;

public:
    const bool m_bSaveAndValidate;
};

// The text of any control (edit, static, button caption, rich edit).
void DDX_Text(CDataExchange* pDX, int id, CString& value);
// A check box: 0 or 1.
void DDX_Check(CDataExchange* pDX, int id, int& value);
// A radio group, given by its first button: the index of the checked button, -1 for none.
void DDX_Radio(CDataExchange* pDX, int firstId, int& index);
// The selected item of a list box or combo: its index, -1 for none.
void DDX_LBIndex(CDataExchange* pDX, int id, int& index);
void DDX_CBIndex(CDataExchange* pDX, int id, int& index);

// A dialog of the host framework, made from a dialog template (host/ui/dialog_template.h),
// modeless (Create) or modal (DoModal). A dialog class derives from it, declares its message
// map like a view (one host::MessageMap table: commands of its controls, notifications,
// registered messages), returns its dispatch from dispatchMessageMap, and overrides the
// virtual handlers it needs. A message its table does not take gets the standard handling,
// which turns WM_INITDIALOG, IDOK, IDCANCEL, WM_CLOSE, WM_SIZE, WM_TIMER, WM_LBUTTONDOWN and
// WM_DESTROY into the virtual handlers below.
//
// Language keys: a caption or control text of the template that is a language key ("IDS_...")
// shows the back end's language text for it.
// Keys: Escape presses Cancel (IDCANCEL); Enter presses the focused push button, else the
// default button set by SetDefID, else the template's default button, else OK (IDOK), except
// in a multi-line edit.
// Ownership: the dialog object owns its window (destroyed with the object or DestroyWindow);
// the parent window is not owned. Thread: UI thread. Re-entrancy: handlers may end, hide or
// destroy the dialog; DoModal returns after the modal loop has ended.
class CDialog : public host::ui::WindowHandler {
public:
    explicit CDialog(int templateId = 0, host::ui::Window* parent = nullptr);
    ~CDialog() override;
    CDialog(const CDialog&) = delete;
    CDialog& operator=(const CDialog&) = delete;

    // Makes the modeless dialog, hidden, from its template; sends WM_INITDIALOG (OnInitDialog)
    // and a first WM_SIZE with its client size. False (with the reason in GetCreateError) when
    // there is no host, no such template, or the dialog exists already.
    bool Create(int templateId, host::ui::Window* parent);
    bool Create(host::ui::Window* parent) { return Create(m_iTemplateId, parent); }
    // Makes the dialog, runs it modally and destroys it; returns what EndDialog was given, or
    // -1 when the dialog could not be made.
    virtual int DoModal();
    // Ends a modal dialog with result; hides a modeless one.
    void EndDialog(int result);

    host::ui::Window* GetWnd() const { return m_pWnd; }
    host::ui::Window* GetDlgItem(int id) const;
    template <class T> T* GetDlgItemAs(int id) const { return dynamic_cast<T*>(GetDlgItem(id)); }
    host::ui::Window* GetParentWnd() const { return m_pParentWnd; }
    void SetParentWnd(host::ui::Window* parent) { m_pParentWnd = parent; }
    int GetTemplateId() const { return m_iTemplateId; }
    // The template the dialog was made from (language keys resolved); null before Create.
    const host::ui::DialogTemplate* GetTemplate() const { return m_bHaveTemplate ? &m_template : nullptr; }
    const std::string& GetCreateError() const { return m_strCreateError; }
    bool IsModal() const { return m_bModal; }
    int GetModalResult() const { return m_iModalResult; }

    // Reads the controls into the members (true) or writes the members into the controls.
    bool UpdateData(bool saveAndValidate = true);
    void ShowWindow(bool show);
    bool IsWindowVisible() const;
    void DestroyWindow();
    // The default push button (DM_SETDEFID): what Enter presses from a control that is no push
    // button. 0: the template's default button, else OK.
    void SetDefID(int id) { m_iDefId = id; }
    int GetDefID() const { return m_iDefId; }
    void SetTimer(unsigned id, unsigned milliseconds);
    void KillTimer(unsigned id);

    // --- host::ui::WindowHandler ---
    // Keeps radio groups exclusive, then the class's message map, then the standard handling.
    host::ui::LRESULT handleMessage(const host::ui::Message& message) final;
    bool preTranslateMessage(const host::ui::Message& message) override;
    host::ui::LRESULT eraseBackground(host::ui::DeviceContext& dc) override { return OnEraseBkgnd(dc); }
    void paint(host::ui::DeviceContext& dc) override { OnPaint(dc); }

protected:
    // The derived class's message map: `return GetMessageMap().dispatch(*this, message);`
    // (a class between CDialog and the final one chains to its base when its own table has
    // no entry). Nothing: the standard handling runs.
    virtual std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& /*message*/) {
        return std::nullopt;
    }
    // WM_INITDIALOG, once the controls exist. True: the host may give the first control the focus.
    virtual bool OnInitDialog() { return true; }
    virtual void DoDataExchange(CDataExchange* /*pDX*/) {}
    // IDOK: reads the controls (UpdateData) and ends the dialog with IDOK; IDCANCEL ends it
    // with IDCANCEL; WM_CLOSE (the frame's close button) does what Cancel does.
    virtual void OnOK();
    virtual void OnCancel();
    virtual void OnClose() { OnCancel(); }
    virtual void OnSize(unsigned /*type*/, int /*cx*/, int /*cy*/) {}
    virtual void OnTimer(unsigned /*id*/) {}
    virtual void OnDestroy() {}
    virtual void OnLButtonDown(unsigned /*flags*/, host::ui::Point /*point*/) {}
    // WM_ERASEBKGND: non-zero when the dialog painted its background itself.
    virtual host::ui::LRESULT OnEraseBkgnd(host::ui::DeviceContext& /*dc*/) { return 0; }
    virtual void OnPaint(host::ui::DeviceContext& /*dc*/) {}

private:
    host::ui::LRESULT standardHandling(const host::ui::Message& message);
    // The template with its language keys replaced by their texts.
    static host::ui::DialogTemplate resolveTexts(const host::ui::DialogTemplate& source);
    // Keeps one radio button of the clicked button's group checked.
    void checkRadioInGroup(int clickedId);
    // The id Enter presses with focus on target.
    int enterCommandId(const host::ui::Window* target) const;

    int m_iTemplateId;
    host::ui::Window* m_pParentWnd;     // not owned
    host::ui::Window* m_pWnd = nullptr; // owned: destroyed with the dialog
    host::ui::DialogTemplate m_template;
    bool m_bHaveTemplate = false;
    std::string m_strCreateError;
    bool m_bModal = false;
    int m_iModalResult = 0;
    int m_iDefId = 0;
};

// Scales a length in pixels at 96 dots per inch to the screen's resolution.
int iCalTransDevScale(int pixels);
