#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "child_steps.h"
#include "run_steps.h"

namespace qel::tools {
namespace {

bool IsRegularFile(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
}

// A daemon outlives the call: it can have no pipes, and what it writes must go to files.
bool OptionsUnfit(const ProcessOptions& options) {
  if (options.stdinData != nullptr || options.stdoutCapture != nullptr ||
      options.stderrCapture != nullptr || options.mergeStderr) {
    return true;
  }
  for (const int fd : {options.stdinFd, options.stdoutFd, options.stderrFd}) {
    if (fd >= 0 && !IsRegularFile(fd)) {
      return true;
    }
  }
  return options.inheritStdout && (!IsRegularFile(STDOUT_FILENO) || options.stdoutFd >= 0);
}

// The daemon's start: its plan and the stack of the grandchild, both mapped by the caller.
struct DaemonStart {
  const process::ChildPlan* plan;
  process::ChildStack* grandchildStack;
};

[[noreturn]] QEL_CHILD_CODE void RunGrandchild(const void* context) noexcept {
  const auto& plan = *static_cast<const process::ChildPlan*>(context);
  umask(0);
  if (chdir(plan.cwd != nullptr ? plan.cwd : "/") != 0) {
    _exit(errno);
  }
  process::RunChildSteps(plan);
}

// The middle child: a session of its own, then the daemon, then gone, leaving the daemon to init.
[[noreturn]] QEL_CHILD_CODE void StartDaemon(const void* context) noexcept {
  const auto& start = *static_cast<const DaemonStart*>(context);
  setsid();
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGCHLD, &ignore, nullptr);
  sigaction(SIGHUP, &ignore, nullptr);
  if (process::StartChild(*start.grandchildStack, RunGrandchild, start.plan) < 0) {
    _exit(errno);
  }
  _exit(0);
}

}  // namespace

result_t RunProcessDetached(ProcessOptions& options) {
  std::string path;
  process::ChildPlan plan;
  if (const result_t prepared = process::PrepareChild(options, OptionsUnfit, path, plan);
      ORV_FAILED(prepared)) {
    return prepared;
  }

  process::ChildStack stack;
  process::ChildStack grandchildStack;
  const DaemonStart start{&plan, &grandchildStack};
  const pid_t pid =
      stack.Map() && grandchildStack.Map() ? process::StartChild(stack, StartDaemon, &start) : -1;
  if (pid < 0) {
    const int error = errno;
    return process::StoreFailure(options, orv::ResultFromErrno(static_cast<uint32_t>(error)),
                                 ChildStage::kFork, error);
  }
  process::ChildGuard child(pid);
  return process::WaitForChild(child, std::nullopt, options);
}

}  // namespace qel::tools
