#include "host/malloc_allocator.h"

#include <cstdlib>

namespace host {

void* MallocAllocator::Alloc(size_t size) {
  if (!Permit()) {
    return nullptr;
  }
  // glibc's malloc aligns to 16 bytes on the 64-bit targets; a unique pointer also for 0 bytes.
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (!memory) {
    ++m_failures;
    return nullptr;
  }
  ++m_allocations;
  return memory;
}

void* MallocAllocator::Realloc(void* pointer, size_t size) {
  if (!pointer) {
    return Alloc(size);
  }
  if (size == 0) {
    Free(pointer);
    return nullptr;
  }
  if (!Permit()) {
    return nullptr;  // as realloc: the old block stays
  }
  void* memory = std::realloc(pointer, size);
  if (!memory) {
    ++m_failures;
  }
  return memory;
}

void MallocAllocator::Free(void* pointer) {
  if (!pointer) {
    return;
  }
  std::free(pointer);
  ++m_frees;
}

void MallocAllocator::FailAfter(uint64_t count) noexcept {
  m_allowedBeforeFailure = static_cast<int64_t>(count);
}

void MallocAllocator::ResetFailures() noexcept {
  m_failAll = false;
  m_allowedBeforeFailure = -1;
}

bool MallocAllocator::Permit() noexcept {
  bool permitted = !m_failAll.load();
  int64_t allowed = m_allowedBeforeFailure.load();
  while (permitted && allowed >= 0) {
    if (allowed == 0) {
      permitted = false;
    } else if (m_allowedBeforeFailure.compare_exchange_weak(allowed, allowed - 1)) {
      break;
    }
  }
  if (!permitted) {
    ++m_failures;
  }
  return permitted;
}

}  // namespace host
