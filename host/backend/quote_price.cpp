#include "host/backend/quote_price.h"

#include <cstdio>
#include <cstdlib>

namespace quote_price {

std::int32_t tickSize(std::int32_t price) {
    if (price < 1000) {
        return 1;
    }
    if (price < 5000) {
        return 5;
    }
    if (price < 10000) {
        return 10;
    }
    if (price < 50000) {
        return 50;
    }
    if (price < 100000) {
        return 100;
    }
    return 500;
}

std::int32_t tickUp(std::int32_t price) {
    return price + tickSize(price);
}

std::int32_t tickDown(std::int32_t price) {
    if (price <= 1) {
        return 1;
    }
    return price - tickSize(price - 1);
}

bool onTick(std::int32_t price) {
    return price > 0 && price % tickSize(price) == 0;
}

std::int32_t limitUp(std::int32_t reference) {
    if (reference <= 0) {
        return 0;
    }
    const std::int64_t raw = static_cast<std::int64_t>(reference) * 110 / 100;
    const auto price = static_cast<std::int32_t>(raw);
    return price - price % tickSize(price);
}

std::int32_t limitDown(std::int32_t reference) {
    if (reference <= 0) {
        return 0;
    }
    const std::int64_t raw = (static_cast<std::int64_t>(reference) * 90 + 99) / 100;
    auto price = static_cast<std::int32_t>(raw);
    const std::int32_t tick = tickSize(price);
    if (price % tick != 0) {
        price += tick - price % tick;
    }
    return price;
}

namespace {

CString hundredths(std::int64_t value, bool sign) {
    char buffer[32];
    const char* prefix = value < 0 ? "-" : (sign && value > 0 ? "+" : "");
    const std::int64_t magnitude = std::llabs(value);
    std::snprintf(buffer, sizeof buffer, "%s%lld.%02lld", prefix, static_cast<long long>(magnitude / 100),
                  static_cast<long long>(magnitude % 100));
    return buffer;
}

} // namespace

CString priceText(std::int32_t price) {
    return price <= 0 ? CString{} : hundredths(price, false);
}

CString changeText(std::int32_t last, std::int32_t reference) {
    if (last <= 0 || reference <= 0) {
        return {};
    }
    return hundredths(static_cast<std::int64_t>(last) - reference, true);
}

CString changePercentText(std::int32_t last, std::int32_t reference) {
    if (last <= 0 || reference <= 0) {
        return {};
    }
    // Percent in hundredths: change * 10000 / reference, rounded half away from zero.
    const std::int64_t change = static_cast<std::int64_t>(last) - reference;
    const std::int64_t scaled = change * 10000 * 2 / reference;
    const std::int64_t rounded = scaled >= 0 ? (scaled + 1) / 2 : -((-scaled + 1) / 2);
    return hundredths(rounded, true) + "%";
}

} // namespace quote_price
