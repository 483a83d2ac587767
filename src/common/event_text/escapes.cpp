#include "escapes.h"

#include <array>
#include <cstdio>
#include <utility>

namespace qel::tools {
namespace {

using EscapeTable = std::array<const char*, 256>;

EscapeTable MakeTable(std::initializer_list<std::pair<unsigned char, const char*>> pairs) {
  EscapeTable table{};
  for (const auto& [byte, text] : pairs) {
    table[byte] = text;
  }
  return table;
}

const EscapeTable& JsonTable() {
  static const EscapeTable table = MakeTable({{'\b', "\\b"},
                                              {'\f', "\\f"},
                                              {'\n', "\\n"},
                                              {'\r', "\\r"},
                                              {'\t', "\\t"},
                                              {'"', "\\\""},
                                              {'\\', "\\\\"}});
  return table;
}

const EscapeTable& OneLineTable() {
  static const EscapeTable table =
      MakeTable({{'\n', "\\n"}, {'\r', "\\r"}, {'=', "\\="}, {'\\', "\\\\"}});
  return table;
}

const EscapeTable& ControlTable() {
  static const EscapeTable table = MakeTable({{'\a', "\\a"},
                                              {'\b', "\\b"},
                                              {'\t', "\\t"},
                                              {'\n', "\\n"},
                                              {'\v', "\\v"},
                                              {'\f', "\\f"},
                                              {'\r', "\\r"}});
  return table;
}

std::string Escape(std::string_view text, const EscapeTable& table) {
  std::string result;
  result.reserve(text.size());
  for (const char character : text) {
    if (const char* escaped = table[static_cast<unsigned char>(character)]) {
      result += escaped;
    } else {
      result += character;
    }
  }
  return result;
}

}  // namespace

size_t Utf8SequenceLength(std::string_view text) noexcept {
  const auto byte = [&text](size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) {
    return 1;
  }
  size_t length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xbf;
  if (lead >= 0xc2 && lead <= 0xdf) {
    length = 2;
  } else if (lead >= 0xe0 && lead <= 0xef) {
    length = 3;
    low = lead == 0xe0 ? 0xa0 : 0x80;   // no overlong forms
    high = lead == 0xed ? 0x9f : 0xbf;  // no surrogates
  } else if (lead >= 0xf0 && lead <= 0xf4) {
    length = 4;
    low = lead == 0xf0 ? 0x90 : 0x80;
    high = lead == 0xf4 ? 0x8f : 0xbf;  // nothing above U+10FFFF
  } else {
    return 0;
  }
  if (text.size() < length || byte(1) < low || byte(1) > high) {
    return 0;
  }
  for (size_t i = 2; i < length; ++i) {
    if (byte(i) < 0x80 || byte(i) > 0xbf) {
      return 0;
    }
  }
  return length;
}

std::string JsonEscape(std::string_view text) {
  const EscapeTable& table = JsonTable();
  std::string result;
  result.reserve(text.size());
  size_t index = 0;
  while (index < text.size()) {
    const auto byte = static_cast<unsigned char>(text[index]);
    if (const char* escaped = table[byte]) {
      result += escaped;
      ++index;
    } else if (byte < 0x20 || byte == 0x7f) {
      char code[8];
      std::snprintf(code, sizeof(code), "\\u%04x", byte);
      result += code;
      ++index;
    } else if (const size_t length = Utf8SequenceLength(text.substr(index))) {
      result.append(text.substr(index, length));
      index += length;
    } else {
      result += '?';
      ++index;
    }
  }
  return result;
}

std::string OneLineEscape(std::string_view text) { return Escape(text, OneLineTable()); }

std::string ControlEscape(std::string_view text) { return Escape(text, ControlTable()); }

}  // namespace qel::tools
