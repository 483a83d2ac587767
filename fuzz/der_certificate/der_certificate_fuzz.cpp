// Random DER blobs: a blob that converts to PEM gives PEM whose certificate converts to the same
// PEM again and has a subject hash.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  namespace stores = qel::tcp_traffic_interceptor::cert_stores;
  const stores::RawCert blob(data, data + size);
  uint64_t hash = 0;
  (void)stores::GetSubjectHash(blob, hash);
  std::vector<uint8_t> pem;
  if (ORV_FAILED(stores::RawToPem(blob, pem))) {
    return 0;
  }
  stores::RawCert raw;
  std::vector<uint8_t> again;
  if (ORV_FAILED(stores::PemToRaw(
          std::string_view(reinterpret_cast<const char*>(pem.data()), pem.size()), raw)) ||
      ORV_FAILED(stores::RawToPem(raw, again)) || again != pem ||
      ORV_FAILED(stores::GetSubjectHash(raw, hash))) {
    std::abort();
  }
  return 0;
}
