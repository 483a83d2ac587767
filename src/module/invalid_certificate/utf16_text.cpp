#include "utf16_text.h"

#include <cstdint>

namespace qel::tcp_traffic_interceptor {
namespace {

void AppendCodePoint(uint32_t codePoint, std::string& out) {
  if (codePoint < 0x80) {
    out += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    out += static_cast<char>(0xc0 | (codePoint >> 6));
    out += static_cast<char>(0x80 | (codePoint & 0x3f));
  } else if (codePoint < 0x10000) {
    out += static_cast<char>(0xe0 | (codePoint >> 12));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (codePoint & 0x3f));
  } else {
    out += static_cast<char>(0xf0 | (codePoint >> 18));
    out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3f));
    out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f));
    out += static_cast<char>(0x80 | (codePoint & 0x3f));
  }
}

}  // namespace

std::string Utf16ToUtf8(std::u16string_view text) {
  constexpr uint32_t kReplacement = 0xfffd;
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const uint32_t unit = text[i];
    if (unit >= 0xd800 && unit < 0xdc00 && i + 1 < text.size() && text[i + 1] >= 0xdc00 &&
        text[i + 1] < 0xe000) {
      AppendCodePoint(0x10000 + ((unit - 0xd800) << 10) + (text[i + 1] - 0xdc00), out);
      ++i;
    } else if (unit >= 0xd800 && unit < 0xe000) {
      AppendCodePoint(kReplacement, out);
    } else {
      AppendCodePoint(unit, out);
    }
  }
  return out;
}

}  // namespace qel::tcp_traffic_interceptor
