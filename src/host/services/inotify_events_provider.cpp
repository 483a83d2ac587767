#include "host/inotify_events_provider.h"

#include <sys/inotify.h>

#include <exception>
#include <new>
#include <string>
#include <thread>
#include <utility>

namespace host {

InotifyEventsProvider::~InotifyEventsProvider() {
  // The thread goes first: it uses the instance, the registry and the subscriptions.
  m_reader.Stop();
}

bool InotifyEventsProvider::EnsureRunning() {
  if (m_reader.running()) {
    return true;
  }
  try {
    m_instance = std::make_unique<InotifyInstance>();
    m_registry = std::make_unique<WatchRegistry>(*m_instance);
    m_reader.Start(*m_instance,
                   [this](const std::vector<KernelEvent>& events) { OnEvents(events); });
  } catch (const std::exception&) {
    m_registry.reset();
    m_instance.reset();
    return false;
  }
  return true;
}

result_t InotifyEventsProvider::Subscribe(qel::IInotifyEventsReceiver* receiver,
                                          orv::types::string8_t path, uint32_t flags) {
  if (receiver == nullptr || path.empty()) {
    return orv::errors::kInvalidArgument;
  }
  try {
    std::unique_lock lock(m_mutex);
    if (m_subscribeFailure != 0) {
      return m_subscribeFailure;
    }
    if (!EnsureRunning()) {
      return orv::errors::kOutOfMemory;
    }
    const uint64_t id = m_nextId++;
    auto watches = std::make_unique<WatchedPath>(id, std::string(path.view()), flags);
    if (!watches->Start(*m_registry)) {
      watches->Stop(*m_registry);
      return orv::errors::kOutOfMemory;
    }
    m_subscriptions.emplace(id,
                            Subscription{orv::intrusive_ptr<qel::IInotifyEventsReceiver>(receiver),
                                         std::move(watches)});
    return orv::errors::kOk;
  } catch (const std::bad_alloc&) {
    return orv::errors::kOutOfMemory;
  }
}

result_t InotifyEventsProvider::Unsubscribe(qel::IInotifyEventsReceiver* receiver) {
  // Released after the lock: the last release may run the receiver's own clean-up.
  std::vector<orv::intrusive_ptr<qel::IInotifyEventsReceiver>> released;
  {
    std::unique_lock lock(m_mutex);
    for (auto subscription = m_subscriptions.begin(); subscription != m_subscriptions.end();) {
      if (subscription->second.receiver.get() != receiver) {
        ++subscription;
        continue;
      }
      subscription->second.watches->Stop(*m_registry);
      m_lostWatches += subscription->second.watches->lostWatches();
      released.push_back(std::move(subscription->second.receiver));
      subscription = m_subscriptions.erase(subscription);
    }
    // From the provider thread, the OnEvent running is the caller's own: no wait.
    if (m_reader.id() != std::this_thread::get_id()) {
      m_deliveryDone.wait(lock, [&] { return m_delivering != receiver; });
    }
  }
  released.clear();
  return orv::errors::kOk;
}

void InotifyEventsProvider::OnEvents(const std::vector<KernelEvent>& events) {
  std::vector<WatchNotice> notices;
  {
    std::lock_guard lock(m_mutex);
    for (const KernelEvent& event : events) {
      try {
        Translate(event, notices);
      } catch (const std::exception&) {
        // Out of memory while following the tree: the event is lost, the thread goes on.
        ++m_lostWatches;
      }
    }
  }
  for (const WatchNotice& notice : notices) {
    Deliver(notice);
  }
}

void InotifyEventsProvider::Translate(const KernelEvent& event, std::vector<WatchNotice>& notices) {
  if ((event.mask & IN_Q_OVERFLOW) != 0) {
    ++m_overflows;
    for (auto& subscription : m_subscriptions) {
      subscription.second.watches->Restart(*m_registry, notices);
    }
    return;
  }
  const bool gone = (event.mask & IN_IGNORED) != 0;
  const std::vector<WatchUser> users =
      gone ? m_registry->Forget(event.wd) : m_registry->Users(event.wd);
  for (const WatchUser& user : users) {
    const auto subscription = m_subscriptions.find(user.subscription);
    if (subscription == m_subscriptions.end()) {
      continue;
    }
    WatchedPath& watches = *subscription->second.watches;
    if (gone) {
      watches.WatchGone(*m_registry, user, event.wd, notices);
    } else {
      watches.Handle(*m_registry, user, event, notices);
    }
  }
}

void InotifyEventsProvider::Deliver(const WatchNotice& notice) {
  orv::intrusive_ptr<qel::IInotifyEventsReceiver> receiver;
  {
    std::lock_guard lock(m_mutex);
    const auto subscription = m_subscriptions.find(notice.subscription);
    if (subscription == m_subscriptions.end()) {
      return;  // unsubscribed since the event was read
    }
    receiver = subscription->second.receiver;
    m_delivering = receiver.get();
    ++m_delivered;
  }
  qel::InotifyEvent event;
  event.type = notice.type;
  try {
    event.name.assign(notice.name);
    receiver->OnEvent(event);
  } catch (...) {
    // A receiver must not throw; the thread goes on with the next event.
  }
  // The delivery's reference goes before Unsubscribe is told that OnEvent returned.
  receiver.reset();
  {
    std::lock_guard lock(m_mutex);
    m_delivering = nullptr;
  }
  m_deliveryDone.notify_all();
}

size_t InotifyEventsProvider::subscriptions() const {
  std::lock_guard lock(m_mutex);
  return m_subscriptions.size();
}

size_t InotifyEventsProvider::watches() const {
  std::lock_guard lock(m_mutex);
  return m_registry ? m_registry->size() : 0;
}

uint64_t InotifyEventsProvider::delivered() const {
  std::lock_guard lock(m_mutex);
  return m_delivered;
}

uint64_t InotifyEventsProvider::overflows() const {
  std::lock_guard lock(m_mutex);
  return m_overflows;
}

uint64_t InotifyEventsProvider::lostWatches() const {
  std::lock_guard lock(m_mutex);
  uint64_t lost = m_lostWatches;
  for (const auto& subscription : m_subscriptions) {
    lost += subscription.second.watches->lostWatches();
  }
  return lost;
}

void InotifyEventsProvider::FailSubscribeWith(result_t result) {
  std::lock_guard lock(m_mutex);
  m_subscribeFailure = result;
}

}  // namespace host
