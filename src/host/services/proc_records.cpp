#include "host/proc_records.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace host {
namespace {

constexpr std::string_view kUidKey = "Uid:";
constexpr int kStartTimeField = 22;

// The decimal number at the start of `text` after blanks; false without one or past T's range.
template <class T>
bool LeadingNumber(std::string_view text, T& value) {
  const size_t start = text.find_first_not_of(" \t");
  if (start == std::string_view::npos) {
    return false;
  }
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data() + start, end, value);
  return error == std::errc() && (rest == end || *rest == ' ' || *rest == '\t' || *rest == '\n');
}

}  // namespace

bool StartTimeFromStat(std::string_view stat, uint64_t& startTime) {
  const size_t close = stat.rfind(')');
  if (close == std::string_view::npos) {
    return false;
  }
  // Field 3 starts after ") ".
  std::string_view rest = stat.substr(close + 1);
  for (int number = 3; number <= kStartTimeField; ++number) {
    const size_t start = rest.find_first_not_of(' ');
    if (start == std::string_view::npos) {
      return false;
    }
    rest.remove_prefix(start);
    if (number == kStartTimeField) {
      return LeadingNumber(rest, startTime);
    }
    const size_t blank = rest.find(' ');
    if (blank == std::string_view::npos) {
      return false;
    }
    rest.remove_prefix(blank);
  }
  return false;
}

bool UidFromStatus(std::string_view status, uint32_t& uid) {
  size_t line = 0;
  while (line < status.size()) {
    const size_t end = std::min(status.find('\n', line), status.size());
    const std::string_view text = status.substr(line, end - line);
    if (text.substr(0, kUidKey.size()) == kUidKey) {
      return LeadingNumber(text.substr(kUidKey.size()), uid);
    }
    line = end + 1;
  }
  return false;
}

}  // namespace host
