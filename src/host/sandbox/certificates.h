#pragma once

#include <string>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/conversions/openssl_types.h"

namespace host::sandbox {

// A certificate made on the spot with its private key (EC P-256), for a throwaway machine.
struct SandboxCertificate {
  qel::tcp_traffic_interceptor::cert_stores::X509Ptr x509;
  qel::tcp_traffic_interceptor::cert_stores::EvpPkeyPtr key;

  qel::tcp_traffic_interceptor::cert_stores::RawCert Der() const;
  std::string Pem() const;
  std::string KeyPem() const;
};

// A self-signed root (CA:TRUE, keyCertSign) with the given common name.
SandboxCertificate MakeRootCertificate(const std::string& commonName);
// A server certificate for 127.0.0.1 and localhost issued by `issuer`.
SandboxCertificate MakeServerCertificate(const SandboxCertificate& issuer,
                                         const std::string& commonName);

}  // namespace host::sandbox
