#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

#include "orv/object.h"

namespace orv {

// The memory policy of the interface containers. A container records an IAllocator* (or null for
// malloc/free) next to its storage and always frees with what allocated: callees fill callers'
// containers, so the freeing side must be the allocating side. A stored allocator holds a
// reference.
class abi_v1_allocator {
 public:
  static void* Allocate(IAllocator* allocator, size_t bytes) {
    void* memory = allocator ? allocator->Alloc(bytes) : std::malloc(bytes);
    if (!memory) {
      throw std::bad_alloc();
    }
    return memory;
  }
  static void Deallocate(IAllocator* allocator, void* memory) noexcept {
    if (!memory) {
      return;
    }
    if (allocator) {
      allocator->Free(memory);
    } else {
      std::free(memory);
    }
  }
  // Returns `allocator` with one more reference, for storing in a container.
  static IAllocator* Acquire(IAllocator* allocator) noexcept {
    if (allocator) {
      allocator->AddRef();
    }
    return allocator;
  }
  static void Drop(IAllocator* allocator) noexcept {
    if (allocator) {
      allocator->Release();
    }
  }
};

}  // namespace orv
