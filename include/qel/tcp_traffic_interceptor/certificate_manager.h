#pragma once

#include <cstdint>

#include "orv/object.h"
#include "qel/raw_cert.h"

namespace qel::tcp_traffic_interceptor {

// Puts the product's root certificate into every certificate store of the machine and takes it
// out again. Both operations are best effort store by store and return 0.
struct ICertificateManager : orv::IObject {
  static constexpr uint32_t kIid = 0xf70ad9d1;
  // Slot 3: `cert` is the DER form of the root certificate.
  virtual result_t Install(const RawCert& cert) = 0;
  // Slot 4: removes the certificate with these bytes from every store.
  virtual result_t Uninstall(const RawCert& cert) = 0;

 protected:
  ~ICertificateManager() = default;
};

}  // namespace qel::tcp_traffic_interceptor
