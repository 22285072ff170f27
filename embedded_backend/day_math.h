#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// News days are calendar dates written as the integer yyyymmdd, the form the view compares
// with market-status reports and formats with "%04d%02d%02d".
namespace embedded {

bool isValidDay(int yyyymmdd);
// The date `days` calendar days after (negative: before) a valid date.
int addDays(int yyyymmdd, int days);
// Calendar days from `from` to `to` (negative when `to` is earlier).
int daysBetween(int from, int to);
// The local date of a time (seconds since 1970); 0 when it cannot be broken down.
int localDayOf(std::int64_t seconds);
// Local midnight of a date as seconds since 1970; 0 for an invalid date.
std::int64_t localMidnightOf(int yyyymmdd);
// "yyyymmdd".
std::string dayText(int yyyymmdd);
// Exactly eight digits forming a valid date.
std::optional<int> parseDayText(std::string_view text);

} // namespace embedded
