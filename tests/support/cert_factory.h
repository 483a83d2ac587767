#pragma once

#include <string>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/conversions/openssl_types.h"

namespace tti::test {

// A certificate made at test time with its private key (EC P-256).
struct TestCertificate {
  qel::tcp_traffic_interceptor::cert_stores::X509Ptr x509;
  qel::tcp_traffic_interceptor::cert_stores::EvpPkeyPtr key;

  qel::tcp_traffic_interceptor::cert_stores::RawCert Der() const;
  std::string Pem() const;
  std::string KeyPem() const;
};

// A self-signed root (CA:TRUE, keyCertSign) with the given common name.
TestCertificate MakeRootCertificate(const std::string& commonName);
// A server certificate for 127.0.0.1 and localhost issued by `issuer`.
TestCertificate MakeServerCertificate(const TestCertificate& issuer, const std::string& commonName);

}  // namespace tti::test
