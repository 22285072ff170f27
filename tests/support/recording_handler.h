#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/ui/window.h"

namespace testsupport {

// A window handler that records every message it is given (and its preTranslateMessage
// offers), for tests of hosts and adapters. onMessage / onPreTranslate let a test act inside
// a delivery; preTranslate returns consumeKeys.
class RecordingHandler : public host::ui::WindowHandler {
public:
    explicit RecordingHandler(std::string name = {}) : m_name(std::move(name)) {}

    bool preTranslateMessage(const host::ui::Message& message) override {
        preTranslated.push_back(message);
        if (trace != nullptr) {
            trace->push_back(m_name + ":pre");
        }
        if (onPreTranslate) {
            return onPreTranslate(message);
        }
        return consumeKeys;
    }

    host::ui::LRESULT handleMessage(const host::ui::Message& message) override {
        messages.push_back(message);
        if (trace != nullptr) {
            trace->push_back(m_name + ":msg");
        }
        if (onMessage) {
            return onMessage(message);
        }
        return 0;
    }

    void paint(host::ui::DeviceContext& dc) override {
        ++paints;
        dc.textOut(1, 2, "painted");
    }

    // Messages with this number, in delivery order.
    std::vector<host::ui::Message> received(unsigned message) const {
        std::vector<host::ui::Message> result;
        for (const auto& m : messages) {
            if (m.message == message) {
                result.push_back(m);
            }
        }
        return result;
    }

    std::vector<host::ui::Message> messages;
    std::vector<host::ui::Message> preTranslated;
    std::function<host::ui::LRESULT(const host::ui::Message&)> onMessage;
    std::function<bool(const host::ui::Message&)> onPreTranslate;
    std::vector<std::string>* trace = nullptr; // shared across handlers to check order
    bool consumeKeys = false;
    int paints = 0;

private:
    std::string m_name;
};

} // namespace testsupport
