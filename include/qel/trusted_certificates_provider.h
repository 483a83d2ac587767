#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"
#include "qel/raw_cert.h"

namespace qel {

// The product's own trusted certificates, served by the host. Not
// crypto::ITrustedCertificateProvider (singular): that one is the module's answer to the engine.
// Both names are fixed by the ABI.
struct ITrustedCertificatesProvider : orv::IObject {
  static constexpr uint32_t kIid = 0x4d4860bf;
  // Slot 3: appends the DER bytes of every certificate whose subject, printed in the RFC 2253 form
  // (XN_FLAG_RFC2253), equals `issuer`; 0 also when nothing matches, negative when it cannot
  // answer.
  virtual result_t GetTrustedCertificates(const orv::types::string8_t& issuer,
                                          orv::types::vector_t<RawCert>* certificates) = 0;

 protected:
  ~ITrustedCertificatesProvider() = default;
};

}  // namespace qel
