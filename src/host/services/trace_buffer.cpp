#include "trace_buffer.h"

#include <cstdlib>
#include <cstring>

namespace host::trace_buffer {
namespace {

// 16 bytes, so the text after it keeps malloc's alignment.
struct alignas(16) Header {
  uint32_t level;
  size_t capacity;
};

Header* HeaderOf(const char* data) noexcept {
  return reinterpret_cast<Header*>(const_cast<char*>(data)) - 1;
}

char* DataOf(Header* header) noexcept { return reinterpret_cast<char*>(header + 1); }

}  // namespace

char* Open(uint32_t level, size_t capacity) noexcept {
  if (capacity > SIZE_MAX - sizeof(Header)) {
    return nullptr;
  }
  auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + capacity));
  if (!header) {
    return nullptr;
  }
  header->level = level;
  header->capacity = capacity;
  return DataOf(header);
}

char* Grow(char* data, size_t capacity) noexcept {
  const Header* old = HeaderOf(data);
  if (capacity <= old->capacity) {
    return data;
  }
  char* grown = Open(old->level, capacity);
  if (!grown) {
    return nullptr;
  }
  std::memcpy(grown, data, old->capacity);
  Free(data);
  return grown;
}

void Free(char* data) noexcept {
  if (data) {
    std::free(HeaderOf(data));
  }
}

uint32_t Level(const char* data) noexcept { return HeaderOf(data)->level; }

size_t Capacity(const char* data) noexcept { return HeaderOf(data)->capacity; }

result_t GrowRecord(orv::TraceRecord* record, size_t capacity) noexcept {
  if (!record->data) {
    return orv::errors::kInvalidArgument;
  }
  char* grown = Grow(record->data, capacity);
  if (!grown) {
    return orv::errors::kOutOfMemory;
  }
  record->data = grown;
  return orv::errors::kOk;
}

}  // namespace host::trace_buffer
