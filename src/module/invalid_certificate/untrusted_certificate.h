#pragma once

#include <cstdint>
#include <string_view>

#include "orv/string.h"

namespace qel::tcp_traffic_interceptor {

// What the handler knows of one certificate that failed verification.
struct UntrustedCertificate {
  uint32_t verificationResult = 0;  // the engine's code for the connection
  orv::types::string8_t subject;    // common name of the subject, or kNotPartOfCertificate
  orv::types::string8_t issuer;     // common name of the issuer, or kNotPartOfCertificate
  orv::types::string8_t pemChain;   // PEM of the engine's chain; empty for a lone certificate
  uint64_t expirationDate = 0;      // notAfter in ticks since 1601; 0 when it cannot be read
};

// Stands in `subject` or `issuer` for a name without a common name; the page words it by key.
constexpr std::string_view kNotPartOfCertificate = "NotPartOfCertificate";

}  // namespace qel::tcp_traffic_interceptor
