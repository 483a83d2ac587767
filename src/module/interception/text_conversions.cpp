#include "text_conversions.h"

#include <climits>
#include <cwchar>
#include <locale>
#include <typeinfo>

namespace qel::tcp_traffic_interceptor::interception {
namespace {

constexpr char32_t kMaxCodePoint = 0x10FFFF;

// Walks `text` one character at a time and hands each code point to `sink`; returns how many
// 16-bit units they take.
template <class Sink>
size_t DecodeEach(std::string_view text, Sink&& sink) {
  std::mbstate_t state{};
  size_t units = 0;
  size_t position = 0;
  while (position < text.size()) {
    if (text[position] == '\0') {
      // mbrtowc reports a NUL as a step of zero; it is one unit of its own.
      sink(U'\0');
      ++units;
      ++position;
      continue;
    }
    wchar_t character = 0;
    const size_t step =
        std::mbrtowc(&character, text.data() + position, text.size() - position, &state);
    if (step == 0 || step > text.size() - position) {
      throw std::bad_cast();  // rejected (-1), incomplete (-2) or a zero step
    }
    const auto codePoint = static_cast<char32_t>(character);
    if (codePoint > kMaxCodePoint) {
      throw std::bad_cast();
    }
    sink(codePoint);
    units += codePoint > 0xFFFF ? 2 : 1;
    position += step;
  }
  return units;
}

}  // namespace

orv::types::string16_t Widen(std::string_view text) {
  const size_t units = DecodeEach(text, [](char32_t) {});
  orv::types::string16_t wide;
  wide.reserve(units);
  DecodeEach(text, [&wide](char32_t codePoint) {
    if (codePoint > 0xFFFF) {
      const char32_t offset = codePoint - 0x10000;
      wide.push_back(static_cast<char16_t>(0xD800 + (offset >> 10)));
      wide.push_back(static_cast<char16_t>(0xDC00 + (offset & 0x3FF)));
    } else {
      wide.push_back(static_cast<char16_t>(codePoint));
    }
  });
  return wide;
}

orv::types::string8_t Narrow(std::u16string_view text) {
  orv::types::string8_t narrow;
  std::mbstate_t state{};
  char buffer[MB_LEN_MAX];
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t codePoint = text[i];
    if (codePoint >= 0xD800 && codePoint < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
        text[i + 1] < 0xE000) {
      codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (text[i + 1] - 0xDC00);
      ++i;
    }
    const size_t length = std::wcrtomb(buffer, static_cast<wchar_t>(codePoint), &state);
    if (length == static_cast<size_t>(-1)) {
      throw std::bad_cast();
    }
    narrow.append(std::string_view(buffer, length));
  }
  return narrow;
}

orv::types::string16_t Trim(const orv::types::string16_t& text) {
  const std::locale& classic = std::locale::classic();
  const auto isSpace = [&classic](char16_t unit) {
    return std::isspace(static_cast<wchar_t>(unit), classic);
  };
  size_t first = 0;
  size_t last = text.size();
  while (first < last && isSpace(text[first])) {
    ++first;
  }
  while (last > first && isSpace(text[last - 1])) {
    --last;
  }
  return orv::types::string16_t(text.view().substr(first, last - first), text.get_allocator());
}

}  // namespace qel::tcp_traffic_interceptor::interception
