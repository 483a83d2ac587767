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

[[noreturn]] void StartDaemon(const process::ChildPlan& plan) noexcept {
  setsid();
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGCHLD, &ignore, nullptr);
  sigaction(SIGHUP, &ignore, nullptr);
  const pid_t grandchild = process::CloneProcess();
  if (grandchild < 0) {
    _exit(errno);
  }
  if (grandchild > 0) {
    _exit(0);
  }
  umask(0);
  if (chdir(plan.cwd != nullptr ? plan.cwd : "/") != 0) {
    _exit(errno);
  }
  process::RunChildSteps(plan);
}

}  // namespace

result_t RunProcessDetached(ProcessOptions& options) {
  std::string path;
  process::ChildPlan plan;
  if (const result_t prepared = process::PrepareChild(options, OptionsUnfit, path, plan);
      ORV_FAILED(prepared)) {
    return prepared;
  }

  const pid_t pid = process::CloneProcess();
  if (pid < 0) {
    const int error = errno;
    return process::StoreFailure(options, orv::ResultFromErrno(static_cast<uint32_t>(error)),
                                 ChildStage::kFork, error);
  }
  if (pid == 0) {
    StartDaemon(plan);
  }
  process::ChildGuard child(pid);
  return process::WaitForChild(child, std::nullopt, options);
}

}  // namespace qel::tools
