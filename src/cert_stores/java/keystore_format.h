#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "orv/result.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// The JKS keystore file: magic 0xFEEDFEED, version, entry count, entries, and a SHA-1 digest over
// the password (UTF-16BE), a fixed phrase and everything before the digest.
constexpr uint32_t kKeystoreMagic = 0xFEEDFEED;
constexpr uint32_t kPrivateKeyTag = 1;
constexpr uint32_t kTrustedCertificateTag = 2;

// Bytes that are no JKS keystore (another magic or version, a short or overlong file, an entry kind
// other than key or trusted certificate).
constexpr result_t kNotAKeystore = orv::errors::kInvalidArgument;
// A keystore whose digest does not check with the password: another password, or damage.
constexpr result_t kKeystoreDigestMismatch = orv::errors::kAccessDenied;

// One entry as the file holds it. Everything after the date is kept byte for byte, so that a
// rewrite gives the other entries back unchanged, protected keys included.
struct KeystoreEntry {
  uint32_t tag = kTrustedCertificateTag;
  std::string alias;  // modified UTF-8 as stored, at most 65535 bytes
  int64_t date = 0;   // milliseconds since the Unix epoch
  std::vector<uint8_t> body;
  RawCert certificate;  // trusted entries: the certificate's encoding (DER)
};

struct Keystore {
  uint32_t version = 2;  // 1 has no certificate type texts
  std::vector<KeystoreEntry> entries;
};

// 0, kNotAKeystore, kKeystoreDigestMismatch, or 0x8000004b when the digest cannot be computed;
// `keystore` is only filled on success.
result_t ParseKeystore(const std::vector<uint8_t>& bytes, std::string_view password,
                       Keystore& keystore);
// The file of `keystore`, digest included. An alias longer than 65535 bytes throws
// std::length_error, a digest OpenSSL cannot compute std::runtime_error.
std::vector<uint8_t> SerializeKeystore(const Keystore& keystore, std::string_view password);
// A trusted-certificate entry in the form of `version` for the DER `certificate`.
KeystoreEntry MakeTrustedEntry(std::string alias, int64_t date, const RawCert& certificate,
                               uint32_t version);

}  // namespace qel::tcp_traffic_interceptor::cert_stores
