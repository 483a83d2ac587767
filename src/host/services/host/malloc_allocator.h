#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host/host_object.h"
#include "orv/object.h"

namespace host {

// orv::IAllocator over malloc/free, with counters and a failure switch for tests.
class MallocAllocator final : public HostObject<orv::IAllocator> {
 public:
  MallocAllocator() = default;

  // orv::IAllocator
  void* Alloc(size_t size) override;
  void* Realloc(void* pointer, size_t size) override;
  void Free(void* pointer) override;

  // Every Alloc from now on returns null (until called with false).
  void FailAll(bool fail) noexcept { m_failAll = fail; }
  // The next `count` Allocs succeed, then every later one fails until FailAll(false) / reset.
  void FailAfter(uint64_t count) noexcept;
  void ResetFailures() noexcept;

  uint64_t allocations() const noexcept { return m_allocations; }
  uint64_t frees() const noexcept { return m_frees; }
  uint64_t failures() const noexcept { return m_failures; }
  // Allocations not yet freed.
  int64_t outstanding() const noexcept { return static_cast<int64_t>(m_allocations - m_frees); }

 private:
  std::atomic<bool> m_failAll{false};
  std::atomic<int64_t> m_allowedBeforeFailure{-1};  // -1: no limit
  std::atomic<uint64_t> m_allocations{0};
  std::atomic<uint64_t> m_frees{0};
  std::atomic<uint64_t> m_failures{0};
};

}  // namespace host
