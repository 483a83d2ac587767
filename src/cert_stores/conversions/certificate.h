#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qel::tcp_traffic_interceptor::cert_stores {

// The DER bytes of one certificate.
using RawCert = std::vector<uint8_t>;

// A certificate as the stores carry it: the file-name stem (no directory, no extension) and the
// DER bytes. Lists keep the order in which they were built.
struct Certificate {
  std::string name;
  RawCert raw;
};

// The only identity of a certificate in the stores: the same bytes.
inline bool RawEqual(const RawCert& left, const RawCert& right) { return left == right; }

// Every file the product adds to a machine is named with this prefix.
constexpr std::string_view kCertificatePrefix = "Morvane_Shield_Personal_Root_Certificate_";

}  // namespace qel::tcp_traffic_interceptor::cert_stores
