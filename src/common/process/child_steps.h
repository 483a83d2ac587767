#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

#include "qel/tools/process_runner.h"

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

// The raw clone with SIGCHLD only: no pthread_atfork handlers run in either process.
pid_t CloneProcess() noexcept;

// Applies the resource limits; _exits with errno on failure.
void ApplyLimits(const ChildPlan& plan) noexcept;

// Signal mask, working directory, descriptors 0..2, closing the rest, user change, exec.
// Never returns: every failure is _exit with errno (132..137 for a user change that did not hold).
[[noreturn]] void RunChildSteps(const ChildPlan& plan) noexcept;

// Puts `source` (or /dev/null opened with `flags` when negative) at `target`, first moving target
// away when `otherA` or `otherB` still need it. False with errno on failure.
bool RedirectDescriptor(int target, int source, int flags, int* otherA, int* otherB) noexcept;

}  // namespace qel::tools::process
