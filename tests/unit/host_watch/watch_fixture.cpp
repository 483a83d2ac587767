#include "watch_fixture.h"

#include <algorithm>

namespace host::test {

result_t RecordingReceiver::OnEvent(const qel::InotifyEvent& event) {
  if (inside.fetch_add(1) != 0) {
    overlapped = true;
  }
  {
    std::lock_guard lock(m_mutex);
    m_events.push_back(SeenEvent{std::string(event.name.view()), event.type});
    m_threads.push_back(std::this_thread::get_id());
  }
  if (spin) {
    for (int i = 0; i < 200; ++i) {
      std::this_thread::yield();
    }
  }
  if (onEvent) {
    onEvent(event);
  }
  inside.fetch_sub(1);
  return 0;
}

result_t RecordingReceiver::GetName(orv::types::string8_t& name) {
  name = "RecordingReceiver";
  return 0;
}

std::vector<SeenEvent> RecordingReceiver::events() const {
  std::lock_guard lock(m_mutex);
  return m_events;
}

size_t RecordingReceiver::count() const {
  std::lock_guard lock(m_mutex);
  return m_events.size();
}

bool RecordingReceiver::Saw(const std::string& name, uint32_t type) const {
  std::lock_guard lock(m_mutex);
  return std::find(m_events.begin(), m_events.end(), SeenEvent{name, type}) != m_events.end();
}

bool RecordingReceiver::WaitFor(const std::string& name, uint32_t type) const {
  return Eventually([&] { return Saw(name, type); }, std::chrono::seconds(10));
}

std::vector<std::thread::id> RecordingReceiver::threads() const {
  std::lock_guard lock(m_mutex);
  return m_threads;
}

}  // namespace host::test
