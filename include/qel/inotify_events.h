#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"

namespace qel {

// One file system event as the host's inotify provider delivers it.
struct InotifyEvent {
  // The full path: the subscribed path, or the subscribed directory, "/" and the entry's path
  // below it.
  orv::types::string8_t name;
  // A FileModificationType value (7 for a created entry).
  uint32_t type = 0;
};

static_assert(sizeof(InotifyEvent) == 56);
static_assert(offsetof(InotifyEvent, type) == 48);

// Receives file system events from the provider.
struct IInotifyEventsReceiver : orv::IObject {
  static constexpr uint32_t kIid = 0xef395b4c;
  // Slot 3: one event; the provider ignores the result.
  virtual result_t OnEvent(const InotifyEvent& event) = 0;
  // Slot 4: the receiver's name, for the provider's messages.
  virtual result_t GetName(orv::types::string8_t& name) = 0;

 protected:
  ~IInotifyEventsReceiver() = default;
};

// The host's file watcher. A subscription on a path that does not exist yet is accepted and
// starts reporting once the path appears; a directory covers everything below it without
// following links. Events arrive one at a time on a provider thread.
struct IInotifyEventsProvider : orv::IObject {
  static constexpr uint32_t kIid = 0x4045a446;
  // Slot 3: watch `path` for the inotify bits of `flags`; fails only for an empty path or a lack
  // of resources. Holds a reference on `receiver` while subscribed.
  virtual result_t Subscribe(IInotifyEventsReceiver* receiver, orv::types::string8_t path,
                             uint32_t flags) = 0;
  // Slot 4: removes every subscription of `receiver`; when it returns no event for it runs or will
  // start (but the one that called it).
  virtual result_t Unsubscribe(IInotifyEventsReceiver* receiver) = 0;

 protected:
  ~IInotifyEventsProvider() = default;
};

}  // namespace qel
