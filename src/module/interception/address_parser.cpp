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

// Looks ahead up to the ']': whether a dotted IPv4 tail is there. More colons than eight groups
// allow (seven, or six with the tail) fail.
bool ScanIpv6Shape(const Cursor& cursor) {
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
  return dotted;
}

// Whether the group at the cursor is the dotted tail: a '.' comes before the next ':'.
bool AtDottedTail(const Cursor& cursor) {
  for (char character : cursor.Rest()) {
    if (character == ':' || character == ']' || character == '%' || character == '\0') {
      return false;
    }
    if (character == '.') {
      return true;
    }
  }
  return false;
}

// The groups as written, and where "::" stands among them (-1: nowhere).
struct WrittenGroups {
  uint16_t groups[8] = {};
  size_t count = 0;
  int gapAt = -1;
};

// Reads the groups up to the first character that continues none; the dotted tail, when the text
// has one, gives the last two.
WrittenGroups ReadWrittenGroups(Cursor& cursor, bool dotted) {
  WrittenGroups written;
  if (cursor.Peek() == ':') {
    if (cursor.Peek(1) != ':') {
      Fail();
    }
    cursor.Advance();
    cursor.Advance();
    written.gapAt = 0;
  }
  while (true) {
    const size_t room = (written.gapAt >= 0 ? 7 : 8) - (dotted ? 2 : 0);
    if (dotted && AtDottedTail(cursor)) {
      if (written.count > room) {
        Fail();
      }
      const uint32_t low = ReadFourParts(cursor);
      written.groups[written.count++] = static_cast<uint16_t>(low >> 16);
      written.groups[written.count++] = static_cast<uint16_t>(low);
      return written;
    }
    if (DigitValue(cursor.Peek(), 16) < 0) {
      // Only right after "::" may no group follow.
      if (written.gapAt >= 0 && static_cast<size_t>(written.gapAt) == written.count) {
        break;
      }
      Fail();
    }
    if (written.count >= room) {
      Fail();
    }
    written.groups[written.count++] = static_cast<uint16_t>(ReadNumber(cursor, 16, 1, 4, 0xFFFF));
    if (cursor.Peek() != ':') {
      break;
    }
    cursor.Advance();
    if (cursor.Peek() == ':') {
      if (written.gapAt >= 0) {
        Fail();
      }
      cursor.Advance();
      written.gapAt = static_cast<int>(written.count);
    }
  }
  if (dotted) {
    Fail();  // the '.' was not in a tail
  }
  return written;
}

// Eight groups, high first: the written ones with the run of zeros where "::" stood.
void ExpandGap(const WrittenGroups& written, uint16_t (&groups)[8]) {
  if (written.gapAt < 0 ? written.count != 8 : written.count > 7) {
    Fail();
  }
  const size_t zeros = 8 - written.count;
  size_t out = 0;
  for (size_t i = 0; i < written.count; ++i) {
    if (static_cast<int>(i) == written.gapAt) {
      for (size_t z = 0; z < zeros; ++z) {
        groups[out++] = 0;
      }
    }
    groups[out++] = written.groups[i];
  }
  while (out < 8) {
    groups[out++] = 0;  // "::" at the end
  }
}

// Eight groups, high first.
void ReadIpv6(Cursor& cursor, uint16_t (&groups)[8]) {
  const bool dotted = ScanIpv6Shape(cursor);
  ExpandGap(ReadWrittenGroups(cursor, dotted), groups);
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
