#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "host/host_object.h"
#include "host/inotify_events_provider.h"
#include "qel/inotify_events.h"
#include "support/scratch.h"

namespace tti::test {

using host::HostObject;
using host::InotifyEventsProvider;
using host::MakeObject;

// Makes `path` and its missing parents; an error throws, which fails the test.
inline void MakeDirectories(const std::string& path) { std::filesystem::create_directories(path); }
inline void WriteFile(const std::string& path, const std::string& text = "x") {
  tti::test::WriteText(path, text);
}

struct SeenEvent {
  std::string name;
  uint32_t type;
  bool operator==(const SeenEvent& other) const { return name == other.name && type == other.type; }
};

inline void PrintTo(const SeenEvent& event, std::ostream* out) {
  *out << event.name << " " << event.type;
}

// A receiver that records its events, the threads that delivered them and whether two calls
// ever overlapped; `onEvent` runs inside OnEvent after recording.
class RecordingReceiver final : public HostObject<qel::IInotifyEventsReceiver> {
 public:
  result_t OnEvent(const qel::InotifyEvent& event) override {
    if (inside.fetch_add(1) != 0) {
      overlapped = true;
    }
    {
      std::lock_guard lock(m_mutex);
      m_events.push_back(SeenEvent{std::string(event.name.view()), event.type});
      m_threads.push_back(std::this_thread::get_id());
    }
    for (int i = 0; spin && i < 200; ++i) {
      std::this_thread::yield();
    }
    if (onEvent) {
      onEvent(event);
    }
    inside.fetch_sub(1);
    return 0;
  }
  result_t GetName(orv::types::string8_t& name) override {
    name = "RecordingReceiver";
    return 0;
  }

  std::vector<SeenEvent> events() const {
    std::lock_guard lock(m_mutex);
    return m_events;
  }
  size_t count() const {
    std::lock_guard lock(m_mutex);
    return m_events.size();
  }
  // Waits (polling, up to ten seconds) until the event was seen.
  bool WaitFor(const std::string& name, uint32_t type) const {
    const SeenEvent wanted{name, type};
    return Eventually(
        [&] {
          std::lock_guard lock(m_mutex);
          return std::find(m_events.begin(), m_events.end(), wanted) != m_events.end();
        },
        std::chrono::seconds(10));
  }
  std::vector<std::thread::id> threads() const {
    std::lock_guard lock(m_mutex);
    return m_threads;
  }

  std::function<void(const qel::InotifyEvent&)> onEvent;
  std::atomic<int> inside{0};  // OnEvent calls running now
  std::atomic<bool> overlapped{false};
  std::atomic<bool> spin{false};  // stay in OnEvent a little, so that overlaps would show

 private:
  mutable std::mutex m_mutex;
  std::vector<SeenEvent> m_events;
  std::vector<std::thread::id> m_threads;
};

}  // namespace tti::test
