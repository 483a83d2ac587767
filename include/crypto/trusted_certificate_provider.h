#pragma once

#include <cstdint>

#include "orv/blob_range.h"
#include "orv/object.h"
#include "orv/vector.h"

namespace app_ctrl {
// A process of the engine; passed through, never used.
struct IProcess;
}  // namespace app_ctrl

namespace crypto {

// The engine's question for the parents of a certificate (CertificateManager, first interface).
// Not qel::ITrustedCertificatesProvider (plural): that one is the host's service the manager asks
// for the product's own certificates. Both names are fixed by the ABI and stay as they are.
struct ITrustedCertificateProvider : orv::IObject {
  static constexpr uint32_t kIid = 0xd857bcb9;
  // Slot 3: 0 with the candidates replacing `parents`, 1 with `parents` emptied when there is
  // none, 0x80000046 with `parents` untouched when `certificate` is not DER.
  virtual result_t FindParentCertificates(
      app_ctrl::IProcess* process, const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) const = 0;

 protected:
  ~ITrustedCertificateProvider() = default;
};

}  // namespace crypto
