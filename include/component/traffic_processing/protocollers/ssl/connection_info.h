#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"
#include "qel/raw_cert.h"

// The engine's objects of an encrypted connection, as far as the invalid certificate handler asks
// them. None of them needs an interface identifier: they arrive as arguments or out parameters.
namespace traffic_processing::protocollers::ssl {

// One certificate the engine holds.
struct ICertificate : orv::IObject {
  // Slot 3: assigns the DER bytes of the certificate to `raw`.
  virtual result_t GetRaw(orv::types::vector_t<unsigned char>& raw) = 0;

 protected:
  ~ICertificate() = default;
};

// A walk over the server's chain in the engine's order.
struct ICertificateEnumerator : orv::IObject {
  // Slot 3: back to the first certificate (the handler never calls it).
  virtual result_t Reset() = 0;
  // Slot 4: 0 with one certificate (one reference for the caller), 1 with null after the last one,
  // or a negative code.
  virtual result_t Next(ICertificate** certificate) = 0;

 protected:
  ~ICertificateEnumerator() = default;
};

// The engine's encrypted connection object.
struct IConnectionInfo : orv::IObject {
  // Slot 3: the server name the client asked for.
  virtual result_t GetDomain(orv::types::string8_t& domain) = 0;
  // Slot 4: the server's own certificate, one reference for the caller.
  virtual result_t GetServerCertificate(ICertificate** certificate) = 0;
  // Slot 5: a fresh enumerator at the first certificate of the chain, one reference for the caller.
  virtual result_t GetCertificateChain(ICertificateEnumerator** chain) = 0;
  // Slot 6: why the engine's verification failed (the engine's 32-bit code).
  virtual result_t GetVerificationResult(uint32_t& verificationResult) = 0;

 protected:
  ~IConnectionInfo() = default;
};

}  // namespace traffic_processing::protocollers::ssl
