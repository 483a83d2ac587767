// Random certificate list texts: the certificates a text gives are written as a list that reads
// back to the same names and bytes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  namespace stores = qel::tcp_traffic_interceptor::cert_stores;
  const std::vector<stores::Certificate> certificates =
      stores::ParseCertList(std::string_view(reinterpret_cast<const char*>(data), size));
  if (certificates.empty()) {
    return 0;
  }
  const std::vector<stores::Certificate> again =
      stores::ParseCertList(stores::MakeCertList(certificates));
  if (again.size() != certificates.size()) {
    std::abort();
  }
  for (size_t i = 0; i < again.size(); ++i) {
    if (again[i].name != certificates[i].name || again[i].raw != certificates[i].raw) {
      std::abort();
    }
  }
  return 0;
}
