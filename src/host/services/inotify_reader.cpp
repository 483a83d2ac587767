#include "host/inotify_reader.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>
#include <utility>

namespace host {

void InotifyReader::Start(const InotifyInstance& instance, Handler handler) {
  m_wake.Reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!m_wake) {
    throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  m_thread =
      std::thread([this, &instance, handler = std::move(handler)] { Run(instance, handler); });
}

void InotifyReader::Stop() {
  if (!m_thread.joinable()) {
    return;
  }
  const uint64_t one = 1;
  // A full counter (it cannot be) would still leave the descriptor readable.
  [[maybe_unused]] const ssize_t written = write(m_wake.Get(), &one, sizeof one);
  m_thread.join();
  m_wake.Reset();
}

void InotifyReader::Run(const InotifyInstance& instance, const Handler& handler) const {
  std::vector<KernelEvent> events;
  for (;;) {
    pollfd descriptors[2] = {{m_wake.Get(), POLLIN, 0}, {instance.Fd(), POLLIN, 0}};
    if (poll(descriptors, 2, -1) < 0) {
      if (errno == EINTR) {
        continue;
      }
      return;
    }
    if (descriptors[0].revents != 0) {
      return;
    }
    if (descriptors[1].revents == 0) {
      continue;
    }
    events.clear();
    const bool alive = instance.ReadAvailable(events);
    if (!events.empty()) {
      handler(events);
    }
    if (!alive) {
      return;
    }
  }
}

}  // namespace host
