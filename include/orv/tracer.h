#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"

namespace orv {

struct ITracer;

// One open trace line: the tracer's buffer and, after a grant, the tracer itself.
struct TraceRecord {
  char* data = nullptr;
  ITracer* tracer = nullptr;
};

namespace trace_level {
constexpr uint32_t kError = 300;
constexpr uint32_t kWarning = 500;
constexpr uint32_t kDetail = 800;
// Not a message level: asks for a larger buffer for an open record.
constexpr uint32_t kGrow = 1000;
}  // namespace trace_level

// The host's tracer.
struct ITracer : IObject {
  static constexpr uint32_t kIid = 0x6ef3329b;
  // Slot 3: opens a record (level 300/500/800, record->data null) or grows the open one
  // (level 1000). 0 with record->data usable for `size` bytes; on refusal a negative code.
  virtual result_t GetRecord(uint32_t level, TraceRecord* record, size_t size) = 0;
  // Slot 4: emits `length` bytes of the record's buffer as one line and releases the buffer.
  virtual result_t PutRecord(char* data, size_t length) = 0;

 protected:
  ~ITracer() = default;
};

static_assert(sizeof(TraceRecord) == 16);

}  // namespace orv
