#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace qel::tcp_traffic_interceptor::cert_stores {

// What one d2i_X509 of a certificate's bytes gives the per-connection paths: the parent lookup's
// issuer hash, issuer text and trace names, the store cache's subject hash, the handler's names and
// expiry, and whether the bytes' PEM may be written without a parse. A pure function of the bytes,
// so it can be remembered.
struct CertificateFacts {
  bool parsed = false;       // d2i_X509 took the bytes; everything below is meaningful only then
  bool canonical = false;    // i2d_X509 of the object gives back exactly the bytes, nothing trails
  uint64_t issuerHash = 0;   // X509_issuer_name_hash
  uint64_t subjectHash = 0;  // X509_subject_name_hash: the key under which stores hold it
  std::optional<std::string> issuerText;  // RFC 2253; absent where GetIssuerText throws
  std::string subjectLine;                // X509_NAME_oneline into a zeroed 1024-byte buffer
  std::string issuerLine;
  std::optional<std::string> subjectCommonName;  // absent when the name has no common name
  std::optional<std::string> issuerCommonName;
  uint64_t expirationTicks = 0;  // notAfter in ticks since 1601; 0 unreadable or before 1601
};

// Parses the bytes once and reads every fact. Never throws but std::bad_alloc.
CertificateFacts ReadCertificateFacts(const uint8_t* data, size_t size);

}  // namespace qel::tcp_traffic_interceptor::cert_stores
