#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "run_steps.h"

namespace qel::tools::process {
namespace {

constexpr useconds_t kFirstPause = 5000;
constexpr useconds_t kGracePause = 1000;
constexpr useconds_t kKillPause = 500;
constexpr std::chrono::seconds kKillWait{10};

enum class Poll { kEnded, kTimedOut, kFailed };

// Never blocks in waitpid, so a time limit needs no signal and no thread.
Poll PollChild(pid_t pid, const Deadline& deadline, useconds_t pause, int& status, int& error) {
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
    usleep(pause);
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
  Poll outcome = PollChild(pid, deadline, kFirstPause, status, error);
  if (outcome == Poll::kTimedOut) {
    if (kill(child.target(), SIGTERM) != 0 && errno != ESRCH) {
      return StoreFailure(options, orv::ResultFromErrno(errno), ChildStage::kSigterm, errno);
    }
    outcome = PollChild(pid, Clock::now() + std::chrono::milliseconds(options.graceMs), kGracePause,
                        status, error);
    if (outcome == Poll::kTimedOut) {
      if (kill(child.target(), SIGKILL) != 0 && errno != ESRCH) {
        return StoreFailure(options, orv::ResultFromErrno(errno), ChildStage::kSigkill, errno);
      }
      outcome = PollChild(pid, Clock::now() + kKillWait, kKillPause, status, error);
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
