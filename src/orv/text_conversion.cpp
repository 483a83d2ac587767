#include "text_conversion.h"

#include <stdexcept>
#include <typeinfo>

namespace orv {
namespace {

void AppendUtf8(char32_t codePoint, std::string& target) {
  if (codePoint < 0x80) {
    target.push_back(static_cast<char>(codePoint));
  } else if (codePoint < 0x800) {
    target.push_back(static_cast<char>(0xc0 | (codePoint >> 6)));
    target.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
  } else if (codePoint < 0x10000) {
    target.push_back(static_cast<char>(0xe0 | (codePoint >> 12)));
    target.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f)));
    target.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
  } else {
    target.push_back(static_cast<char>(0xf0 | (codePoint >> 18)));
    target.push_back(static_cast<char>(0x80 | ((codePoint >> 12) & 0x3f)));
    target.push_back(static_cast<char>(0x80 | ((codePoint >> 6) & 0x3f)));
    target.push_back(static_cast<char>(0x80 | (codePoint & 0x3f)));
  }
}

}  // namespace

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string result;
  result.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t unit = text[i];
    if (unit >= 0xd800 && unit <= 0xdbff && i + 1 < text.size() && text[i + 1] >= 0xdc00 &&
        text[i + 1] <= 0xdfff) {
      unit = 0x10000 + ((unit - 0xd800) << 10) + (text[i + 1] - 0xdc00);
      ++i;
    } else if (unit >= 0xd800 && unit <= 0xdfff) {
      unit = 0xfffd;
    }
    AppendUtf8(unit, result);
  }
  return result;
}

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string result;
  for (size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const size_t length = byte < 0x80 ? 1 : byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
    if (i + length > text.size()) {
      throw std::runtime_error("cut UTF-8 sequence");
    }
    char32_t codePoint = length == 1 ? byte : byte & (0x7f >> length);
    for (size_t k = 1; k < length; ++k) {
      codePoint = (codePoint << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3f);
    }
    AppendUtf32AsUtf16(std::u32string_view(&codePoint, 1), result);
    i += length;
  }
  return result;
}

void AppendUtf32AsUtf16(std::u32string_view text, std::u16string& target) {
  for (char32_t codePoint : text) {
    if (codePoint > 0x10ffff) {
      throw std::bad_cast();
    }
    if (codePoint >= 0x10000) {
      codePoint -= 0x10000;
      target.push_back(static_cast<char16_t>(0xd800 + (codePoint >> 10)));
      target.push_back(static_cast<char16_t>(0xdc00 + (codePoint & 0x3ff)));
    } else {
      target.push_back(static_cast<char16_t>(codePoint));
    }
  }
}

std::u16string WidenBytes(std::string_view text) {
  std::u16string result;
  result.reserve(text.size());
  for (const char byte : text) {
    result.push_back(static_cast<unsigned char>(byte));
  }
  return result;
}

}  // namespace orv
