#include "host/ui/registered_messages.h"

#include <map>

#include "host/ui/messages.h"

namespace host::ui {

unsigned RegisterWindowMessageA(const std::string& name) {
    static std::map<std::string, unsigned> registry;
    const auto found = registry.find(name);
    if (found != registry.end()) {
        return found->second;
    }
    const unsigned number = win::kFirstRegisteredMessage + static_cast<unsigned>(registry.size());
    registry.emplace(name, number);
    return number;
}

} // namespace host::ui
