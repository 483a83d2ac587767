#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/tracer.h"

namespace host::trace_buffer {

// The buffers the host tracers hand out. A header in front of the bytes keeps the level of the open
// record and the capacity, because the caller only gives the data pointer back. Allocated with
// malloc; none of these throws.

// A new buffer of `capacity` bytes for a record at `level`, or null.
char* Open(uint32_t level, size_t capacity) noexcept;
// A buffer of at least `capacity` bytes starting with a copy of the whole old one, which is then
// freed; `data` itself when it is large enough. Null when memory runs out; `data` stays valid.
char* Grow(char* data, size_t capacity) noexcept;
void Free(char* data) noexcept;
// Grows the open record's buffer (a request at level 1000): 0 with record->data replaced, or a
// negative code with the old buffer kept open.
result_t GrowRecord(orv::TraceRecord* record, size_t capacity) noexcept;

uint32_t Level(const char* data) noexcept;
size_t Capacity(const char* data) noexcept;

}  // namespace host::trace_buffer
