#include "address_parser.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

namespace qel::tcp_traffic_interceptor::interception {
namespace {

namespace tm = ::traffic_processing::traffic_monitor;

// A cursor over the text; a NUL reads as the end.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : m_text(text) {}

  bool AtEnd() const { return m_position >= m_text.size() || m_text[m_position] == '\0'; }
  char Peek(size_t ahead = 0) const {
    const size_t at = m_position + ahead;
    return at < m_text.size() ? m_text[at] : '\0';
  }
  bool Take(char expected) {
    if (!AtEnd() && Peek() == expected) {
      ++m_position;
      return true;
    }
    return false;
  }
  void Advance() { ++m_position; }
  std::string_view Rest() const { return m_text.substr(std::min(m_position, m_text.size())); }

 private:
  std::string_view m_text;
  size_t m_position = 0;
};

[[noreturn]] void Fail() { throw std::runtime_error("Invalid format of ip address"); }

int DigitValue(char character, unsigned base) {
  int value = -1;
  if (character >= '0' && character <= '9') {
    value = character - '0';
  } else if (character >= 'a' && character <= 'f') {
    value = character - 'a' + 10;
  } else if (character >= 'A' && character <= 'F') {
    value = character - 'A' + 10;
  }
  return value >= 0 && static_cast<unsigned>(value) < base ? value : -1;
}

// Digits of `base` while they last, at least `minDigits`, at most `maxDigits`; fails above `limit`.
uint64_t ReadNumber(Cursor& cursor, unsigned base, size_t minDigits, size_t maxDigits,
                    uint64_t limit) {
  uint64_t value = 0;
  size_t digits = 0;
  for (int digit; digits < maxDigits && (digit = DigitValue(cursor.Peek(), base)) >= 0; ++digits) {
    value = value * base + static_cast<uint64_t>(digit);
    if (value > limit) {
      Fail();
    }
    cursor.Advance();
  }
  if (digits < minDigits) {
    Fail();
  }
  return value;
}

uint32_t ReadFourParts(Cursor& cursor) {
  uint32_t address = 0;
  for (int part = 0; part < 4; ++part) {
    if (part > 0 && !cursor.Take('.')) {
      Fail();
    }
    const char first = cursor.Peek();
    uint64_t value = 0;
    if (first >= '1' && first <= '9') {
      value = ReadNumber(cursor, 10, 1, SIZE_MAX, 255);
    } else if (first == '0' && (cursor.Peek(1) == 'x' || cursor.Peek(1) == 'X')) {
      cursor.Advance();
      cursor.Advance();
      value = ReadNumber(cursor, 16, 1, SIZE_MAX, 255);
    } else if (first == '0') {
      value = ReadNumber(cursor, 8, 1, SIZE_MAX, 255);
    } else {
      Fail();
    }
    address = (address << 8) | static_cast<uint32_t>(value);
  }
  return address;
}

uint16_t ReadPortSuffix(Cursor& cursor) {
  if (!cursor.Take(':')) {
    return 0;
  }
  return static_cast<uint16_t>(ReadNumber(cursor, 10, 1, 5, 0xFFFF));
}

// Eight groups, high first.
void ReadIpv6(Cursor& cursor, uint16_t (&groups)[8]) {
  size_t colons = 0;
  bool dotted = false;
  for (char character : cursor.Rest()) {
    if (character == ']' || character == '\0') {
      break;
    }
    colons += character == ':' ? 1 : 0;
    dotted = dotted || character == '.';
  }
  if (colons > 7 || (colons == 7 && dotted)) {
    Fail();
  }

  uint16_t explicitGroups[8] = {};
  size_t count = 0;
  int gapAt = -1;  // index into explicitGroups where "::" stands
  bool tail = false;
  if (cursor.Peek() == ':') {
    if (cursor.Peek(1) != ':') {
      Fail();
    }
    cursor.Advance();
    cursor.Advance();
    gapAt = 0;
  }
  while (true) {
    const size_t room = (gapAt >= 0 ? 7 : 8) - (dotted ? 2 : 0);
    // The dotted tail: the rest up to a ':' holds a '.'.
    bool tailNext = false;
    if (dotted) {
      for (char character : cursor.Rest()) {
        if (character == ':' || character == ']' || character == '%' || character == '\0') {
          break;
        }
        if (character == '.') {
          tailNext = true;
          break;
        }
      }
    }
    if (tailNext) {
      if (count > room) {
        Fail();
      }
      const uint32_t low = ReadFourParts(cursor);
      explicitGroups[count++] = static_cast<uint16_t>(low >> 16);
      explicitGroups[count++] = static_cast<uint16_t>(low);
      tail = true;
      break;
    }
    if (DigitValue(cursor.Peek(), 16) < 0) {
      // Only right after "::" may no group follow.
      if (gapAt >= 0 && static_cast<size_t>(gapAt) == count) {
        break;
      }
      Fail();
    }
    if (count >= room) {
      Fail();
    }
    explicitGroups[count++] = static_cast<uint16_t>(ReadNumber(cursor, 16, 1, 4, 0xFFFF));
    if (cursor.Peek() != ':') {
      break;
    }
    cursor.Advance();
    if (cursor.Peek() == ':') {
      if (gapAt >= 0) {
        Fail();
      }
      cursor.Advance();
      gapAt = static_cast<int>(count);
    }
  }
  if (dotted && !tail) {
    Fail();
  }
  if (gapAt < 0 ? count != 8 : count > 7) {
    Fail();
  }
  const size_t zeros = 8 - count;
  size_t out = 0;
  for (size_t i = 0; i < count; ++i) {
    if (static_cast<int>(i) == gapAt) {
      for (size_t z = 0; z < zeros; ++z) {
        groups[out++] = 0;
      }
    }
    groups[out++] = explicitGroups[i];
  }
  while (out < 8) {
    groups[out++] = 0;  // "::" at the end
  }
}

}  // namespace

tm::IpEndpoint ParseEndpointAddress(std::string_view text) {
  Cursor cursor(text);
  tm::IpEndpoint endpoint;
  const std::string_view head = text.substr(0, 6);
  if (cursor.Peek() == ':' || head.find(':') != std::string_view::npos) {
    const bool bracket = cursor.Take('[');
    uint16_t groups[8] = {};
    ReadIpv6(cursor, groups);
    endpoint.family = 6;
    for (int i = 0; i < 4; ++i) {
      endpoint.v6.address[1] = (endpoint.v6.address[1] << 16) | groups[i];
      endpoint.v6.address[0] = (endpoint.v6.address[0] << 16) | groups[i + 4];
    }
    if (cursor.Take('%')) {
      endpoint.v6.scopeId = static_cast<uint32_t>(ReadNumber(cursor, 10, 1, SIZE_MAX, 0xFFFFFFFF));
    }
    if (bracket) {
      if (!cursor.Take(']')) {
        Fail();
      }
      endpoint.v6.port = ReadPortSuffix(cursor);
    }
  } else {
    endpoint.family = 4;
    endpoint.v4.address = ReadFourParts(cursor);
    endpoint.v4.port = ReadPortSuffix(cursor);
  }
  if (!cursor.AtEnd()) {
    Fail();
  }
  return endpoint;
}

}  // namespace qel::tcp_traffic_interceptor::interception
