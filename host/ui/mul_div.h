#pragma once

#include <cstdint>
#include <limits>

namespace host::ui {

// number * numerator / denominator with a 64-bit intermediate, rounded half away from zero, as
// the platform's MulDiv computes it; -1 when denominator is 0 or the result overflows an int.
constexpr int MulDiv(int number, int numerator, int denominator) {
    if (denominator == 0) {
        return -1;
    }
    const std::int64_t product = static_cast<std::int64_t>(number) * numerator;
    const bool negative = (product < 0) != (denominator < 0);
    const std::int64_t magnitude = (product < 0 ? -product : product);
    const std::int64_t divisor = denominator < 0 ? -static_cast<std::int64_t>(denominator) : denominator;
    const std::int64_t quotient = (magnitude + divisor / 2) / divisor;
    const std::int64_t result = negative ? -quotient : quotient;
    if (result > std::numeric_limits<int>::max() || result < std::numeric_limits<int>::min()) {
        return -1;
    }
    return static_cast<int>(result);
}

} // namespace host::ui
