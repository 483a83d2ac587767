#include "host/inotify_instance.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace host {

InotifyInstance::InotifyInstance() : m_fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!m_fd) {
    throw std::system_error(errno, std::generic_category(), "inotify_init1");
  }
}

int InotifyInstance::AddWatch(const std::string& path, uint32_t mask) const noexcept {
  const int wd = inotify_add_watch(m_fd.Get(), path.c_str(), mask);
  return wd >= 0 ? wd : -errno;
}

void InotifyInstance::RemoveWatch(int wd) const noexcept {
  // EINVAL when the kernel dropped the watch already (its IN_IGNORED is still queued).
  inotify_rm_watch(m_fd.Get(), wd);
}

bool InotifyInstance::ReadAvailable(std::vector<KernelEvent>& events) const {
  // Room for many events at once; one event is at most the header and NAME_MAX + 1 bytes.
  alignas(inotify_event) char buffer[64 * 1024];
  for (;;) {
    const ssize_t length = read(m_fd.Get(), buffer, sizeof buffer);
    if (length < 0) {
      return errno == EAGAIN || errno == EINTR;
    }
    if (length == 0) {
      return false;
    }
    for (ssize_t offset = 0; offset < length;) {
      inotify_event header;
      std::memcpy(&header, buffer + offset, sizeof header);
      KernelEvent& event = events.emplace_back();
      event.wd = header.wd;
      event.mask = header.mask;
      // The name is padded with NULs up to `len`.
      if (header.len > 0) {
        event.name.assign(buffer + offset + sizeof header,
                          strnlen(buffer + offset + sizeof header, header.len));
      }
      offset += static_cast<ssize_t>(sizeof header + header.len);
    }
  }
}

}  // namespace host
