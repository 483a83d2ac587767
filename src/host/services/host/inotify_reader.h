#pragma once

#include <functional>
#include <thread>
#include <vector>

#include "host/inotify_instance.h"
#include "qel/tools/unique_fd.h"

namespace host {

// The provider thread: waits on the inotify descriptor and on an eventfd that asks it to stop,
// reads every event available and hands them to the handler as one batch, on this thread. Start
// and Stop are called by the owner (not from the handler); the destructor stops.
class InotifyReader final {
 public:
  using Handler = std::function<void(const std::vector<KernelEvent>&)>;

  InotifyReader() = default;
  InotifyReader(const InotifyReader&) = delete;
  InotifyReader& operator=(const InotifyReader&) = delete;
  ~InotifyReader() { Stop(); }

  // Starts the thread over `instance`, which must outlive it; throws std::system_error when
  // no eventfd or thread can be had.
  void Start(const InotifyInstance& instance, Handler handler);
  // Wakes the thread and joins it; nothing when it does not run.
  void Stop();
  bool running() const noexcept { return m_thread.joinable(); }
  std::thread::id id() const noexcept { return m_thread.get_id(); }

 private:
  void Run(const InotifyInstance& instance, const Handler& handler) const;

  qel::tools::UniqueFd m_wake;
  std::thread m_thread;
};

}  // namespace host
