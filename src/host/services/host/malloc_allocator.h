#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/host_object.h"
#include "orv/object.h"

namespace host {

// orv::IAllocator over malloc/free, with counters and failure switches for tests. Any thread; the
// counters and switches are atomics, there is no lock.
class MallocAllocator final : public HostObject<orv::IAllocator> {
 public:
  MallocAllocator() = default;

  // orv::IAllocator
  void* Alloc(size_t size) override;
  void* Realloc(void* pointer, size_t size) override;
  void Free(void* pointer) override;

  // Every Alloc from now on returns null; false ends this and a FailAfter limit.
  void FailAll(bool fail) noexcept {
    if (fail) {
      m_failAll = true;
    } else {
      ResetFailures();
    }
  }
  // The next `count` Allocs succeed, then every later one fails until FailAll(false) / reset.
  void FailAfter(uint64_t count) noexcept;
  void ResetFailures() noexcept;

  uint64_t allocations() const noexcept { return m_allocations; }
  uint64_t frees() const noexcept { return m_frees; }
  uint64_t failures() const noexcept { return m_failures; }
  // Allocations not yet freed.
  int64_t outstanding() const noexcept { return static_cast<int64_t>(m_allocations - m_frees); }

 private:
  // Whether one more allocation may be made under the switches; counts a refusal.
  bool Permit() noexcept;

  std::atomic<bool> m_failAll{false};
  std::atomic<int64_t> m_allowedBeforeFailure{-1};  // -1: no limit
  std::atomic<uint64_t> m_allocations{0};
  std::atomic<uint64_t> m_frees{0};
  std::atomic<uint64_t> m_failures{0};
};

}  // namespace host
