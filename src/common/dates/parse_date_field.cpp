#include <boost/lexical_cast.hpp>
#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <string>

#include "orv/exception.h"
#include "qel/event.h"
#include "qel/tools/date_strings.h"
#include "qel/tools/system_error.h"

namespace qel::tools {
namespace {

constexpr size_t kMaxFormatLength = 2048;
constexpr size_t kMaxDateLength = 2047;

bool AllDigits(std::string_view text) {
  for (const char character : text) {
    if (character < '0' || character > '9') {
      return false;
    }
  }
  return true;
}

// Local time in `format` to seconds since the epoch.
time_t ParseLocalDate(const std::string& text, const char* format) {
  if (strnlen(format, kMaxFormatLength) >= kMaxFormatLength) {
    throw std::out_of_range("So big format size");
  }
  if (text.empty()) {
    throw std::runtime_error("No reason to convert to date nothing");
  }
  if (text.size() > kMaxDateLength) {
    throw std::out_of_range("So big date string length");
  }
  std::tm parts{};
  if (!strptime(text.c_str(), format, &parts)) {
    throw std::runtime_error("\"" + text + "\" does not contain date in \"" + format + "\" format");
  }
  errno = 0;
  const time_t seconds = std::mktime(&parts);
  // -1 with errno 0 is a real date: one second before the epoch.
  if (seconds == static_cast<time_t>(-1) && errno != 0) {
    ThrowSystemError("std::mktime", __FILE__, __LINE__);
  }
  return seconds;
}

int64_t ParseTicks(std::string_view text) {
  if (AllDigits(text)) {
    // Already a tick count: no zone, no range check.
    return boost::lexical_cast<int64_t>(std::string(text));
  }
  const time_t seconds = ParseLocalDate(std::string(text), kDateFormat);
  return FromUnixTime(seconds, 0) + kTicksFrom1601ToUnixEpoch;
}

}  // namespace

result_t ParseDateField(Event& record, AdditionalName::Type field, std::string_view text) noexcept {
  if (text.empty()) {
    return orv::errors::kInvalidArgument;
  }
  try {
    Variant date = Variant::Date(static_cast<uint64_t>(ParseTicks(text)));
    AppendField(field, date, record.additionalFields);
    return orv::errors::kOk;
  } catch (const std::exception&) {
    return orv::errors::kInvalidArgument;
  } catch (...) {
    return orv::errors::kUnspecified;
  }
}

}  // namespace qel::tools
