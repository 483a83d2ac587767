#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <stdexcept>

#include "run_steps.h"

namespace qel::tools::process {
namespace {

constexpr size_t kReadBlock = 4096;

// Writing to a pipe whose reader has gone raises SIGPIPE, which would end the whole service when
// it does not ignore the signal. Blocked for the pump's thread; one that arose here is taken away.
class SigpipeBlock final {
 public:
  SigpipeBlock() noexcept {
    sigemptyset(&m_pipe);
    sigaddset(&m_pipe, SIGPIPE);
    sigset_t pending;
    sigpending(&pending);
    m_wasPending = sigismember(&pending, SIGPIPE) == 1;
    pthread_sigmask(SIG_BLOCK, &m_pipe, &m_previous);
  }
  ~SigpipeBlock() {
    sigset_t pending;
    sigpending(&pending);
    if (!m_wasPending && sigismember(&pending, SIGPIPE) == 1) {
      const timespec none{};
      while (sigtimedwait(&m_pipe, nullptr, &none) < 0 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
  }
  SigpipeBlock(const SigpipeBlock&) = delete;
  SigpipeBlock& operator=(const SigpipeBlock&) = delete;

 private:
  sigset_t m_pipe;
  sigset_t m_previous;
  bool m_wasPending = false;
};

void FeedInput(UniqueFd& end, const const_blob_range_t& data, size_t& written) {
  for (;;) {
    const ssize_t count = write(end.Get(), data.begin + written, data.size() - written);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0 && errno == EAGAIN) {
      return;  // the next pass
    }
    if (count > 0) {
      written += static_cast<size_t>(count);
      if (written < data.size()) {
        return;
      }
    }
    end.Reset();  // all written, or the child does not take more
    return;
  }
}

// Throws std::bad_alloc or std::length_error when the capture cannot grow.
void Collect(UniqueFd& end, std::string& capture, uint64_t limit) {
  char block[kReadBlock];
  ssize_t count = 0;
  do {
    count = read(end.Get(), block, sizeof(block));
  } while (count < 0 && errno == EINTR);
  if (count < 0 && errno == EAGAIN) {
    return;
  }
  if (count <= 0) {
    end.Reset();
    return;
  }
  const uint64_t room = limit - capture.size();
  const size_t taken = static_cast<uint64_t>(count) < room ? static_cast<size_t>(count) : room;
  if (taken > capture.max_size() - capture.size()) {
    throw std::length_error("capture at its maximum");
  }
  capture.append(block, taken);
  if (capture.size() >= limit) {
    end.Reset();  // the child's next write fails
  }
}

}  // namespace

result_t Pump(PipeSlots& pipes, const ProcessOptions& options, const Deadline& deadline) {
  const SigpipeBlock sigpipeBlock;
  size_t written = 0;
  while (pipes.AnyParentEnd()) {
    int timeoutMs = -1;
    if (deadline) {
      const auto now = Clock::now();
      if (now >= *deadline) {
        pipes.CloseParentEnds();
        return kOperationTimeout;
      }
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - now).count();
      timeoutMs = static_cast<int>(std::min<int64_t>(left, std::numeric_limits<int>::max()));
    }
    UniqueFd* ends[3] = {&pipes.stdinParent, &pipes.stdoutParent, &pipes.stderrParent};
    pollfd fds[3];
    for (int i = 0; i < 3; ++i) {
      fds[i] = pollfd{ends[i]->Get(), static_cast<short>(i == 0 ? POLLOUT : POLLIN), 0};
    }
    int ready = 0;
    do {
      ready = poll(fds, 3, timeoutMs);  // a closed end is -1, which poll passes over
    } while (ready < 0 && errno == EINTR);
    if (ready < 0) {
      const int error = errno;
      pipes.CloseParentEnds();
      return orv::ResultFromErrno(static_cast<uint32_t>(error));
    }
    if (fds[0].revents & POLLOUT) {
      FeedInput(pipes.stdinParent, *options.stdinData, written);
    } else if (fds[0].revents & (POLLERR | POLLNVAL)) {
      pipes.stdinParent.Reset();
    }
    std::string* captures[3] = {nullptr, options.stdoutCapture, options.stderrCapture};
    const uint64_t limits[3] = {0, options.stdoutLimit, options.stderrLimit};
    for (int i = 1; i < 3; ++i) {
      if (fds[i].revents & POLLIN) {
        try {
          Collect(*ends[i], *captures[i], limits[i]);
        } catch (const std::bad_alloc&) {
          pipes.CloseParentEnds();
          return orv::errors::kOutOfMemory;
        } catch (const std::length_error&) {
          pipes.CloseParentEnds();
          return orv::errors::kOutOfMemory;
        }
      } else if (fds[i].revents & (POLLERR | POLLHUP | POLLNVAL)) {
        ends[i]->Reset();
      }
    }
  }
  return orv::errors::kOk;
}

}  // namespace qel::tools::process
