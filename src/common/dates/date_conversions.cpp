#include <cstring>
#include <stdexcept>

#include "orv/exception.h"
#include "qel/tools/date_strings.h"

namespace qel::tools {
namespace {

constexpr int64_t kMaxSeconds = 922337203685;
constexpr int64_t kMaxMicroseconds = 922337203685477580;
constexpr size_t kMaxFormatLength = 2048;
constexpr size_t kFormatBufferSize = 4096;

// The framework's broken-down time: every part in 16 bits, the year in full.
struct BrokenDownTime {
  uint16_t second;
  uint16_t minute;
  uint16_t hour;
  uint16_t day;
  uint16_t month;
  uint16_t year;
  uint16_t dayOfWeek;
  uint16_t dayOfYear;
  bool daylightSaving;
};

// Streaming returns the base class: the error is filled as a named object and thrown as itself.
[[noreturn]] void ThrowTimeError(const char* file, uint32_t line, const char* text, int64_t value) {
  orv::datetime::TimeSystemError error(file, line, orv::errors::kInvalidArgument);
  error << text << value;
  throw error;
}

}  // namespace

int64_t FromUnixTime(int64_t seconds, int64_t microseconds) {
  if (seconds < -kMaxSeconds || seconds > kMaxSeconds) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid timestamp: epoch ", seconds);
  }
  if (microseconds < -kMaxMicroseconds || microseconds > kMaxMicroseconds) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid timestamp: usec ", microseconds);
  }
  int64_t ticks = 0;
  // Both parts in range can still add up past 64 bits.
  if (__builtin_add_overflow(seconds * kTicksPerSecond, microseconds * 10, &ticks)) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid timestamp: usec ", microseconds);
  }
  if (ticks < -kTicksFrom1601ToUnixEpoch) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid utc timestamp for posix platform ", ticks);
  }
  return ticks;
}

time_t ToTime(int64_t ticks) {
  int64_t sinceEpoch = 0;
  if (__builtin_sub_overflow(ticks, kTicksFrom1601ToUnixEpoch, &sinceEpoch)) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid utc timestamp for posix platform ", ticks);
  }
  // One tick lower than FromUnixTime's limit, so that the tick count 0 itself passes.
  if (sinceEpoch < -kTicksFrom1601ToUnixEpoch - 1) {
    ThrowTimeError(__FILE__, __LINE__, "Invalid utc timestamp for posix platform ", sinceEpoch);
  }
  return static_cast<time_t>(sinceEpoch / kTicksPerSecond);
}

std::tm ToBrokenDownTime(time_t time) {
  std::tm local{};
  if (!localtime_r(&time, &local)) {
    ThrowTimeError(__FILE__, __LINE__, "Cannot represent time in broken down format ", time);
  }
  const BrokenDownTime parts = {
      static_cast<uint16_t>(local.tm_sec),
      static_cast<uint16_t>(local.tm_min),
      static_cast<uint16_t>(local.tm_hour),
      static_cast<uint16_t>(local.tm_mday),
      static_cast<uint16_t>(local.tm_mon),
      static_cast<uint16_t>(local.tm_year + 1900),
      static_cast<uint16_t>(local.tm_wday),
      static_cast<uint16_t>(local.tm_yday),
      local.tm_isdst > 0,
  };
  std::tm result{};
  result.tm_sec = parts.second;
  result.tm_min = parts.minute;
  result.tm_hour = parts.hour;
  result.tm_mday = parts.day;
  result.tm_mon = parts.month;
  result.tm_year = parts.year - 1900;
  result.tm_wday = parts.dayOfWeek;
  result.tm_yday = parts.dayOfYear;
  result.tm_isdst = parts.daylightSaving ? 1 : 0;
  return result;
}

std::string FormatDate(const std::tm& time, const char* format) {
  const size_t length = strnlen(format, kMaxFormatLength);
  if (length == 0) {
    return std::string();
  }
  if (length >= kMaxFormatLength) {
    throw std::out_of_range("Format specification is too long");
  }
  char buffer[kFormatBufferSize];
  const size_t written = std::strftime(buffer, sizeof(buffer), format, &time);
  if (written == 0) {
    throw std::out_of_range("Format specification is too long");
  }
  return std::string(buffer, written);
}

std::string TicksToString(int64_t ticks) {
  return FormatDate(ToBrokenDownTime(ToTime(ticks)), kDateFormat);
}

}  // namespace qel::tools
