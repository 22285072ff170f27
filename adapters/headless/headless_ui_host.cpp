#include "adapters/headless/headless_ui_host.h"

#include <algorithm>

#include "adapters/headless/headless_menu.h"
#include "adapters/headless/headless_window.h"
#include "host/ui/dialog_builder.h"

namespace headless {

using host::ui::LPARAM;
using host::ui::LRESULT;
using host::ui::Message;
using host::ui::Point;
using host::ui::Rect;
using host::ui::Window;
using host::ui::WPARAM;
namespace win = host::ui::win;

HeadlessUiHost::DispatchScope::DispatchScope(HeadlessUiHost& host, bool input) : m_host(host), m_input(input) {
    ++m_host.m_depth;
}

HeadlessUiHost::DispatchScope::~DispatchScope() {
    if (--m_host.m_depth > 0) {
        return;
    }
    m_host.flushGraveyard();
    if (m_input) {
        m_host.pumpMessages();
    }
}

HeadlessUiHost::HeadlessUiHost(VirtualClock& clock) : m_clock(clock) {
    // A fired timer is one turn of the message loop: messages it posted are delivered next.
    m_clock.setAfterFire([this] { pumpMessages(); });
}

HeadlessUiHost::~HeadlessUiHost() {
    m_clock.setAfterFire(nullptr);
    // No messages at shutdown: handlers may already be gone.
    m_posted.clear();
    m_graveyard.clear();
    m_topLevel.clear();
}

Window* HeadlessUiHost::createWindow(Window* parent, int id, const Rect& rect, host::ui::WindowHandler* handler) {
    if (parent != nullptr) {
        WindowCore* parentCore = liveCore(parent);
        return parentCore != nullptr ? parentCore->createChildWindow(id, rect, handler) : nullptr;
    }
    DispatchScope scope(*this);
    auto window = std::make_unique<HeadlessWindow>(*this, WindowKind::kWindow, id, rect, handler, 0u);
    HeadlessWindow* raw = window.get();
    adoptTopLevel(std::move(window));
    if (findLive(m_activeSerial) == nullptr) {
        m_activeSerial = raw->serial();
    }
    if (!announceCreation(*raw)) {
        raw->destroy();
        return nullptr;
    }
    return raw;
}

bool HeadlessUiHost::announceCreation(WindowCore& window) {
    if (window.handler() == nullptr) {
        return true;
    }
    // As the toolkit does: WM_CREATE (-1 refuses the window), then the first WM_SIZE.
    const Rect r = window.rect();
    if (dispatch(window, Message{win::WM_CREATE, 0, 0, &window.window()}) == -1 || window.isDestroyed()) {
        return false;
    }
    dispatch(window, Message{win::WM_SIZE, 0, host::ui::MAKELPARAM(r.Width(), r.Height()), &window.window()});
    return !window.isDestroyed();
}

Window* HeadlessUiHost::createDialog(Window* owner, const host::ui::DialogTemplate& dialog,
                                     host::ui::WindowHandler* handler) {
    WindowCore* ownerCore = owner != nullptr ? liveCore(owner) : nullptr;
    if (owner != nullptr && ownerCore == nullptr) {
        return nullptr;
    }
    Rect rect{0, 0, dialog.size.cx, dialog.size.cy};
    if (ownerCore != nullptr) {
        const WindowCore* top = ownerCore;
        while (top->parentCore() != nullptr) {
            top = top->parentCore();
        }
        const Rect area = top->rect();
        rect = Rect{area.left + (area.Width() - dialog.size.cx) / 2, area.top + (area.Height() - dialog.size.cy) / 2, 0,
                    0};
        rect.right = rect.left + dialog.size.cx;
        rect.bottom = rect.top + dialog.size.cy;
    }
    DispatchScope scope(*this);
    auto window = std::make_unique<HeadlessWindow>(
        *this, WindowKind::kDialog, dialog.id, rect, handler,
        dialog.frame == host::ui::DialogTemplate::Frame::kBorderless ? 0u : win::WS_BORDER);
    HeadlessWindow* raw = window.get();
    raw->show(false);
    raw->setFont(dialog.font, false);
    raw->setOwnerSerial(ownerCore != nullptr ? ownerCore->serial() : 0);
    adoptTopLevel(std::move(window));
    if (!announceCreation(*raw)) {
        raw->destroy();
        return nullptr;
    }
    host::ui::buildDialogControls(*raw, dialog);
    return raw;
}

int HeadlessUiHost::runModalLoop(Window* dialog) {
    WindowCore* core = liveCore(dialog);
    if (core == nullptr) {
        return win::IDCANCEL;
    }
    const std::uint64_t serial = core->serial();
    const int dialogId = core->id();
    const std::uint64_t ownerSerial = core->ownerSerial();
    WindowCore* owner = findLive(ownerSerial);
    const bool ownerWasEnabled = owner != nullptr && owner->isEnabled();
    if (ownerWasEnabled) {
        owner->enable(false);
    }
    m_modalLoops.push_back(ModalLoop{serial, false, win::IDCANCEL});
    core->show(true);
    activate(dialog);
    const auto ended = [&] {
        for (const ModalLoop& loop : m_modalLoops) {
            if (loop.serial == serial) {
                return loop.ended;
            }
        }
        return true;
    };
    if (m_modalHook) {
        const ModalHook hook = m_modalHook; // the hook may replace itself
        hook(*dialog);
    }
    bool endedByHost = false;
    if (!ended() && findLive(serial) != nullptr) {
        endedByHost = true;
        DispatchScope scope(*this, true);
        dispatch(*findLive(serial), Message{win::WM_COMMAND, host::ui::MAKEWPARAM(win::IDCANCEL, win::BN_CLICKED), 0,
                                            &findLive(serial)->window()});
    }
    int result = win::IDCANCEL;
    for (auto it = m_modalLoops.begin(); it != m_modalLoops.end(); ++it) {
        if (it->serial == serial) {
            result = it->ended ? it->result : win::IDCANCEL;
            m_modalLoops.erase(it);
            break;
        }
    }
    if (WindowCore* still = findLive(serial)) {
        still->show(false);
    }
    if (ownerWasEnabled && findLive(ownerSerial) == owner) {
        owner->enable(true);
    }
    m_modalRuns.push_back(ModalRecord{dialogId, result, endedByHost});
    return result;
}

void HeadlessUiHost::endModalLoop(Window* dialog, int result) {
    const WindowCore* core = liveCore(dialog);
    for (ModalLoop& loop : m_modalLoops) {
        if (core != nullptr && loop.serial == core->serial() && !loop.ended) {
            loop.ended = true;
            loop.result = result;
        }
    }
}

Window* HeadlessUiHost::modalDialog() const {
    for (auto it = m_modalLoops.rbegin(); it != m_modalLoops.rend(); ++it) {
        if (WindowCore* core = findLive(it->serial); core != nullptr && !it->ended) {
            return &core->window();
        }
    }
    return nullptr;
}

std::unique_ptr<host::ui::PopupMenu> HeadlessUiHost::createPopupMenu() {
    return std::make_unique<HeadlessPopupMenu>(*this);
}

Window* HeadlessUiHost::activeWindow() const {
    WindowCore* core = findLive(m_activeSerial);
    return core != nullptr ? &core->window() : nullptr;
}

std::vector<Window*> HeadlessUiHost::topLevelWindows() const {
    std::vector<Window*> result;
    for (const auto& w : m_topLevel) {
        if (!w->isDestroyed()) {
            result.push_back(&w->window());
        }
    }
    return result;
}

Window* HeadlessUiHost::focusWindow() const {
    WindowCore* core = findLive(m_focusSerial);
    return core != nullptr ? &core->window() : nullptr;
}

bool HeadlessUiHost::isAlive(const Window* window) const {
    return liveCore(window) != nullptr;
}

void HeadlessUiHost::activate(Window* window) {
    WindowCore* core = liveCore(window);
    while (core != nullptr && core->parentCore() != nullptr) {
        core = core->parentCore();
    }
    if (core != nullptr) {
        m_activeSerial = core->serial();
    }
}

void HeadlessUiHost::setKeyDown(unsigned virtualKey, bool down) {
    if (down) {
        m_keysDown.insert(virtualKey);
    } else {
        m_keysDown.erase(virtualKey);
    }
}

std::vector<Window*> HeadlessUiHost::zOrder(const Window* window) const {
    const WindowCore* core = liveCore(window);
    if (core == nullptr) {
        return {};
    }
    std::vector<WindowCore*> siblings;
    if (core->parentCore() != nullptr) {
        siblings = core->parentCore()->childCores();
    } else {
        for (const auto& w : m_topLevel) {
            if (!w->isDestroyed()) {
                siblings.push_back(w.get());
            }
        }
    }
    std::stable_sort(siblings.begin(), siblings.end(), [](const WindowCore* a, const WindowCore* b) {
        return a->isTopMost() != b->isTopMost() ? !a->isTopMost() : a->zRank() < b->zRank();
    });
    std::vector<Window*> result;
    for (WindowCore* w : siblings) {
        result.push_back(&w->window());
    }
    return result;
}

bool HeadlessUiHost::keyInput(Window* target, unsigned message, unsigned virtualKey, LPARAM lParam) {
    WindowCore* core = liveCore(target);
    if (core == nullptr) {
        return false;
    }
    DispatchScope scope(*this, true);
    if (message == win::WM_KEYDOWN) {
        setKeyDown(virtualKey, true);
    } else if (message == win::WM_KEYUP) {
        setKeyDown(virtualKey, false);
    }
    const Message m{message, virtualKey, lParam, target};
    std::vector<std::uint64_t> chain;
    for (WindowCore* w = core; w != nullptr; w = w->parentCore()) {
        chain.push_back(w->serial());
    }
    // Destroyed windows stay allocated inside the scope, but a window destroyed by an
    // earlier handler of the chain is no longer offered the message.
    for (const std::uint64_t serial : chain) {
        WindowCore* w = findLive(serial);
        if (w != nullptr && w->handler() != nullptr && w->handler()->preTranslateMessage(m)) {
            return true;
        }
    }
    if (!core->isDestroyed()) {
        dispatch(*core, m);
    }
    return false;
}

void HeadlessUiHost::mouseInput(Window* target, unsigned message, Point point, unsigned keyFlags) {
    WindowCore* core = liveCore(target);
    if (core == nullptr) {
        return;
    }
    DispatchScope scope(*this, true);
    // A button press makes the window under the mouse the active one, as window managers do.
    if (message == win::WM_LBUTTONDOWN || message == win::WM_RBUTTONDOWN) {
        activate(target);
    }
    dispatch(*core, Message{message, keyFlags, host::ui::MAKELPARAM(point.x, point.y), target});
}

void HeadlessUiHost::leftClick(Window* target, Point point, unsigned keyFlags) {
    DispatchScope scope(*this, true);
    mouseInput(target, win::WM_LBUTTONDOWN, point, keyFlags | win::MK_LBUTTON);
    mouseInput(target, win::WM_LBUTTONUP, point, keyFlags);
}

void HeadlessUiHost::doubleClick(Window* target, Point point, unsigned keyFlags) {
    DispatchScope scope(*this, true);
    mouseInput(target, win::WM_LBUTTONDOWN, point, keyFlags | win::MK_LBUTTON);
    mouseInput(target, win::WM_LBUTTONUP, point, keyFlags);
    mouseInput(target, win::WM_LBUTTONDBLCLK, point, keyFlags | win::MK_LBUTTON);
    mouseInput(target, win::WM_LBUTTONUP, point, keyFlags);
}

void HeadlessUiHost::rightClick(Window* target, Point point, unsigned keyFlags) {
    DispatchScope scope(*this, true);
    WindowCore* core = liveCore(target);
    if (core == nullptr) {
        return;
    }
    const Point screen = core->clientToScreen(point);
    mouseInput(target, win::WM_RBUTTONDOWN, point, keyFlags | win::MK_RBUTTON);
    mouseInput(target, win::WM_RBUTTONUP, point, keyFlags);
    contextMenu(target, screen);
}

void HeadlessUiHost::contextMenu(Window* target, Point screenPoint) {
    WindowCore* core = liveCore(target);
    if (core == nullptr) {
        return;
    }
    DispatchScope scope(*this, true);
    dispatch(*core, Message{win::WM_CONTEXTMENU, reinterpret_cast<WPARAM>(target),
                            host::ui::MAKELPARAM(screenPoint.x, screenPoint.y), target});
}

int HeadlessUiHost::pumpMessages() {
    if (m_pumping) {
        return 0;
    }
    m_pumping = true;
    int delivered = 0;
    while (!m_posted.empty() && delivered < kPumpLimit) {
        Posted posted = m_posted.front();
        m_posted.pop_front();
        WindowCore* core = findLive(posted.serial);
        if (core == nullptr) {
            continue; // posted to a window destroyed since
        }
        posted.message.target = &core->window();
        dispatch(*core, posted.message);
        ++delivered;
    }
    m_pumping = false;
    return delivered;
}

std::shared_ptr<DrawingLog> HeadlessUiHost::paint(Window* window) {
    WindowCore* core = liveCore(window);
    if (core == nullptr || core->handler() == nullptr) {
        return nullptr;
    }
    DispatchScope scope(*this);
    RecordingDeviceContext dc;
    core->handler()->eraseBackground(dc);
    core->handler()->paint(dc);
    core->setLastPaint(dc.log());
    return dc.log();
}

const MenuRecord* HeadlessUiHost::openMenu() const {
    return !m_menus.empty() && m_menus.back().open ? &m_menus.back() : nullptr;
}

bool HeadlessUiHost::chooseMenuItem(unsigned id) {
    const MenuRecord* menu = openMenu();
    if (menu == nullptr || id == 0) {
        return false;
    }
    for (std::size_t i = 0; i < menu->items.size(); ++i) {
        if (menu->items[i].id == id) {
            return choose(i);
        }
    }
    return false;
}

bool HeadlessUiHost::chooseMenuText(const CString& text) {
    const MenuRecord* menu = openMenu();
    if (menu == nullptr) {
        return false;
    }
    for (std::size_t i = 0; i < menu->items.size(); ++i) {
        if (menu->items[i].id != 0 && menu->items[i].text == text) {
            return choose(i);
        }
    }
    return false;
}

void HeadlessUiHost::dismissMenu() {
    if (!m_menus.empty()) {
        m_menus.back().open = false;
    }
}

bool HeadlessUiHost::choose(std::size_t position) {
    MenuRecord& menu = m_menus.back();
    menu.open = false;
    WindowCore* owner = findLive(menu.ownerSerial);
    if (owner == nullptr) {
        return false;
    }
    const unsigned id = menu.items[position].id;
    menu.chosen = id;
    DispatchScope scope(*this, true);
    const Message m{win::WM_COMMAND, host::ui::MAKEWPARAM(id, 0), 0, &owner->window()};
    for (WindowCore* w = owner; w != nullptr; w = w->parentCore()) {
        if (w->handler() != nullptr) {
            dispatch(*w, m);
            break;
        }
    }
    return true;
}

void HeadlessUiHost::recordMenu(MenuRecord record) {
    dismissMenu();
    m_menus.push_back(std::move(record));
    if (m_queuedMenuChoices.empty()) {
        return;
    }
    const unsigned id = m_queuedMenuChoices.front();
    m_queuedMenuChoices.pop_front();
    MenuRecord& menu = m_menus.back();
    const bool present = std::any_of(menu.items.begin(), menu.items.end(), [&](const auto& i) { return i.id == id; });
    WindowCore* owner = findLive(menu.ownerSerial);
    menu.open = false;
    if (!present || owner == nullptr) {
        return;
    }
    menu.chosen = id;
    // The toolkit posts the command once the menu has closed.
    for (WindowCore* w = owner; w != nullptr; w = w->parentCore()) {
        if (w->handler() != nullptr) {
            post(*w, Message{win::WM_COMMAND, host::ui::MAKEWPARAM(id, 0), 0, &owner->window()});
            break;
        }
    }
}

std::uint64_t HeadlessUiHost::registerWindow(WindowCore* window) {
    const std::uint64_t serial = ++m_nextSerial;
    m_live.emplace(serial, window);
    return serial;
}

void HeadlessUiHost::unregisterWindow(WindowCore* window) {
    const auto it = m_live.find(window->serial());
    if (it != m_live.end() && it->second == window) {
        m_live.erase(it);
    }
}

WindowCore* HeadlessUiHost::findLive(std::uint64_t serial) const {
    const auto it = m_live.find(serial);
    return it != m_live.end() ? it->second : nullptr;
}

WindowCore* HeadlessUiHost::liveCore(const Window* window) const {
    if (window == nullptr) {
        return nullptr;
    }
    // Compared by address, never dereferenced: the caller's pointer may be stale.
    for (const auto& [serial, core] : m_live) {
        if (&core->window() == window) {
            return core;
        }
    }
    return nullptr;
}

LRESULT HeadlessUiHost::dispatch(WindowCore& target, const Message& message) {
    DispatchScope scope(*this);
    return target.deliver(message);
}

void HeadlessUiHost::post(WindowCore& target, const Message& message) {
    m_posted.push_back(Posted{target.serial(), message});
}

void HeadlessUiHost::moveFocus(WindowCore* window) {
    WindowCore* old = findLive(m_focusSerial);
    if (old == window) {
        return;
    }
    DispatchScope scope(*this);
    m_focusSerial = window != nullptr ? window->serial() : 0;
    if (old != nullptr) {
        old->focusChanged(false, window);
    }
    if (window != nullptr && !window->isDestroyed()) {
        window->focusChanged(true, old);
    }
}

void HeadlessUiHost::destroyWindow(WindowCore& window) {
    if (window.isDestroyed()) {
        return;
    }
    DispatchScope scope(*this);
    window.destroyTree();
    if (findLive(m_focusSerial) == nullptr) {
        m_focusSerial = 0;
    }
    if (findLive(m_activeSerial) == nullptr) {
        m_activeSerial = 0;
    }
    WindowCore* parent = window.parentCore();
    bury(parent != nullptr ? parent->releaseChild(&window) : releaseTopLevel(&window));
    // Windows that belonged to it (its dialogs) go with it, as on the platform.
    for (bool found = true; found;) {
        found = false;
        for (const auto& top : m_topLevel) {
            if (!top->isDestroyed() && top->ownerSerial() != 0 && findLive(top->ownerSerial()) == nullptr) {
                destroyWindow(*top);
                found = true;
                break;
            }
        }
    }
}

void HeadlessUiHost::bury(std::unique_ptr<WindowCore> window) {
    if (window) {
        m_graveyard.push_back(std::move(window));
    }
}

void HeadlessUiHost::flushGraveyard() {
    while (!m_graveyard.empty()) {
        std::vector<std::unique_ptr<WindowCore>> dead = std::move(m_graveyard);
        m_graveyard.clear();
        dead.clear();
    }
}

std::unique_ptr<WindowCore> HeadlessUiHost::releaseTopLevel(WindowCore* window) {
    const auto it =
        std::find_if(m_topLevel.begin(), m_topLevel.end(), [&](const auto& w) { return w.get() == window; });
    if (it == m_topLevel.end()) {
        return nullptr;
    }
    std::unique_ptr<WindowCore> owned = std::move(*it);
    m_topLevel.erase(it);
    return owned;
}

void HeadlessUiHost::adoptTopLevel(std::unique_ptr<WindowCore> window) {
    m_topLevel.push_back(std::move(window));
}

} // namespace headless
