#pragma once

#include <cstdint>

#include "orv/object.h"
#include "qel/event.h"

namespace qel {

// The host's event sink for events that stay on this machine.
struct INonRemoteEventPublisher : orv::IObject {
  static constexpr uint32_t kIid = 0xde3a4e4a;
  // Slot 3: publishes `event`; the publisher copies what it keeps before returning.
  virtual result_t PublishEvent(const Event& event) = 0;

 protected:
  ~INonRemoteEventPublisher() = default;
};

}  // namespace qel
