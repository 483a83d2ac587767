#pragma once

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "orv/result.h"
#include "qel/enums/additional_name.h"

namespace qel {
struct Event;
}

namespace qel::tools {

// Dates travel as 100-nanosecond ticks since 1 January 1601 UTC and are shown in local time.
constexpr int64_t kTicksPerSecond = 10000000;
constexpr int64_t kTicksFrom1601ToUnixEpoch = 116444736000000000;
constexpr const char* kDateFormat = "%Y-%m-%d %H:%M:%S";

// Ticks since the Unix epoch; orv::datetime::TimeSystemError for values out of range.
int64_t FromUnixTime(int64_t seconds, int64_t microseconds);
// Ticks since 1601 to seconds since the epoch, truncated toward zero; TimeSystemError when the
// ticks lie before 1601 by more than one tick.
time_t ToTime(int64_t ticks);
// Local broken-down time; TimeSystemError when the time cannot be represented.
std::tm ToBrokenDownTime(time_t time);
// strftime into at most 4096 bytes; std::out_of_range for a format of 2048 bytes or more and for
// an empty result of a non-empty format.
std::string FormatDate(const std::tm& time, const char* format);
// The standard text of a tick count in local time; the exceptions of the three steps above.
std::string TicksToString(int64_t ticks);

// Appends a date field (tag 12) read from `text`: all digits are ticks as they are, anything else
// local time in kDateFormat. 0, 0x80000046 for a bad text, 0x8000004b for anything else.
result_t ParseDateField(Event& record, AdditionalName::Type field, std::string_view text) noexcept;

// Sets the locale of the process and LC_ALL for its children; null or empty is "C". 0 or
// 0x8000004b with the locale unchanged. Changes the whole process: call it when no other thread
// depends on the locale.
result_t SetProcessLocale(const char* name) noexcept;

}  // namespace qel::tools
