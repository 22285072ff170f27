// The dialog engine on the headless host: a template made into a dialog, modeless and modal,
// with its data exchange, keys, radio groups and life cycle.
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/headless_controls.h"
#include "adapters/headless/headless_host.h"
#include "adapters/headless/scripted_backend.h"
#include "host/framework/dialog.h"
#include "host/framework/message_map.h"
#include "host/ui/dialog_templates.h"
#include "tests/support/recording_handler.h"

namespace {

namespace win = host::ui::win;
using host::ui::Rect;

constexpr int kDialogId = 7001;

// A folder with the test's template, made the store's folder for the test's duration.
class TemplateFolder {
public:
    explicit TemplateFolder(const std::string& text)
        : m_dir(std::filesystem::temp_directory_path() /
                ("dialog-engine-" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()))) {
        std::filesystem::create_directories(m_dir);
        std::ofstream(m_dir / (std::to_string(kDialogId) + ".dlg"), std::ios::binary) << text;
        host::ui::DialogTemplateStore::instance().setDirectory(m_dir.string());
    }
    ~TemplateFolder() {
        host::ui::DialogTemplateStore::instance().setDirectory({});
        std::filesystem::remove_all(m_dir);
    }
    TemplateFolder(const TemplateFolder&) = delete;
    TemplateFolder& operator=(const TemplateFolder&) = delete;

private:
    std::filesystem::path m_dir;
};

const char* const kTemplate = "dialog 7001\n"
                              "caption \"IDS_TEST_TITLE\"\n"
                              "size 300 200\n"
                              "button 1 200 160 80 24 \"IDS_OK\" default\n"
                              "button 2 110 160 80 24 \"Cancel\"\n"
                              "button 50 10 160 80 24 \"Count\"\n"
                              "checkbox 10 10 10 100 20 \"Headlines\"\n"
                              "radio 20 10 40 60 20 \"And\" group\n"
                              "radio 21 80 40 60 20 \"Or\"\n"
                              "radio 22 10 70 60 20 \"Today\" group\n"
                              "radio 23 80 70 60 20 \"Week\"\n"
                              "edit 30 10 100 120 22\n"
                              "edit 31 140 100 120 50 multiline\n"
                              "listctrl 40 10 130 100 20 column \"IDS_OK\" 50\n";

class TestDialog : public CDialog {
public:
    explicit TestDialog(host::ui::Window* parent) : CDialog(kDialogId, parent) {}

    CString m_strText = "start";
    int m_iChecked = 1;
    int m_iMethod = 1;
    int m_iCounted = 0;
    std::vector<std::string> m_events;

protected:
    std::optional<host::ui::LRESULT> dispatchMessageMap(const host::ui::Message& message) override {
        return GetMessageMap().dispatch(*this, message);
    }
    bool OnInitDialog() override {
        m_events.push_back("init:" + std::to_string(GetDlgItem(30) != nullptr));
        UpdateData(false);
        return true;
    }
    void DoDataExchange(CDataExchange* pDX) override {
        DDX_Text(pDX, 30, m_strText);
        DDX_Check(pDX, 10, m_iChecked);
        DDX_Radio(pDX, 20, m_iMethod);
    }
    void OnSize(unsigned /*type*/, int cx, int cy) override {
        m_events.push_back("size:" + std::to_string(cx) + "x" + std::to_string(cy));
    }
    void OnDestroy() override { m_events.push_back("destroy"); }

private:
    void OnCount() { ++m_iCounted; }
    static const host::MessageMap<TestDialog>& GetMessageMap() {
        using Map = host::MessageMap<TestDialog>;
        static const Map map{Map::command<&TestDialog::OnCount>(50)};
        return map;
    }
};

// A control of a dialog as its headless class; a missing one ends the test.
template <class T> T& control(host::ui::Window* window) {
    auto* typed = dynamic_cast<T*>(window);
    if (typed == nullptr) {
        throw std::runtime_error("no such control");
    }
    return *typed;
}

class DialogEngineTest : public ::testing::Test {
protected:
    DialogEngineTest() {
        m_backend.language().set("IDS_TEST_TITLE", "News search");
        m_backend.language().set("IDS_OK", "OK!");
        m_backend.install();
    }
    ~DialogEngineTest() override { m_backend.uninstall(); }

    static headless::HeadlessButton& button(TestDialog& d, int id) {
        return control<headless::HeadlessButton>(d.GetDlgItem(id));
    }

    headless::HeadlessHost m_host;
    headless::ScriptedBackend m_backend;
    TemplateFolder m_folder{kTemplate};
    testsupport::RecordingHandler m_ownerHandler{"owner"};
    host::ui::Window* m_owner = m_host.ui().createWindow(nullptr, 1, Rect{100, 100, 900, 700}, &m_ownerHandler);
};

TEST_F(DialogEngineTest, ModelessDialogIsAHiddenTopLevelWindowWithTheTemplateControls) {
    TestDialog dialog(m_owner);
    ASSERT_TRUE(dialog.Create(m_owner)) << dialog.GetCreateError();
    host::ui::Window* wnd = dialog.GetWnd();
    EXPECT_EQ(wnd->parent(), nullptr) << "a dialog is a window of its own";
    EXPECT_FALSE(wnd->isVisible()) << "made hidden, as a modeless dialog is";
    EXPECT_EQ(wnd->text(), "News search") << "the caption's language key is resolved";
    EXPECT_EQ(wnd->rect(), (Rect{350, 300, 650, 500})) << "centred over the owner";
    EXPECT_EQ(dialog.GetDlgItem(1)->text(), "OK!");
    // The template's default button is made a default push button; the others plain ones.
    EXPECT_EQ(button(dialog, 1).buttonKind(), win::BS_DEFPUSHBUTTON);
    EXPECT_EQ(button(dialog, 2).buttonKind(), win::BS_PUSHBUTTON);
    EXPECT_EQ(dynamic_cast<host::ui::ListCtrl*>(dialog.GetDlgItem(40)) != nullptr, true);
    EXPECT_EQ(dialog.m_events, (std::vector<std::string>{"size:300x200", "init:1", "size:300x200"}))
        << "a size while the frame is made, OnInitDialog once the controls exist, then the size to lay out by";
    EXPECT_EQ(dialog.GetDlgItem(30)->text(), "start") << "OnInitDialog wrote the members into the controls";
    EXPECT_TRUE(button(dialog, 10).isChecked());
    EXPECT_TRUE(button(dialog, 21).isChecked());
    EXPECT_FALSE(button(dialog, 20).isChecked());

    EXPECT_FALSE(dialog.Create(m_owner)) << "a dialog exists once";
    dialog.ShowWindow(true);
    button(dialog, 50).click();
    EXPECT_EQ(dialog.m_iCounted, 1) << "the message map takes the command";
    button(dialog, 2).click();
    EXPECT_FALSE(wnd->isVisible()) << "Cancel hides a modeless dialog";
    EXPECT_EQ(dialog.GetWnd(), wnd) << "and keeps it";
}

TEST_F(DialogEngineTest, ModalDialogWithoutAUserEndsWithCancel) {
    TestDialog dialog(m_owner);
    EXPECT_EQ(dialog.DoModal(), win::IDCANCEL);
    ASSERT_EQ(m_host.ui().modalRuns().size(), 1u);
    EXPECT_TRUE(m_host.ui().modalRuns()[0].endedByHost);
    EXPECT_EQ(dialog.GetWnd(), nullptr) << "DoModal destroys its window";
    EXPECT_EQ(dialog.m_events.back(), "destroy");
    EXPECT_TRUE(m_owner->isEnabled()) << "the owner takes input again";
    EXPECT_EQ(m_host.ui().topLevelWindows().size(), 1u);
}

TEST_F(DialogEngineTest, ModalHookPlaysTheUserAndOkReadsTheControls) {
    TestDialog dialog(m_owner);
    bool ownerDisabled = false;
    m_host.ui().setModalHook([&](host::ui::Window& wnd) {
        ownerDisabled = !m_owner->isEnabled();
        EXPECT_TRUE(wnd.isVisible());
        EXPECT_EQ(m_host.ui().modalDialog(), &wnd);
        control<headless::HeadlessEdit>(wnd.child(30)).typeText("台積電");
        control<headless::HeadlessButton>(wnd.child(10)).click();
        control<headless::HeadlessButton>(wnd.child(20)).click();
        control<headless::HeadlessButton>(wnd.child(1)).click();
    });
    EXPECT_EQ(dialog.DoModal(), win::IDOK);
    EXPECT_TRUE(ownerDisabled) << "the owner takes no input while the dialog runs";
    EXPECT_FALSE(m_host.ui().modalRuns().back().endedByHost);
    EXPECT_EQ(dialog.m_strText, "台積電");
    EXPECT_EQ(dialog.m_iChecked, 0) << "the check box ticked itself off";
    EXPECT_EQ(dialog.m_iMethod, 0);
}

TEST_F(DialogEngineTest, RadioButtonsAreExclusiveWithinTheirGroupOnly) {
    TestDialog dialog(m_owner);
    ASSERT_TRUE(dialog.Create(m_owner));
    dialog.ShowWindow(true);
    button(dialog, 23).click();
    button(dialog, 20).click();
    EXPECT_TRUE(button(dialog, 20).isChecked());
    EXPECT_FALSE(button(dialog, 21).isChecked());
    EXPECT_TRUE(button(dialog, 23).isChecked()) << "another group is left alone";
    button(dialog, 22).click();
    EXPECT_FALSE(button(dialog, 23).isChecked());
    EXPECT_TRUE(button(dialog, 20).isChecked());
}

TEST_F(DialogEngineTest, EscapeCancelsEnterPressesTheDefaultOrFocusedButton) {
    const auto run = [&](const std::function<void(host::ui::Window&)>& user) {
        TestDialog dialog(m_owner);
        m_host.ui().setModalHook(user);
        return dialog.DoModal();
    };
    EXPECT_EQ(run([&](host::ui::Window& wnd) { m_host.ui().keyInput(wnd.child(30), win::WM_KEYDOWN, win::VK_ESCAPE); }),
              win::IDCANCEL);
    EXPECT_FALSE(m_host.ui().modalRuns().back().endedByHost) << "Escape ended it, not the host";
    EXPECT_EQ(run([&](host::ui::Window& wnd) { m_host.ui().keyInput(wnd.child(30), win::WM_KEYDOWN, win::VK_RETURN); }),
              win::IDOK);
    EXPECT_EQ(run([&](host::ui::Window& wnd) { m_host.ui().keyInput(wnd.child(2), win::WM_KEYDOWN, win::VK_RETURN); }),
              win::IDCANCEL);
    EXPECT_FALSE(m_host.ui().modalRuns().back().endedByHost) << "Enter pressed the focused Cancel button";
    bool consumed = true;
    EXPECT_EQ(run([&](host::ui::Window& wnd) {
                  consumed = m_host.ui().keyInput(wnd.child(31), win::WM_KEYDOWN, win::VK_RETURN);
              }),
              win::IDCANCEL);
    EXPECT_FALSE(consumed) << "a multi-line edit keeps Enter";
    EXPECT_TRUE(m_host.ui().modalRuns().back().endedByHost);
}

TEST_F(DialogEngineTest, AnOwnedDialogDiesWithItsOwner) {
    auto owner = std::make_unique<testsupport::RecordingHandler>("second");
    host::ui::Window* ownerWnd = m_host.ui().createWindow(nullptr, 2, Rect{0, 0, 400, 300}, owner.get());
    TestDialog dialog(ownerWnd);
    ASSERT_TRUE(dialog.Create(ownerWnd));
    ownerWnd->destroy();
    EXPECT_EQ(dialog.GetWnd(), nullptr) << "the dialog heard WM_DESTROY";
    EXPECT_EQ(dialog.m_events.back(), "destroy");
    EXPECT_EQ(m_host.ui().topLevelWindows().size(), 1u);
}

TEST_F(DialogEngineTest, MissingTemplateOrHostIsAFailureNotACrash) {
    CDialog missing(4321, m_owner);
    EXPECT_FALSE(missing.Create(m_owner));
    EXPECT_EQ(missing.GetCreateError(), "4321.dlg: no such dialog template");
    EXPECT_EQ(missing.DoModal(), -1);
    EXPECT_EQ(missing.GetWnd(), nullptr);
}

} // namespace
