#include "embedded_backend/day_math.h"

#include <cstdio>

#include "host/text/format.h"

namespace embedded {

namespace {

// Days since 1970-01-01 of a proleptic Gregorian date (the civil-calendar algorithm of
// Howard Hinnant's date library): pure arithmetic, independent of the time zone.
std::int64_t daysFromCivil(int y, int m, int d) {
    y -= m <= 2 ? 1 : 0;
    const int era = (y >= 0 ? y : y - 399) / 400;
    const int yoe = y - era * 400;
    const int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return static_cast<std::int64_t>(era) * 146097 + doe - 719468;
}

int civilFromDays(std::int64_t z) {
    z += 719468;
    const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const auto doe = static_cast<int>(z - era * 146097);
    const int yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int mp = (5 * doy + 2) / 153;
    const int d = doy - (153 * mp + 2) / 5 + 1;
    const int m = mp < 10 ? mp + 3 : mp - 9;
    const auto y = static_cast<int>(yoe + era * 400 + (m <= 2 ? 1 : 0));
    return y * 10000 + m * 100 + d;
}

} // namespace

bool isValidDay(int yyyymmdd) {
    const int y = yyyymmdd / 10000;
    const int m = yyyymmdd / 100 % 100;
    const int d = yyyymmdd % 100;
    if (y < 1900 || y > 9999 || m < 1 || m > 12 || d < 1) {
        return false;
    }
    static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
    return d <= kDays[m - 1] + (m == 2 && leap ? 1 : 0);
}

int addDays(int yyyymmdd, int days) {
    return civilFromDays(daysFromCivil(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100) + days);
}

int daysBetween(int from, int to) {
    return static_cast<int>(daysFromCivil(to / 10000, to / 100 % 100, to % 100) -
                            daysFromCivil(from / 10000, from / 100 % 100, from % 100));
}

int localDayOf(std::int64_t seconds) {
    std::tm tm{};
    if (!text::localTime(seconds, tm)) {
        return 0;
    }
    return (tm.tm_year + 1900) * 10000 + (tm.tm_mon + 1) * 100 + tm.tm_mday;
}

std::int64_t localMidnightOf(int yyyymmdd) {
    std::int64_t seconds = 0;
    if (!isValidDay(yyyymmdd) ||
        !text::localMidnight(yyyymmdd / 10000, yyyymmdd / 100 % 100, yyyymmdd % 100, seconds)) {
        return 0;
    }
    return seconds;
}

std::string dayText(int yyyymmdd) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%08d", yyyymmdd);
    return buffer;
}

std::optional<int> parseDayText(std::string_view text) {
    if (text.size() != 8) {
        return std::nullopt;
    }
    int value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            return std::nullopt;
        }
        value = value * 10 + (c - '0');
    }
    if (!isValidDay(value)) {
        return std::nullopt;
    }
    return value;
}

} // namespace embedded
