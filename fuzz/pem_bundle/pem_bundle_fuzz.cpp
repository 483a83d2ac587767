// Random bundle files through ReadBundle. What reads must survive the store's rewrite: every
// certificate converts to PEM, and the rewritten file reads back to the same certificates.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/openssl_storage.h"

namespace {

namespace stores = qel::tcp_traffic_interceptor::cert_stores;

// One in-memory file for the whole run, opened afresh by its /proc name on every read.
const int kFile = memfd_create("bundle", MFD_CLOEXEC);
const std::string kPath = "/proc/self/fd/" + std::to_string(kFile);

std::vector<stores::RawCert> Read(const void* data, size_t size) {
  if (ftruncate(kFile, 0) != 0 || pwrite(kFile, data, size, 0) != static_cast<ssize_t>(size)) {
    std::abort();
  }
  std::vector<stores::RawCert> certificates;
  if (ORV_FAILED(stores::OpenSslStorage().ReadBundle(kPath, certificates))) {
    certificates.clear();
  }
  return certificates;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::vector<stores::RawCert> certificates = Read(data, size);
  std::vector<uint8_t> rewritten;
  std::vector<uint8_t> pem;
  for (const stores::RawCert& raw : certificates) {
    if (ORV_FAILED(stores::RawToPem(raw, pem))) {
      std::abort();  // the rewrite would drop this certificate
    }
    rewritten.insert(rewritten.end(), pem.begin(), pem.end());
  }
  if (!certificates.empty() && Read(rewritten.data(), rewritten.size()) != certificates) {
    std::abort();
  }
  return 0;
}
