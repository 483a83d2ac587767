#pragma once

#include <cstdint>

#include "orv/object.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace qel::tcp_traffic_interceptor {

// The initial settings of the handler (its first interface). The pointer is not checked.
struct IInvalidCertificateHandlerConstruct : orv::IObject {
  static constexpr uint32_t kIid = 0x26cd3448;
  // Slot 3: stores a copy, unvalidated; 0.
  virtual result_t Construct(const InvalidCertificateHandlerSettings* settings) = 0;

 protected:
  ~IInvalidCertificateHandlerConstruct() = default;
};

// The handler's settings. Pointers are not checked.
struct IInvalidCertificateHandlerSettings : orv::IObject {
  static constexpr uint32_t kIid = 0x01c4b20b;
  // Slot 3: stores a copy, unvalidated; 0.
  virtual result_t SetSettings(const InvalidCertificateHandlerSettings* settings) = 0;
  // Slot 4: copies the stored record into *settings; 0.
  virtual result_t GetSettings(InvalidCertificateHandlerSettings* settings) = 0;

 protected:
  ~IInvalidCertificateHandlerSettings() = default;
};

}  // namespace qel::tcp_traffic_interceptor
