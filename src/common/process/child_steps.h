#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "qel/tools/process_runner.h"

// Marks code that runs in a child on its stack: the address checker knows only the thread's own
// stack and would warn, once and on the child's error stream, at the first call that never returns.
#define QEL_CHILD_CODE __attribute__((no_sanitize_address))

namespace qel::tools::process {

// Everything the child needs, prepared before the fork: after it nothing may allocate.
struct ChildPlan {
  const char* path = nullptr;  // resolved
  const char* const* args = nullptr;
  const char* const* env = nullptr;
  const char* cwd = nullptr;
  int stdinFd = -1;  // -1: /dev/null
  int stdoutFd = -1;
  int stderrFd = -1;
  uint32_t uid = 0;
  uint32_t gid = 0;
  const uint32_t* groups = nullptr;
  size_t groupCount = 0;
  const ResourceLimit* limits = nullptr;
  size_t limitCount = 0;
  bool ownProcessGroup = false;  // setpgid(0, 0) first
};

// The stack a child runs on until exec: mapped by the parent before the start, with an inaccessible
// page below it, unmapped when the start has returned. Large enough for the argument and
// environment copies the child steps keep on it.
class ChildStack final {
 public:
  static constexpr size_t kStackSize = size_t{1} << 20;

  ChildStack() noexcept = default;
  ChildStack(const ChildStack&) = delete;
  ChildStack& operator=(const ChildStack&) = delete;
  ~ChildStack();

  // False with errno when the mapping failed.
  bool Map() noexcept;
  void* Top() const noexcept;

 private:
  void* m_base = nullptr;
};

// What a child runs on its own stack, given the start's context: never returns.
using ChildEntry = void (*)(const void* context);

// Starts a child running `entry(context)` on `stack`. The child shares this process's memory until
// it execs or exits and the calling thread is suspended until then, so no page table is copied and
// no page of ours becomes copy-on-write. All signals are blocked around the start; before `entry`,
// the child sets every handled signal back to its default (a handler of ours must never run in
// it). No pthread_atfork handlers run. The child's id, or -1 with errno.
pid_t StartChild(ChildStack& stack, ChildEntry entry, const void* context) noexcept;

// Applies the resource limits; _exits with errno on failure.
QEL_CHILD_CODE void ApplyLimits(const ChildPlan& plan) noexcept;

// Signal mask, working directory, descriptors 0..2, closing the rest, user change, exec.
// Never returns: every failure is _exit with errno (132..137 for a user change that did not hold).
[[noreturn]] QEL_CHILD_CODE void RunChildSteps(const ChildPlan& plan) noexcept;

// Puts `source` (or /dev/null opened with `flags` when negative) at `target`, first moving target
// away when `otherA` or `otherB` still need it. False with errno on failure.
bool RedirectDescriptor(int target, int source, int flags, int* otherA, int* otherB) noexcept;

}  // namespace qel::tools::process
