#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "adapters/headless/headless_dialogs.h"
#include "adapters/headless/recording_dc.h"
#include "adapters/headless/virtual_clock.h"
#include "host/ui/ui_host.h"

namespace headless {

class WindowCore;

// A pop-up menu as the user saw it when the module tracked it.
struct MenuRecord {
    struct Item {
        unsigned id = 0; // 0 for a separator
        CString text;
        bool checked = false;
    };
    std::vector<Item> items;
    host::ui::Point screenPoint{};
    int ownerId = 0;
    std::uint64_t ownerSerial = 0;
    bool rightButton = false;
    bool open = true;    // until chosen from or dismissed (or another menu is tracked)
    unsigned chosen = 0; // the chosen id, 0 when none
};

// One modal loop a dialog ran, as it ended.
struct ModalRecord {
    int dialogId = 0;
    int result = 0;
    bool endedByHost = false; // the dialog did not end itself: the host pressed Cancel for it
};

// The in-memory windowing system: windows and controls whose state tests read, user input
// delivered as the Windows message numbers, posted messages pumped on request, menus chosen
// by the test, dialogs answered by a script and timers driven by the virtual clock.
// Messages are delivered synchronously through WindowHandler::handleMessage; a key message
// from the keyboard is first offered to preTranslateMessage of every handler from the target
// window up to its top-level window.
// Ownership: owns every top-level window (children are owned by their parents); the clock is
// not owned and must outlive the host. Thread: UI thread only. Re-entrancy: handlers may
// create, move and destroy windows while a message is delivered; a destroyed window is freed
// only when the outermost delivery returns.
class HeadlessUiHost : public host::ui::UiHost {
public:
    explicit HeadlessUiHost(VirtualClock& clock);
    ~HeadlessUiHost() override;
    HeadlessUiHost(const HeadlessUiHost&) = delete;
    HeadlessUiHost& operator=(const HeadlessUiHost&) = delete;

    // --- UiHost ---
    host::ui::Window* createWindow(host::ui::Window* parent, int id, const host::ui::Rect& rect,
                                   host::ui::WindowHandler* handler) override;
    std::unique_ptr<host::ui::PopupMenu> createPopupMenu() override;
    host::ui::DialogService& dialogs() override { return m_dialogs; }
    host::ui::Window* activeWindow() const override;
    bool isKeyDown(unsigned virtualKey) const override { return m_keysDown.count(virtualKey) > 0; }
    int systemMetricCaptionButtonWidth() const override { return m_captionButtonWidth; }
    // A top-level window of kind kDialog, centred over its owner's top-level window (at the
    // origin without an owner), hidden, with the template's controls.
    host::ui::Window* createDialog(host::ui::Window* owner, const host::ui::DialogTemplate& dialog,
                                   host::ui::WindowHandler* handler) override;
    // Shows the dialog, disables its owner, and hands the dialog to the modal hook, which plays
    // the user (clicks, typing, OK or Cancel). When the hook returns and the dialog has not
    // ended, the host presses Cancel for it (WM_COMMAND IDCANCEL, as Escape does); a dialog
    // that refuses even that ends with IDCANCEL. Without a hook the dialog gets only that
    // Cancel: the cautious answer, like the common dialogs' default.
    int runModalLoop(host::ui::Window* dialog) override;
    void endModalLoop(host::ui::Window* dialog, int result) override;

    // --- Test side: state ---
    VirtualClock& clock() const { return m_clock; }
    ScriptedDialogService& dialogService() { return m_dialogs; }
    // Top-level windows in creation order.
    std::vector<host::ui::Window*> topLevelWindows() const;
    host::ui::Window* focusWindow() const;
    // Whether the window is alive (created here and not destroyed).
    bool isAlive(const host::ui::Window* window) const;
    std::size_t liveWindowCount() const { return m_live.size(); }
    void activate(host::ui::Window* window);
    void setKeyDown(unsigned virtualKey, bool down);
    void setCaptionButtonWidth(int width) { m_captionButtonWidth = width; }
    // Siblings of window (itself included) from the bottom of the z-order to the top.
    std::vector<host::ui::Window*> zOrder(const host::ui::Window* window) const;

    // --- Test side: user input. Each call delivers posted messages before it returns. ---
    // A key message (WM_KEYDOWN, WM_KEYUP, WM_CHAR) aimed at target; true when a
    // preTranslateMessage consumed it. WM_KEYDOWN / WM_KEYUP also update the key state.
    bool keyInput(host::ui::Window* target, unsigned message, unsigned virtualKey, host::ui::LPARAM lParam = 1);
    // One mouse message at a point in target's client coordinates.
    void mouseInput(host::ui::Window* target, unsigned message, host::ui::Point point, unsigned keyFlags = 0);
    void leftClick(host::ui::Window* target, host::ui::Point point, unsigned keyFlags = 0);
    // Down, up, double-click, up: the sequence a double-click produces.
    void doubleClick(host::ui::Window* target, host::ui::Point point, unsigned keyFlags = 0);
    // Down, up and WM_CONTEXTMENU (wParam: the clicked window, lParam: the screen point).
    void rightClick(host::ui::Window* target, host::ui::Point point, unsigned keyFlags = 0);
    // WM_CONTEXTMENU alone, as the menu key produces it.
    void contextMenu(host::ui::Window* target, host::ui::Point screenPoint);

    // Delivers posted messages (and those they post) in order; returns how many. Stops after
    // kPumpLimit messages so that a window posting to itself forever cannot hang a test.
    static constexpr int kPumpLimit = 100000;
    int pumpMessages();
    std::size_t postedCount() const { return m_posted.size(); }

    // Paints a window with a handler now (erase, then paint) into a recording context.
    std::shared_ptr<DrawingLog> paint(host::ui::Window* window);

    // --- Test side: modal dialogs ---
    using ModalHook = std::function<void(host::ui::Window& dialog)>;
    // The user of every modal loop from now on (null: none, every modal dialog is cancelled).
    void setModalHook(ModalHook hook) { m_modalHook = std::move(hook); }
    const std::vector<ModalRecord>& modalRuns() const { return m_modalRuns; }
    // The dialog of the innermost running modal loop, or null.
    host::ui::Window* modalDialog() const;

    // --- Test side: menus ---
    const std::vector<MenuRecord>& menus() const { return m_menus; }
    const MenuRecord* openMenu() const;
    // Chooses an item of the open menu: WM_COMMAND (id) to its owner. false when no menu is
    // open, the item does not exist or the owner is gone.
    bool chooseMenuItem(unsigned id);
    bool chooseMenuText(const CString& text);
    void dismissMenu();
    // A choice made as soon as the next menu is tracked (its WM_COMMAND is posted).
    void queueMenuChoice(unsigned id) { m_queuedMenuChoices.push_back(id); }

    // For the headless windows: a scope of message delivery. Windows destroyed inside it are
    // freed when the outermost scope ends; an input scope then also delivers posted messages.
    class DispatchScope {
    public:
        explicit DispatchScope(HeadlessUiHost& host, bool input = false);
        ~DispatchScope();
        DispatchScope(const DispatchScope&) = delete;
        DispatchScope& operator=(const DispatchScope&) = delete;

    private:
        HeadlessUiHost& m_host;
        bool m_input;
    };

private:
    friend class WindowCore;
    friend class HeadlessPopupMenu;

    std::uint64_t registerWindow(WindowCore* window);
    void unregisterWindow(WindowCore* window);
    WindowCore* findLive(std::uint64_t serial) const;
    WindowCore* liveCore(const host::ui::Window* window) const;
    host::ui::LRESULT dispatch(WindowCore& target, const host::ui::Message& message);
    void post(WindowCore& target, const host::ui::Message& message);
    void moveFocus(WindowCore* window);
    void destroyWindow(WindowCore& window);
    void bury(std::unique_ptr<WindowCore> window);
    void flushGraveyard();
    std::int64_t nextTopRank() { return ++m_topRank; }
    std::int64_t nextBottomRank() { return --m_bottomRank; }
    void recordMenu(MenuRecord record);
    bool choose(std::size_t position);
    std::unique_ptr<WindowCore> releaseTopLevel(WindowCore* window);
    void adoptTopLevel(std::unique_ptr<WindowCore> window);
    // Sends WM_CREATE and WM_SIZE to a new window with a handler; false when WM_CREATE failed it.
    bool announceCreation(WindowCore& window);

    VirtualClock& m_clock;
    ScriptedDialogService m_dialogs;
    std::vector<std::unique_ptr<WindowCore>> m_topLevel;
    std::map<std::uint64_t, WindowCore*> m_live;
    std::uint64_t m_nextSerial = 0;
    struct Posted {
        std::uint64_t serial;
        host::ui::Message message;
    };
    std::deque<Posted> m_posted;
    std::vector<std::unique_ptr<WindowCore>> m_graveyard;
    int m_depth = 0;
    bool m_pumping = false;
    std::uint64_t m_focusSerial = 0;
    std::uint64_t m_activeSerial = 0;
    std::set<unsigned> m_keysDown;
    int m_captionButtonWidth = 18;
    std::int64_t m_topRank = 0;
    std::int64_t m_bottomRank = 0;
    std::vector<MenuRecord> m_menus;
    std::deque<unsigned> m_queuedMenuChoices;
    struct ModalLoop {
        std::uint64_t serial = 0;
        bool ended = false;
        int result = 0;
    };
    std::vector<ModalLoop> m_modalLoops; // innermost last
    ModalHook m_modalHook;
    std::vector<ModalRecord> m_modalRuns;
};

} // namespace headless
