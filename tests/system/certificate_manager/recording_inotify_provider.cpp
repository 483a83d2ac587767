#include "system/certificate_manager/recording_inotify_provider.h"

#include <algorithm>

#include "orv/result.h"

namespace tti::test {

result_t RecordingInotifyProvider::Subscribe(qel::IInotifyEventsReceiver* receiver,
                                             orv::types::string8_t path, uint32_t flags) {
  std::lock_guard<std::mutex> lock(m_mutex);
  const std::string text(path.view());
  if (const auto failure = m_failures.find(text); failure != m_failures.end()) {
    return failure->second;
  }
  m_subscriptions.push_back({text, flags});
  if (std::none_of(m_receivers.begin(), m_receivers.end(),
                   [&](const auto& held) { return held.get() == receiver; })) {
    m_receivers.emplace_back(receiver);
  }
  return 0;
}

result_t RecordingInotifyProvider::Unsubscribe(qel::IInotifyEventsReceiver* receiver) {
  orv::intrusive_ptr<qel::IInotifyEventsReceiver> released;
  std::lock_guard<std::mutex> lock(m_mutex);
  ++m_unsubscribes;
  const auto it = std::find_if(m_receivers.begin(), m_receivers.end(),
                               [&](const auto& held) { return held.get() == receiver; });
  if (it != m_receivers.end()) {
    released = std::move(*it);
    m_receivers.erase(it);
  }
  return 0;
}

void RecordingInotifyProvider::FailPath(const std::string& path, result_t result) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_failures[path] = result;
}

result_t RecordingInotifyProvider::Deliver(const std::string& name, uint32_t type) {
  std::lock_guard<std::mutex> delivery(m_deliveryMutex);
  orv::intrusive_ptr<qel::IInotifyEventsReceiver> receiver;
  {
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_receivers.empty()) {
      return orv::errors::kNotFound;
    }
    receiver = m_receivers.front();
  }
  qel::InotifyEvent event;
  event.name = orv::types::string8_t(name.c_str(), name.size());
  event.type = type;
  return receiver->OnEvent(event);
}

std::vector<RecordingInotifyProvider::Subscription> RecordingInotifyProvider::Subscriptions()
    const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_subscriptions;
}

std::vector<std::string> RecordingInotifyProvider::Paths(uint32_t flags) const {
  std::vector<std::string> paths;
  for (const Subscription& subscription : Subscriptions()) {
    if (subscription.flags == flags) {
      paths.push_back(subscription.path);
    }
  }
  return paths;
}

qel::IInotifyEventsReceiver* RecordingInotifyProvider::Receiver() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_receivers.empty() ? nullptr : m_receivers.front().get();
}

uint64_t RecordingInotifyProvider::unsubscribes() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_unsubscribes;
}

}  // namespace tti::test
