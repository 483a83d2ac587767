#include "cert_stores/parse_cache/pem_from_der.h"

#include <openssl/evp.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/parse_cache/certificate_parse_cache.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

constexpr std::string_view kBegin = "-----BEGIN CERTIFICATE-----\n";
constexpr std::string_view kEnd = "-----END CERTIFICATE-----\n";
// PEM_write_bio_X509 encodes 48 bytes a line, which base64 turns into 64 characters.
constexpr size_t kLineBytes = 48;
constexpr size_t kLineChars = 64;

}  // namespace

void EncodeCertificatePem(const uint8_t* der, size_t size, std::string& text) {
  const size_t lines = (size + kLineBytes - 1) / kLineBytes;
  const size_t encoded = (size + 2) / 3 * 4 + lines;  // base64 and one '\n' a line
  const size_t start = text.size();
  // One byte more for the terminator EVP_EncodeBlock writes after each line.
  text.resize(start + kBegin.size() + encoded + kEnd.size() + 1);
  char* cursor = text.data() + start;
  cursor += kBegin.copy(cursor, kBegin.size());
  for (size_t offset = 0; offset < size; offset += kLineBytes) {
    const size_t chunk = std::min(kLineBytes, size - offset);
    cursor += EVP_EncodeBlock(reinterpret_cast<unsigned char*>(cursor), der + offset,
                              static_cast<int>(chunk));
    *cursor++ = '\n';
  }
  cursor += kEnd.copy(cursor, kEnd.size());
  text.resize(static_cast<size_t>(cursor - text.data()));
}

result_t AppendCertificatePem(const uint8_t* der, size_t size, std::string& text) {
  const auto facts = CertificateParseCache::Shared().Get(der, size);
  if (facts->parsed && facts->canonical) {
    EncodeCertificatePem(der, size, text);
    return orv::errors::kOk;
  }
  std::vector<uint8_t> pem;
  if (const result_t result = RawToPem(RawCert(der, der + size), pem); ORV_FAILED(result)) {
    return result;
  }
  text.append(pem.begin(), pem.end());
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
