// The child between fork and exec: async-signal-safe calls only, no allocation, no exceptions.
#include "child_steps.h"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qel::tools::process {
namespace {

constexpr size_t kMaxEntries = 50;
constexpr size_t kEntrySize = 4096;

[[noreturn]] void ExitWithErrno() noexcept { _exit(errno); }

// The C library's setgroups, setresgid and setresuid change every thread of a process: they signal
// the other threads and wait for them. A child made by a bare clone still carries its parent's
// list of threads, none of which exist in it, so those wrappers would wait for ever. The system
// calls themselves change only the calling thread, which in the child is the whole process.
int SetGroups(size_t count, const gid_t* groups) noexcept {
  return static_cast<int>(syscall(SYS_setgroups, count, groups));
}
int SetResGid(gid_t gid) noexcept {
  return static_cast<int>(syscall(SYS_setresgid, gid, gid, gid));
}
int SetResUid(uid_t uid) noexcept {
  return static_cast<int>(syscall(SYS_setresuid, uid, uid, uid));
}

// Copies at most kMaxEntries entries, each cut to kEntrySize - 1 bytes, into stack buffers.
void CopyEntries(const char* const* source, char (*buffers)[kEntrySize], char** target) noexcept {
  size_t count = 0;
  for (; source != nullptr && source[count] != nullptr && count < kMaxEntries; ++count) {
    std::strncpy(buffers[count], source[count], kEntrySize - 1);
    buffers[count][kEntrySize - 1] = '\0';
    target[count] = buffers[count];
  }
  target[count] = nullptr;
}

void ChangeGroup(uint32_t gid) noexcept {
  if (SetResGid(gid) != 0) {
    ExitWithErrno();
  }
  gid_t real = 0;
  gid_t effective = 0;
  gid_t saved = 0;
  if (getresgid(&real, &effective, &saved) != 0) {
    ExitWithErrno();
  }
  if (real != gid) {
    _exit(132);
  }
  if (effective != gid) {
    _exit(133);
  }
  if (saved != gid) {
    _exit(134);
  }
}

void ChangeUser(uint32_t uid) noexcept {
  if (SetResUid(uid) != 0) {
    ExitWithErrno();
  }
  uid_t real = 0;
  uid_t effective = 0;
  uid_t saved = 0;
  if (getresuid(&real, &effective, &saved) != 0) {
    ExitWithErrno();
  }
  if (real != uid) {
    _exit(135);
  }
  if (effective != uid) {
    _exit(136);
  }
  if (saved != uid) {
    _exit(137);
  }
}

}  // namespace

pid_t CloneProcess() noexcept {
  return static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
}

void ApplyLimits(const ChildPlan& plan) noexcept {
  for (size_t i = 0; i < plan.limitCount; ++i) {
    rlimit limit{};
    limit.rlim_cur = plan.limits[i].soft;
    limit.rlim_max = plan.limits[i].hard;
    if (setrlimit(static_cast<__rlimit_resource_t>(plan.limits[i].resource), &limit) != 0) {
      ExitWithErrno();
    }
  }
}

void RunChildSteps(const ChildPlan& plan) noexcept {
  sigset_t none;
  sigemptyset(&none);
  pthread_sigmask(SIG_SETMASK, &none, nullptr);
  // The parent makes the same call: whichever runs first, the group exists before exec and
  // before the parent could signal it.
  if (plan.ownProcessGroup && setpgid(0, 0) != 0) {
    ExitWithErrno();
  }
  if (plan.cwd != nullptr && chdir(plan.cwd) != 0) {
    ExitWithErrno();
  }
  int stdinFd = plan.stdinFd;
  int stdoutFd = plan.stdoutFd;
  int stderrFd = plan.stderrFd;
  if (!RedirectDescriptor(0, stdinFd, O_RDONLY, &stdoutFd, &stderrFd) ||
      !RedirectDescriptor(1, stdoutFd, O_WRONLY, &stderrFd, nullptr) ||
      !RedirectDescriptor(2, stderrFd, O_WRONLY, nullptr, nullptr)) {
    ExitWithErrno();
  }
  CloseOtherDescriptors();
  if (plan.groupCount != 0 && SetGroups(plan.groupCount, plan.groups) != 0) {
    ExitWithErrno();
  }
  if (plan.gid != 0) {
    ChangeGroup(plan.gid);
  }
  if (plan.uid != 0) {
    ChangeUser(plan.uid);
  }
  // After the user change, on the stack: the heap may be in any state after the fork.
  char argBuffers[kMaxEntries][kEntrySize];
  char envBuffers[kMaxEntries][kEntrySize];
  char* argv[kMaxEntries + 1];
  char* envp[kMaxEntries + 1];
  CopyEntries(plan.args, argBuffers, argv);
  CopyEntries(plan.env, envBuffers, envp);
  execve(plan.path, argv, envp);
  ExitWithErrno();
}

}  // namespace qel::tools::process
