#include "host/text/format.h"

#include <cstdarg>
#include <cstdio>
#include <limits>
#include <vector>

namespace text {

namespace {

constexpr int kDaysInMonth[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

bool isLeapYear(int year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int daysInMonth(int year, int month) {
    return month == 2 && isLeapYear(year) ? 29 : kDaysInMonth[month - 1];
}

} // namespace

std::string formatCount(const std::string& format, int count) {
    std::string out;
    bool done = false;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 >= format.size()) {
            out += format[i];
            continue;
        }
        const char conversion = format[i + 1];
        if (conversion == '%') {
            out += '%';
            ++i;
        } else if (!done && (conversion == 'd' || conversion == 'i' || conversion == 'u')) {
            out += std::to_string(count);
            done = true;
            ++i;
        } else {
            out += '%';
        }
    }
    return out;
}

std::string format(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    va_list again;
    va_copy(again, args);
    // First pass measures, second pass writes into a buffer of exactly that size.
    const int length = std::vsnprintf(nullptr, 0, fmt, args);
    va_end(args);
    std::string out;
    if (length > 0) {
        out.resize(static_cast<std::size_t>(length));
        std::vsnprintf(out.data(), out.size() + 1, fmt, again);
    }
    va_end(again);
    return out;
}

bool localTime(std::int64_t seconds, std::tm& out) {
    if constexpr (sizeof(std::time_t) < sizeof(std::int64_t)) {
        if (seconds < std::numeric_limits<std::time_t>::min() || seconds > std::numeric_limits<std::time_t>::max())
            return false;
    }
    const auto t = static_cast<std::time_t>(seconds);
    // localtime_r rather than std::localtime: the result must not live in a buffer shared with
    // other threads of the host. POSIX is fine here; the header stays standard-only.
    return localtime_r(&t, &out) != nullptr;
}

bool localMidnight(int year, int month, int day, std::int64_t& seconds) {
    if (year < 1900 || month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month))
        return false;
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_isdst = -1; // let the time zone rules decide whether daylight saving applies that day
    const std::time_t t = std::mktime(&tm);
    if (t == static_cast<std::time_t>(-1))
        return false;
    seconds = static_cast<std::int64_t>(t);
    return true;
}

std::string formatLocalTime(const char* fmt, std::int64_t seconds) {
    std::tm tm{};
    if (fmt == nullptr || *fmt == '\0' || !localTime(seconds, tm))
        return {};
    // strftime returns 0 both for "too small" and for an empty result; grow a few times, then give up.
    for (std::size_t size = 64; size <= 64 * 1024; size *= 4) {
        std::vector<char> buffer(size);
        // The format comes from the caller; strftime takes no variable arguments, so there is nothing to mismatch.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
        const std::size_t n = std::strftime(buffer.data(), buffer.size(), fmt, &tm);
#pragma GCC diagnostic pop
        if (n > 0)
            return std::string(buffer.data(), n);
    }
    return {};
}

} // namespace text
