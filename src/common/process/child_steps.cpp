// The child between its start and exec: async-signal-safe calls only, no allocation, no exceptions.
#include "child_steps.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#if defined(__SANITIZE_THREAD__)
#define QEL_CHILD_COPIES_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QEL_CHILD_COPIES_MEMORY 1
#endif
#endif

namespace qel::tools::process {
namespace {

constexpr size_t kMaxEntries = 50;
constexpr size_t kEntrySize = 4096;

[[noreturn]] QEL_CHILD_CODE void ExitWithErrno() noexcept { _exit(errno); }

size_t GuardSize() noexcept { return static_cast<size_t>(sysconf(_SC_PAGESIZE)); }

struct ChildStart {
  ChildEntry entry;
  const void* context;
};

// Every handler of ours goes back to the default: the child runs in our memory, where a handler
// would touch the parent's data. Ignored signals stay ignored, as across exec. The signals the C
// library keeps for itself are refused by sigaction and only ever sent to our own threads.
void ResetCaughtSignals() noexcept {
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction current {};
    if (sigaction(signal, nullptr, &current) != 0 || current.sa_handler == SIG_IGN ||
        current.sa_handler == SIG_DFL) {
      continue;
    }
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
  }
}

// Runs on the child's own stack with every signal blocked; never returns into the parent's frames.
QEL_CHILD_CODE int RunChild(void* raw) noexcept {
  const auto* start = static_cast<const ChildStart*>(raw);
  ResetCaughtSignals();
  start->entry(start->context);
  _exit(127);  // entries do not return
}

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

QEL_CHILD_CODE void ChangeGroup(uint32_t gid) noexcept {
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

QEL_CHILD_CODE void ChangeUser(uint32_t uid) noexcept {
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

ChildStack::~ChildStack() {
  if (m_base != nullptr) {
    munmap(m_base, GuardSize() + kStackSize);
  }
}

bool ChildStack::Map() noexcept {
  void* base = mmap(nullptr, GuardSize() + kStackSize, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK | MAP_NORESERVE, -1, 0);
  if (base == MAP_FAILED) {
    return false;
  }
  m_base = base;
  return mprotect(base, GuardSize(), PROT_NONE) == 0;
}

void* ChildStack::Top() const noexcept {
  return static_cast<char*>(m_base) + GuardSize() + kStackSize;
}

pid_t StartChild(ChildStack& stack, ChildEntry entry, const void* context) noexcept {
  const ChildStart start{entry, context};
  sigset_t all;
  sigfillset(&all);
  sigset_t previous;
  pthread_sigmask(SIG_SETMASK, &all, &previous);
#ifdef QEL_CHILD_COPIES_MEMORY
  // The race detector's own clone wrapper resets its state in every child as after a fork, which
  // in a child sharing our memory would reset ours: under it the child is a copy, as a fork makes.
  (void)stack;
  const auto pid =
      static_cast<pid_t>(syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, nullptr));
  if (pid == 0) {
    RunChild(const_cast<ChildStart*>(&start));
  }
#else
  const pid_t pid = clone(RunChild, stack.Top(), CLONE_VM | CLONE_VFORK | SIGCHLD,
                          const_cast<ChildStart*>(&start));
#endif
  const int error = errno;
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  errno = error;
  return pid;
}

QEL_CHILD_CODE void ApplyLimits(const ChildPlan& plan) noexcept {
  for (size_t i = 0; i < plan.limitCount; ++i) {
    rlimit limit{};
    limit.rlim_cur = plan.limits[i].soft;
    limit.rlim_max = plan.limits[i].hard;
    if (setrlimit(static_cast<__rlimit_resource_t>(plan.limits[i].resource), &limit) != 0) {
      ExitWithErrno();
    }
  }
}

QEL_CHILD_CODE void RunChildSteps(const ChildPlan& plan) noexcept {
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
  // After the user change, on the child's stack: the heap is the parent's and may be in any state.
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
