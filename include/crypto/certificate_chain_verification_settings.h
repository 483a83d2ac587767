#pragma once

#include <cstdint>

namespace crypto {

// Service key of the certificate chain verifier's settings.
constexpr uint32_t CLSID_CertificateChainVerifier = 0x4945314f;

// The chain verifier's record; this module only writes the two pairs (7, 7) and (6, 2).
struct CertificateChainVerificationSettings {
  static constexpr uint32_t kTypeId = 0xeae2882f;

  uint32_t value1 = 7;
  uint32_t value2 = 7;
  uint32_t value3 = 60000;
};

static_assert(sizeof(CertificateChainVerificationSettings) == 12 &&
              alignof(CertificateChainVerificationSettings) == 4);

}  // namespace crypto
