#pragma once

#include <stdexcept>

namespace scenario {

// An action the script asked for could not be performed (a missing or disabled control, a
// row off the page): the scenario fails at that line and goes on.
class ActionFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace scenario
