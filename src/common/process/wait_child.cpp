#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "run_steps.h"

namespace qel::tools::process {
namespace {

constexpr useconds_t kFirstPause = 5000;
constexpr useconds_t kGracePause = 1000;
constexpr useconds_t kKillPause = 500;
constexpr std::chrono::seconds kKillWait{10};

enum class Poll { kEnded, kTimedOut, kFailed };

// Sleeps until the child ends or the deadline passes: on the child's pidfd, which wakes the moment
// it ends, or in short pauses where the kernel has none.
void Sleep(const UniqueFd& pidfd, const Deadline& deadline, useconds_t pause) {
  if (!pidfd) {
    usleep(pause);
    return;
  }
  int timeout = -1;
  if (deadline) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count();
    timeout = static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
  }
  pollfd ready{pidfd.Get(), POLLIN, 0};
  poll(&ready, 1, timeout);  // an interruption or a failure only means one more look
}

// Never blocks in waitpid, so a time limit needs no signal and no thread.
Poll PollChild(pid_t pid, const UniqueFd& pidfd, const Deadline& deadline, useconds_t pause,
               int& status, int& error) {
  for (;;) {
    const pid_t ended = waitpid(pid, &status, WNOHANG);
    if (ended == pid) {
      return Poll::kEnded;
    }
    if (ended < 0) {
      if (errno == EINTR) {
        continue;
      }
      error = errno;
      return Poll::kFailed;
    }
    if (deadline && Clock::now() >= *deadline) {
      return Poll::kTimedOut;
    }
    Sleep(pidfd, deadline, pause);
  }
}

void DecodeStatus(int status, ProcessOptions& options) {
  if (WIFEXITED(status)) {
    options.exitCode = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    options.signal = WTERMSIG(status);
  }
}

}  // namespace

ChildGuard::~ChildGuard() {
  if (m_pid <= 0) {
    return;
  }
  if (kill(target(), SIGKILL) != 0 && errno != ESRCH) {
    return;  // waiting now could block for ever
  }
  while (waitpid(m_pid, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void ChildGuard::Release() noexcept {
  // The child is reaped; what is left of its group was its own children. The group's id stays
  // taken while any of them lives, so the signal cannot reach a stranger.
  if (m_group && m_pid > 0) {
    kill(-m_pid, SIGKILL);
  }
  m_pid = -1;
}

result_t WaitForChild(ChildGuard& child, const Deadline& deadline, ProcessOptions& options) {
  const pid_t pid = child.pid();
  int status = 0;
  int error = 0;
  // Not reaped yet, so the id is still this child's. (The C library's declaration of pidfd_open
  // lacks C linkage in C++ on some releases, hence the bare call.)
  const UniqueFd pidfd(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
  Poll outcome = PollChild(pid, pidfd, deadline, kFirstPause, status, error);
  if (outcome == Poll::kTimedOut) {
    if (kill(child.target(), SIGTERM) != 0 && errno != ESRCH) {
      return StoreFailure(options, orv::ResultFromErrno(errno), ChildStage::kSigterm, errno);
    }
    outcome = PollChild(pid, pidfd, Clock::now() + std::chrono::milliseconds(options.graceMs),
                        kGracePause, status, error);
    if (outcome == Poll::kTimedOut) {
      if (kill(child.target(), SIGKILL) != 0 && errno != ESRCH) {
        return StoreFailure(options, orv::ResultFromErrno(errno), ChildStage::kSigkill, errno);
      }
      outcome = PollChild(pid, pidfd, Clock::now() + kKillWait, kKillPause, status, error);
      if (outcome == Poll::kTimedOut) {
        // The guard keeps trying to reap it.
        options.result = kOperationTimeout;
        options.stage = ChildStage::kAliveAfterSigkill;
        return kOperationTimeout;
      }
    }
    if (outcome == Poll::kEnded) {
      child.Release();
      DecodeStatus(status, options);
      options.result = kOperationTimeout;
      return kOperationTimeout;
    }
  }
  if (outcome == Poll::kFailed) {
    // Somebody else reaped it (SIGCHLD ignored, say): the pid is no longer ours to kill.
    child.Abandon();
    return StoreFailure(options, orv::ResultFromErrno(static_cast<uint32_t>(error)),
                        ChildStage::kWait, error);
  }
  child.Release();
  DecodeStatus(status, options);
  options.result =
      options.exitCode && *options.exitCode == 0 ? orv::errors::kOk : orv::errors::kUnspecified;
  return options.result;
}

}  // namespace qel::tools::process
