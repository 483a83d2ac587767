#include "template_marks.h"

#include <algorithm>

namespace localization {
namespace {

bool IsKey(std::string_view key) {
  return !key.empty() && std::all_of(key.begin(), key.end(), [](char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') || character == '_';
  });
}

}  // namespace

std::string ReplaceMarks(std::string_view page, const KeyLookup& lookup, size_t& unknown) {
  unknown = 0;
  std::string result;
  result.reserve(page.size() + page.size() / 4);
  size_t position = 0;
  while (position < page.size()) {
    const size_t open = page.find('$', position);
    const size_t close = open == std::string_view::npos ? open : page.find('$', open + 1);
    if (close == std::string_view::npos) {
      break;
    }
    result.append(page.substr(position, open - position));
    const std::string_view key = page.substr(open + 1, close - open - 1);
    const std::string* text = IsKey(key) ? lookup(key) : nullptr;
    if (text != nullptr) {
      result.append(*text);
      position = close + 1;
      continue;
    }
    if (IsKey(key)) {
      ++unknown;
    }
    // The closing '$' of what was no mark may open the next one.
    result.append(page.substr(open, close - open));
    position = close;
  }
  if (position < page.size()) {
    result.append(page.substr(position));
  }
  return result;
}

}  // namespace localization
