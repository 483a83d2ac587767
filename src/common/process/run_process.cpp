#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "child_steps.h"
#include "run_steps.h"

namespace qel::tools {
namespace {

using process::ChildPlan;
using process::Clock;
using process::Deadline;

bool OptionsContradict(const ProcessOptions& options) {
  const int outputs = (options.stdoutCapture != nullptr) + (options.stdoutFd >= 0) +
                      static_cast<int>(options.inheritStdout);
  const int errors = (options.stderrCapture != nullptr) + (options.stderrFd >= 0) +
                     static_cast<int>(options.mergeStderr);
  return outputs > 1 || errors > 1 || (options.stdinData != nullptr && options.stdinFd >= 0) ||
         (options.stdinData != nullptr && options.stdinData->empty()) ||
         (options.stdoutCapture != nullptr && options.stdoutLimit == 0) ||
         (options.stderrCapture != nullptr && options.stderrLimit == 0) ||
         (options.mergeStderr && options.stdoutCapture == nullptr);
}

result_t ErrnoFailure(ProcessOptions& options, ChildStage stage) {
  const int error = errno;
  return process::StoreFailure(options, orv::ResultFromErrno(static_cast<uint32_t>(error)), stage,
                               error);
}

// Pipes for the streams the caller feeds or captures; their child ends go into the plan.
result_t OpenPipes(ProcessOptions& options, process::PipeSlots& pipes, ChildPlan& plan) {
  if (options.stdinData != nullptr) {
    if (!process::MakePipe(pipes.stdinChild, pipes.stdinParent)) {
      return ErrnoFailure(options, ChildStage::kStdinPipe);
    }
    plan.stdinFd = pipes.stdinChild.Get();
  }
  if (options.stdoutCapture != nullptr) {
    if (!process::MakePipe(pipes.stdoutParent, pipes.stdoutChild)) {
      return ErrnoFailure(options, ChildStage::kStdoutPipe);
    }
    plan.stdoutFd = pipes.stdoutChild.Get();
  }
  if (options.stderrCapture != nullptr) {
    if (!process::MakePipe(pipes.stderrParent, pipes.stderrChild)) {
      return ErrnoFailure(options, ChildStage::kStderrPipe);
    }
    plan.stderrFd = pipes.stderrChild.Get();
  }
  if (options.mergeStderr) {
    plan.stderrFd = plan.stdoutFd;
  }
  return orv::errors::kOk;
}

[[noreturn]] QEL_CHILD_CODE void RunChild(const void* context) noexcept {
  const auto& plan = *static_cast<const ChildPlan*>(context);
  process::ApplyLimits(plan);
  process::RunChildSteps(plan);
}

// After the start: feeds and drains the pipes, then waits for the child; the pump's failure wins.
result_t PumpAndWait(ProcessOptions& options, process::PipeSlots& pipes, pid_t pid,
                     const Deadline& deadline) {
  process::ChildGuard child(pid, options.ownProcessGroup);
  if (options.ownProcessGroup) {
    setpgid(pid, pid);  // EACCES once the child has exec'd: it made the group itself by then
  }
  pipes.CloseChildEnds();
  result_t pumped = orv::errors::kOk;
  if (pipes.AnyParentEnd()) {
    for (const UniqueFd* end : {&pipes.stdinParent, &pipes.stdoutParent, &pipes.stderrParent}) {
      if (*end) {
        fcntl(end->Get(), F_SETFL, fcntl(end->Get(), F_GETFL) | O_NONBLOCK);
      }
    }
    pumped = process::Pump(pipes, options, deadline);
  }
  const result_t waited = process::WaitForChild(child, deadline, options);
  if (ORV_FAILED(pumped)) {
    options.result = pumped;
    return pumped;
  }
  return waited;
}

}  // namespace

namespace process {

void ResetOutputs(ProcessOptions& options) {
  options.exitCode.reset();
  options.signal.reset();
  options.result = orv::errors::kOk;
  options.stage = ChildStage::kNone;
  options.errorValue = 0;
  options.errorCategory = &std::system_category();
}

result_t PrepareChild(ProcessOptions& options, bool (*unfit)(const ProcessOptions&),
                      std::string& path, ChildPlan& plan) {
  ResetOutputs(options);
  if (unfit(options)) {
    return StoreFailure(options, orv::errors::kInvalidArgument, ChildStage::kOptionsRejected, 0);
  }
  path = ResolveExecutable(options.path);
  if (path.empty()) {
    return StoreFailure(options, orv::errors::kNotFound, ChildStage::kProgramNotFound, 0);
  }
  plan.path = path.c_str();
  plan.args = options.args;
  plan.env = options.env;
  plan.cwd = options.cwd;
  plan.stdinFd = options.stdinFd;
  plan.stdoutFd = options.inheritStdout ? STDOUT_FILENO : options.stdoutFd;
  plan.stderrFd = options.stderrFd;
  plan.uid = options.uid;
  plan.gid = options.gid;
  plan.groups = options.groups.data();
  plan.groupCount = options.groups.size();
  return orv::errors::kOk;
}

result_t StoreFailure(ProcessOptions& options, result_t result, ChildStage stage, int error) {
  options.result = result;
  options.stage = stage;
  options.errorValue = error;
  if (error != 0) {
    options.errorCategory = &std::generic_category();
  }
  return result;
}

bool MakePipe(UniqueFd& readEnd, UniqueFd& writeEnd) noexcept {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return false;
  }
  readEnd.Reset(ends[0]);
  writeEnd.Reset(ends[1]);
  return true;
}

void PipeSlots::CloseChildEnds() noexcept {
  stdinChild.Reset();
  stdoutChild.Reset();
  stderrChild.Reset();
}

void PipeSlots::CloseParentEnds() noexcept {
  stdinParent.Reset();
  stdoutParent.Reset();
  stderrParent.Reset();
}

bool PipeSlots::AnyParentEnd() const noexcept {
  return stdinParent || stdoutParent || stderrParent;
}

}  // namespace process

result_t RunProcess(ProcessOptions& options) {
  std::string path;
  ChildPlan plan;
  if (const result_t prepared = process::PrepareChild(options, OptionsContradict, path, plan);
      ORV_FAILED(prepared)) {
    return prepared;
  }
  plan.limits = options.limits.data();
  plan.limitCount = options.limits.size();
  plan.ownProcessGroup = options.ownProcessGroup;
  process::PipeSlots pipes;
  if (const result_t opened = OpenPipes(options, pipes, plan); ORV_FAILED(opened)) {
    return opened;
  }
  Deadline deadline;
  if (options.timeoutMs > 0) {
    deadline = Clock::now() + std::chrono::milliseconds(options.timeoutMs);
  }

  process::ChildStack stack;
  if (!stack.Map()) {
    return ErrnoFailure(options, ChildStage::kFork);
  }
  const pid_t pid = process::StartChild(stack, RunChild, &plan);
  if (pid < 0) {
    return ErrnoFailure(options, ChildStage::kFork);
  }
  return PumpAndWait(options, pipes, pid, deadline);
}

}  // namespace qel::tools
