#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

#include "child_steps.h"

#include "qel/tools/process_runner.h"
#include "qel/tools/unique_fd.h"

namespace qel::tools::process {

using Clock = std::chrono::steady_clock;
using Deadline = std::optional<Clock::time_point>;

// Kills and reaps the child unless it was reaped already (Release). With `group`, the child leads
// its own process group, which is what gets killed, on every way out.
class ChildGuard final {
 public:
  explicit ChildGuard(pid_t pid, bool group = false) noexcept : m_pid(pid), m_group(group) {}
  ChildGuard(const ChildGuard&) = delete;
  ChildGuard& operator=(const ChildGuard&) = delete;
  ~ChildGuard();

  pid_t pid() const noexcept { return m_pid; }
  // What signals go to: the child, or its whole group.
  pid_t target() const noexcept { return m_group ? -m_pid : m_pid; }
  // The child was reaped here: nothing to kill but what is left of its group.
  void Release() noexcept;
  // The child was reaped elsewhere: its id may already be another process's.
  void Abandon() noexcept { m_pid = -1; }

 private:
  pid_t m_pid;
  bool m_group;
};

// The six pipe ends of a run; all closed on every way out.
struct PipeSlots {
  UniqueFd stdinChild;
  UniqueFd stdinParent;
  UniqueFd stdoutParent;
  UniqueFd stdoutChild;
  UniqueFd stderrParent;
  UniqueFd stderrChild;

  void CloseChildEnds() noexcept;
  void CloseParentEnds() noexcept;
  bool AnyParentEnd() const noexcept;
};

// Makes a pipe with both ends close-on-exec. False with errno on failure.
bool MakePipe(UniqueFd& readEnd, UniqueFd& writeEnd) noexcept;

// Stores a failure in the outputs and returns `result`.
result_t StoreFailure(ProcessOptions& options, result_t result, ChildStage stage, int error);

// Clears the outputs of a former run.
void ResetOutputs(ProcessOptions& options);

// The steps both runners take before the fork: the outputs cleared, the options checked with
// `unfit` (kOptionsRejected), the program resolved into `path` (kProgramNotFound) and the plan
// filled from the options, `path` included; limits and pipes are the caller's. 0 or the failure
// stored in the outputs.
result_t PrepareChild(ProcessOptions& options, bool (*unfit)(const ProcessOptions&),
                      std::string& path, ChildPlan& plan);

// Feeds stdinData and collects the captures until every parent end is closed. 0, or 0x80000221
// when the deadline passed, or 0x80000041 when a capture could not grow; parent ends are then
// closed.
result_t Pump(PipeSlots& pipes, const ProcessOptions& options, const Deadline& deadline);

// Waits for the child, with the SIGTERM and SIGKILL ladder after the deadline, and fills in the
// outputs.
result_t WaitForChild(ChildGuard& child, const Deadline& deadline, ProcessOptions& options);

}  // namespace qel::tools::process
