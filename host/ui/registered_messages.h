#pragma once

#include <string>

namespace host::ui {

// RegisterWindowMessage: the same name always gives the same number (0xC000 and up),
// for every window of the process. Thread: UI thread.
unsigned RegisterWindowMessageA(const std::string& name);

} // namespace host::ui
