#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "host/host_object.h"
#include "orv/intrusive_ptr.h"
#include "qel/inotify_events.h"

namespace tti::test {

// An inotify provider that watches nothing: it records every subscription, holds a reference on
// each subscribed receiver as the real one does, and lets the test deliver events one at a time.
class RecordingInotifyProvider final : public host::HostObject<qel::IInotifyEventsProvider> {
 public:
  struct Subscription {
    std::string path;
    uint32_t flags;
  };

  RecordingInotifyProvider() = default;

  // qel::IInotifyEventsProvider
  result_t Subscribe(qel::IInotifyEventsReceiver* receiver, orv::types::string8_t path,
                     uint32_t flags) override;
  result_t Unsubscribe(qel::IInotifyEventsReceiver* receiver) override;

  // Subscribe answers `result` (and records nothing) for this path.
  void FailPath(const std::string& path, result_t result);
  // OnEvent of the receiver that subscribed first; its result.
  result_t Deliver(const std::string& name, uint32_t type);

  std::vector<Subscription> Subscriptions() const;
  // Subscribed paths with these flags, in order.
  std::vector<std::string> Paths(uint32_t flags) const;
  qel::IInotifyEventsReceiver* Receiver() const;
  uint64_t unsubscribes() const;

 private:
  mutable std::mutex m_mutex;  // guards the members below, never held across OnEvent
  std::vector<Subscription> m_subscriptions;
  std::map<std::string, result_t> m_failures;
  std::vector<orv::intrusive_ptr<qel::IInotifyEventsReceiver>> m_receivers;
  uint64_t m_unsubscribes = 0;
  std::mutex m_deliveryMutex;  // one event at a time, as the provider's contract says
};

}  // namespace tti::test
