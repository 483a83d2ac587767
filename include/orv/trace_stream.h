#pragma once

#include <cstddef>
#include <cstdint>
#include <ios>
#include <string_view>

#include "orv/result.h"
#include "orv/string.h"
#include "orv/tracer.h"

namespace orv {

// Opens a record at `level`: the record, or null when there is no tracer or it refused.
TraceRecord* OpenTrace(TraceRecord* record, ITracer* tracer, uint32_t level) noexcept;

namespace trace {
// Streams a result_t as "0x%08x (text)".
struct Result {
  result_t value;
};
// Streams "file:line(expression),(check) failed: ".
struct CheckSite {
  const char* file;
  uint32_t line;
  const char* expression;
  const char* check;
};
struct Width {
  size_t value;
};
struct Fill {
  char value;
};
}  // namespace trace

// Formats values straight into the tracer's buffer: no allocation for a line of up to 512 bytes.
// Nothing here throws or fails the caller; a refused growth only shortens the line.
class TraceStream {
 public:
  static constexpr size_t kInitialCapacity = 512;

  explicit TraceStream(TraceRecord* record) noexcept;
  TraceStream(const TraceStream&) = delete;
  TraceStream& operator=(const TraceStream&) = delete;

  TraceStream& operator<<(const char* text) noexcept;
  TraceStream& operator<<(std::string_view text) noexcept;
  TraceStream& operator<<(const types::string8_t& text) noexcept { return *this << text.view(); }
  TraceStream& operator<<(char character) noexcept;
  TraceStream& operator<<(bool value) noexcept { return WriteUnsigned(value ? 1 : 0, 64); }
  TraceStream& operator<<(int value) noexcept { return WriteSigned(value, 32); }
  TraceStream& operator<<(long value) noexcept { return WriteSigned(value, 64); }
  TraceStream& operator<<(long long value) noexcept { return WriteSigned(value, 64); }
  TraceStream& operator<<(unsigned value) noexcept { return WriteUnsigned(value, 32); }
  TraceStream& operator<<(unsigned long value) noexcept { return WriteUnsigned(value, 64); }
  TraceStream& operator<<(unsigned long long value) noexcept { return WriteUnsigned(value, 64); }
  TraceStream& operator<<(trace::Result result) noexcept;
  TraceStream& operator<<(const trace::CheckSite& site) noexcept;
  TraceStream& operator<<(trace::Width width) noexcept;
  TraceStream& operator<<(trace::Fill fill) noexcept;
  // std::hex, std::dec, std::oct, std::showbase, std::noshowbase, std::left, std::right,
  // std::internal.
  TraceStream& operator<<(std::ios_base& (*manipulator)(std::ios_base&)) noexcept;

  // Hands the line to the tracer and forgets the buffer. Does nothing once closed.
  void Close() noexcept;

  size_t length() const noexcept { return m_length; }
  size_t capacity() const noexcept { return m_capacity; }

 private:
  TraceStream& WriteSigned(long long value, unsigned bits) noexcept;
  TraceStream& WriteUnsigned(unsigned long long value, unsigned bits) noexcept;
  // Writes prefix and digits padded to the width by the adjustment flags.
  void WritePadded(std::string_view prefix, std::string_view body) noexcept;
  void Append(const char* text, size_t length) noexcept;
  void AppendFill(size_t count) noexcept;
  bool Reserve(size_t extra) noexcept;

  TraceRecord* m_record;
  char* m_data;
  size_t m_capacity = kInitialCapacity;
  size_t m_length = 0;
  uint32_t m_flags = 0x1002;  // decimal, skip white space
  size_t m_precision = 6;
  size_t m_width = 0;
  char m_fill = ' ';
};

void CloseTrace(TraceStream& stream) noexcept;

// One trace statement: opens, streams only when granted, closes at the end of the statement.
class TraceScope {
 public:
  TraceScope(ITracer* tracer, uint32_t level) noexcept
      : m_open(OpenTrace(&m_record, tracer, level) != nullptr), m_stream(&m_record) {}
  ~TraceScope() { Close(); }
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;

  explicit operator bool() const noexcept { return m_open; }
  TraceStream& stream() noexcept { return m_stream; }
  void Close() noexcept {
    if (m_open) {
      m_open = false;
      m_stream.Close();
    }
  }

 private:
  TraceRecord m_record;
  bool m_open;
  TraceStream m_stream;
};

}  // namespace orv

// ORV_TRACE(tracer, 800) << "text" << value;  Nothing is formatted unless the level is granted.
#define ORV_TRACE(tracer, level)                                            \
  for (::orv::TraceScope _orvTraceScope((tracer), (level)); _orvTraceScope; \
       _orvTraceScope.Close())                                              \
  _orvTraceScope.stream()
