#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "qel/tools/unique_fd.h"

namespace host {

// One event as read from the kernel: the watch, its bits and the entry name (empty for an event
// on the watched object itself). A watch of -1 carries IN_Q_OVERFLOW.
struct KernelEvent {
  int wd = -1;
  uint32_t mask = 0;
  std::string name;
};

// Owns one inotify descriptor (non-blocking, close-on-exec from birth). Not thread-safe: the
// provider calls the watch operations under its lock and the reader thread only reads.
class InotifyInstance final {
 public:
  // Throws std::system_error when the kernel gives no instance (descriptor or instance limits).
  InotifyInstance();
  InotifyInstance(const InotifyInstance&) = delete;
  InotifyInstance& operator=(const InotifyInstance&) = delete;

  int Fd() const noexcept { return m_fd.Get(); }
  // inotify_add_watch: the watch descriptor, or -errno.
  int AddWatch(const std::string& path, uint32_t mask) const noexcept;
  void RemoveWatch(int wd) const noexcept;
  // Appends every event that can be read now; false when the descriptor failed for good.
  bool ReadAvailable(std::vector<KernelEvent>& events) const;

 private:
  qel::tools::UniqueFd m_fd;
};

}  // namespace host
