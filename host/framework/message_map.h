#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/ui/messages.h"
#include "host/ui/registered_messages.h"
#include "host/ui/window.h"

namespace host {

// A declarative message map: one table per class from message, control id and
// notification code to a member function. Entries are tried in table order; a message
// that no entry takes goes to the base class (the caller chains).
template <class T> class MessageMap {
public:
    using Invoke = ui::LRESULT (*)(T&, const ui::Message&);

    enum class Kind { kCommand, kCommandRange, kCommandCode, kNotify, kMessage, kRegistered };

    struct Entry {
        Kind kind;
        unsigned message;           // kMessage
        int idFirst;                // commands and notifications
        int idLast;                 // kCommandRange
        int code;                   // kCommandCode (WM_COMMAND notification) and kNotify (WM_NOTIFY code)
        const char* registeredName; // kRegistered
        Invoke invoke;
    };

    MessageMap(std::initializer_list<Entry> entries) : m_entries(entries) {}

    std::optional<ui::LRESULT> dispatch(T& target, const ui::Message& m) const {
        for (const Entry& e : m_entries) {
            if (matches(e, m)) {
                return e.invoke(target, m);
            }
        }
        return std::nullopt;
    }

    // A click (BN_CLICKED) or menu command with this id.
    template <void (T::*Handler)()> static Entry command(int id) {
        return {Kind::kCommand, 0, id, id, 0, nullptr, [](T& t, const ui::Message&) -> ui::LRESULT {
                    (t.*Handler)();
                    return 0;
                }};
    }
    // A command id in [first, last]; the handler gets the id.
    template <void (T::*Handler)(unsigned)> static Entry commandRange(int first, int last) {
        return {Kind::kCommandRange, 0, first, last, 0, nullptr, [](T& t, const ui::Message& m) -> ui::LRESULT {
                    (t.*Handler)(ui::LOWORD(m.wParam));
                    return 0;
                }};
    }
    // A WM_COMMAND notification code of a control (CBN_CLOSEUP, EN_UPDATE, ...).
    template <void (T::*Handler)()> static Entry commandCode(int id, unsigned code) {
        return {Kind::kCommandCode,
                0,
                id,
                id,
                static_cast<int>(code),
                nullptr,
                [](T& t, const ui::Message&) -> ui::LRESULT {
                    (t.*Handler)();
                    return 0;
                }};
    }
    // A WM_NOTIFY code of a control; the handler gets the notification.
    template <void (T::*Handler)(const ui::NotifyInfo&)> static Entry notify(int id, int code) {
        return {Kind::kNotify, 0, id, id, code, nullptr, [](T& t, const ui::Message& m) -> ui::LRESULT {
                    (t.*Handler)(*reinterpret_cast<const ui::NotifyInfo*>(m.lParam));
                    return 0;
                }};
    }
    // Any window message; the handler cracks the parameters itself.
    template <ui::LRESULT (T::*Handler)(const ui::Message&)> static Entry message(unsigned msg) {
        return {Kind::kMessage,
                msg,
                0,
                0,
                0,
                nullptr,
                [](T& t, const ui::Message& m) -> ui::LRESULT { return (t.*Handler)(m); }};
    }
    // A registered window message by name.
    template <ui::LRESULT (T::*Handler)(ui::WPARAM, ui::LPARAM)> static Entry registered(const char* name) {
        return {Kind::kRegistered, 0, 0, 0, 0, name, [](T& t, const ui::Message& m) -> ui::LRESULT {
                    return (t.*Handler)(m.wParam, m.lParam);
                }};
    }

private:
    static bool matches(const Entry& e, const ui::Message& m) {
        switch (e.kind) {
        case Kind::kCommand:
            return m.message == ui::win::WM_COMMAND && static_cast<int>(ui::LOWORD(m.wParam)) == e.idFirst &&
                   ui::HIWORD(m.wParam) == ui::win::BN_CLICKED;
        case Kind::kCommandRange: {
            const int id = static_cast<int>(ui::LOWORD(m.wParam));
            return m.message == ui::win::WM_COMMAND && id >= e.idFirst && id <= e.idLast &&
                   ui::HIWORD(m.wParam) == ui::win::BN_CLICKED;
        }
        case Kind::kCommandCode:
            return m.message == ui::win::WM_COMMAND && static_cast<int>(ui::LOWORD(m.wParam)) == e.idFirst &&
                   static_cast<int>(ui::HIWORD(m.wParam)) == e.code;
        case Kind::kNotify: {
            if (m.message != ui::win::WM_NOTIFY || m.lParam == 0) {
                return false;
            }
            const auto* info = reinterpret_cast<const ui::NotifyInfo*>(m.lParam);
            return info->idFrom == e.idFirst && info->code == e.code;
        }
        case Kind::kMessage:
            return m.message == e.message;
        case Kind::kRegistered:
            return m.message == ui::RegisterWindowMessageA(e.registeredName);
        }
        return false;
    }

    std::vector<Entry> m_entries;
};

} // namespace host
