#pragma once

#include <cstddef>
#include <cstdint>

#include "qel/enums/untrusted_certificate_action.h"

namespace qel::tcp_traffic_interceptor {

// The handler's settings record, kept by the host under CLSID_InvalidCertificateHandler.
struct InvalidCertificateHandlerSettings {
  static constexpr uint32_t kTypeId = 0x070de61f;

  ::qel::UntrustedCertificateAction::Type action = ::qel::UntrustedCertificateAction::Allow;
  bool addToAutoExcludes = true;

  friend bool operator==(const InvalidCertificateHandlerSettings& a,
                         const InvalidCertificateHandlerSettings& b) {
    return a.action == b.action && a.addToAutoExcludes == b.addToAutoExcludes;
  }
  friend bool operator!=(const InvalidCertificateHandlerSettings& a,
                         const InvalidCertificateHandlerSettings& b) {
    return !(a == b);
  }
};

static_assert(sizeof(InvalidCertificateHandlerSettings) == 8);
static_assert(offsetof(InvalidCertificateHandlerSettings, addToAutoExcludes) == 4);

}  // namespace qel::tcp_traffic_interceptor
