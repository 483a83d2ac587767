#pragma once

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "host/host_object.h"
#include "host/inotify_instance.h"
#include "host/inotify_reader.h"
#include "host/watch_registry.h"
#include "host/watched_path.h"
#include "orv/intrusive_ptr.h"
#include "qel/inotify_events.h"

namespace host {

// qel::IInotifyEventsProvider over one inotify instance. The instance and the provider thread are
// made at the first Subscribe. The thread reads the kernel's events, turns them into notices under
// m_mutex (watches move with the file system there), then calls the receivers one event at a time
// without the lock. Subscribe and Unsubscribe come from any thread, the receivers' own
// OnEvent included; they never deliver.
//
// References: one on the receiver per subscription, released before Unsubscribe returns, and one
// while its OnEvent runs (so an Unsubscribe from inside OnEvent leaves the receiver alive until
// OnEvent returns).
//
// When the kernel's queue overflows (IN_Q_OVERFLOW) the lost events are gone: every subscription
// places its watches anew, so that directories made meanwhile are watched, and reports the
// entries of directories it did not watch before as created; `overflows()` counts these.
//
// m_mutex guards the subscriptions, the watches, the delivery state and the counters; it is never
// held while calling a receiver or releasing one. The provider must not be released for the last
// time from inside OnEvent (its destructor joins the provider thread).
class InotifyEventsProvider final : public HostObject<qel::IInotifyEventsProvider> {
 public:
  InotifyEventsProvider() = default;
  ~InotifyEventsProvider() override;

  // qel::IInotifyEventsProvider
  result_t Subscribe(qel::IInotifyEventsReceiver* receiver, orv::types::string8_t path,
                     uint32_t flags) override;
  result_t Unsubscribe(qel::IInotifyEventsReceiver* receiver) override;

  // For tests: subscriptions held, kernel watches placed, events delivered, queue overflows,
  // watches (or events) lost for lack of resources after Subscribe; a result for Subscribe to
  // answer instead of subscribing (0 to subscribe again).
  size_t subscriptions() const;
  size_t watches() const;
  uint64_t delivered() const;
  uint64_t overflows() const;
  uint64_t lostWatches() const;
  void FailSubscribeWith(result_t result);

 private:
  struct Subscription {
    orv::intrusive_ptr<qel::IInotifyEventsReceiver> receiver;
    std::unique_ptr<WatchedPath> watches;
  };

  // Makes the instance and the thread; false when the kernel gives none. Under m_mutex.
  bool EnsureRunning();
  // On the provider thread.
  void OnEvents(const std::vector<KernelEvent>& events);
  void Translate(const KernelEvent& event, std::vector<WatchNotice>& notices);
  void Deliver(const WatchNotice& notice);

  mutable std::mutex m_mutex;  // guards everything below but m_reader's thread itself
  std::condition_variable m_deliveryDone;
  std::unique_ptr<InotifyInstance> m_instance;
  std::unique_ptr<WatchRegistry> m_registry;
  std::map<uint64_t, Subscription> m_subscriptions;
  uint64_t m_nextId = 1;
  qel::IInotifyEventsReceiver* m_delivering = nullptr;  // whose OnEvent runs now
  uint64_t m_delivered = 0;
  uint64_t m_overflows = 0;
  uint64_t m_lostWatches = 0;
  result_t m_subscribeFailure = 0;
  InotifyReader m_reader;
};

}  // namespace host
