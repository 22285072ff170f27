#pragma once

#include <cstdint>
#include <ctime>
#include <string>

namespace text {

// printf-style formatting into a std::string (any length).
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// A text from the language file used as a format with one integer: its first %d (or %i,
// %u) takes the number and %% stands for %. Any other conversion, a second one included, is
// left as it is, so a language text can never read arguments that are not there.
std::string formatCount(const std::string& format, int count);

// Local broken-down time of a calendar-time value (seconds since 1970); false when the
// value cannot be broken down (the caller decides the fallback).
bool localTime(std::int64_t seconds, std::tm& out);
// Local midnight of a day as seconds since 1970; false for an invalid date.
bool localMidnight(int year, int month, int day, std::int64_t& seconds);
// strftime into a std::string with the local time of seconds; empty when it cannot be formatted.
std::string formatLocalTime(const char* fmt, std::int64_t seconds);

} // namespace text
