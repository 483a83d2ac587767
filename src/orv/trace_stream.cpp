#include "orv/trace_stream.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace orv {
namespace {

// The libstdc++ values of std::ios_base::fmtflags, which the flags word follows.
constexpr uint32_t kBaseField = std::ios_base::basefield;
constexpr uint32_t kHex = std::ios_base::hex;
constexpr uint32_t kOct = std::ios_base::oct;
constexpr uint32_t kShowBase = std::ios_base::showbase;
constexpr uint32_t kAdjustField = std::ios_base::adjustfield;
constexpr uint32_t kLeft = std::ios_base::left;
constexpr uint32_t kInternal = std::ios_base::internal;

// Digits of `value` in `base`, written backwards from `end`; returns the first digit.
char* FormatDigits(unsigned long long value, unsigned base, char* end) noexcept {
  static constexpr char kDigits[] = "0123456789abcdef";
  char* position = end;
  do {
    *--position = kDigits[value % base];
    value /= base;
  } while (value != 0);
  return position;
}

}  // namespace

TraceRecord* OpenTrace(TraceRecord* record, ITracer* tracer, uint32_t level) noexcept {
  if (!tracer) {
    return nullptr;
  }
  record->data = nullptr;
  if (tracer->GetRecord(level, record, TraceStream::kInitialCapacity) != 0 || !record->data) {
    record->data = nullptr;
    return nullptr;
  }
  record->tracer = tracer;
  return record;
}

TraceStream::TraceStream(TraceRecord* record) noexcept
    : m_record(record), m_data(record ? record->data : nullptr) {
  if (!m_data) {
    m_capacity = 0;
  }
}

TraceStream& TraceStream::operator<<(const char* text) noexcept {
  return *this << std::string_view(text ? text : "(null)");
}

TraceStream& TraceStream::operator<<(std::string_view text) noexcept {
  WritePadded({}, text);
  return *this;
}

TraceStream& TraceStream::operator<<(char character) noexcept {
  WritePadded({}, std::string_view(&character, 1));
  return *this;
}

TraceStream& TraceStream::operator<<(trace::Result result) noexcept {
  char digits[8];
  char* end = digits + sizeof(digits);
  char* first = FormatDigits(static_cast<uint32_t>(result.value), 16, end);
  std::fill(digits, first, '0');
  const std::string_view text = GetResultText(result.value);
  Append("0x", 2);
  Append(digits, sizeof(digits));
  Append(" (", 2);
  Append(text.data(), text.size());
  Append(")", 1);
  m_width = 0;
  return *this;
}

TraceStream& TraceStream::operator<<(const trace::CheckSite& site) noexcept {
  m_width = 0;
  return *this << site.file << ':' << site.line << '(' << site.expression << "),(" << site.check
               << ") failed: ";
}

TraceStream& TraceStream::operator<<(trace::Width width) noexcept {
  m_width = width.value;
  return *this;
}

TraceStream& TraceStream::operator<<(trace::Fill fill) noexcept {
  m_fill = fill.value;
  return *this;
}

TraceStream& TraceStream::operator<<(std::ios_base& (*manipulator)(std::ios_base&)) noexcept {
  if (manipulator == std::hex) {
    m_flags = (m_flags & ~kBaseField) | kHex;
  } else if (manipulator == std::dec) {
    m_flags = (m_flags & ~kBaseField) | std::ios_base::dec;
  } else if (manipulator == std::oct) {
    m_flags = (m_flags & ~kBaseField) | kOct;
  } else if (manipulator == std::showbase) {
    m_flags |= kShowBase;
  } else if (manipulator == std::noshowbase) {
    m_flags &= ~kShowBase;
  } else if (manipulator == std::left) {
    m_flags = (m_flags & ~kAdjustField) | kLeft;
  } else if (manipulator == std::right) {
    m_flags = (m_flags & ~kAdjustField) | std::ios_base::right;
  } else if (manipulator == std::internal) {
    m_flags = (m_flags & ~kAdjustField) | kInternal;
  }
  return *this;
}

TraceStream& TraceStream::WriteSigned(long long value, unsigned bits) noexcept {
  const uint32_t base = m_flags & kBaseField;
  if (base == kHex || base == kOct) {
    // Other bases show the two's complement digits of the value's own width.
    const unsigned long long mask = bits == 64 ? ~0ULL : ((1ULL << bits) - 1);
    return WriteUnsigned(static_cast<unsigned long long>(value) & mask, bits);
  }
  char buffer[24];
  char* end = buffer + sizeof(buffer);
  const unsigned long long magnitude = value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                                 : static_cast<unsigned long long>(value);
  char* first = FormatDigits(magnitude, 10, end);
  WritePadded(value < 0 ? "-" : "", std::string_view(first, static_cast<size_t>(end - first)));
  return *this;
}

TraceStream& TraceStream::WriteUnsigned(unsigned long long value, unsigned) noexcept {
  const uint32_t base = m_flags & kBaseField;
  const bool showBase = (m_flags & kShowBase) != 0;
  char buffer[24];
  char* end = buffer + sizeof(buffer);
  std::string_view prefix;
  char* first;
  if (base == kHex) {
    first = FormatDigits(value, 16, end);
    prefix = showBase ? "0x" : "";
  } else if (base == kOct) {
    first = FormatDigits(value, 8, end);
    prefix = showBase && value != 0 ? "0" : "";
  } else {
    first = FormatDigits(value, 10, end);
  }
  WritePadded(prefix, std::string_view(first, static_cast<size_t>(end - first)));
  return *this;
}

void TraceStream::WritePadded(std::string_view prefix, std::string_view body) noexcept {
  const size_t length = prefix.size() + body.size();
  const size_t padding = m_width > length ? m_width - length : 0;
  m_width = 0;
  const uint32_t adjust = m_flags & kAdjustField;
  if (padding != 0 && !Reserve(length + padding)) {
    return;
  }
  if (adjust == kLeft) {
    Append(prefix.data(), prefix.size());
    Append(body.data(), body.size());
    AppendFill(padding);
  } else if (adjust == kInternal) {
    Append(prefix.data(), prefix.size());
    AppendFill(padding);
    Append(body.data(), body.size());
  } else {
    AppendFill(padding);
    Append(prefix.data(), prefix.size());
    Append(body.data(), body.size());
  }
}

void TraceStream::Append(const char* text, size_t length) noexcept {
  if (length != 0 && Reserve(length)) {
    std::memcpy(m_data + m_length, text, length);
    m_length += length;
  }
}

void TraceStream::AppendFill(size_t count) noexcept {
  if (count != 0 && Reserve(count)) {
    std::memset(m_data + m_length, m_fill, count);
    m_length += count;
  }
}

bool TraceStream::Reserve(size_t extra) noexcept {
  if (!m_record) {
    return false;
  }
  if (extra > std::numeric_limits<size_t>::max() - m_length) {
    return false;  // the value is dropped, the stream stays as it was
  }
  const size_t needed = m_length + extra;
  if (needed <= m_capacity) {
    return true;
  }
  const size_t size = std::max(
      needed, m_capacity > std::numeric_limits<size_t>::max() / 2 ? needed : m_capacity * 2);
  ITracer* tracer = m_record->tracer;
  if (tracer && tracer->GetRecord(trace_level::kGrow, m_record, size) == 0 && m_record->data) {
    m_data = m_record->data;
    m_capacity = size;
    return true;
  }
  // Refused: the line so far and this value are dropped.
  m_data = m_record->data;
  m_capacity = 0;
  m_length = 0;
  return false;
}

void TraceStream::Close() noexcept {
  if (!m_data || !m_record) {
    return;
  }
  ITracer* tracer = m_record->tracer;
  char* data = m_data;
  m_data = nullptr;
  if (tracer) {
    tracer->PutRecord(data, m_length);
  }
}

void CloseTrace(TraceStream& stream) noexcept { stream.Close(); }

}  // namespace orv
