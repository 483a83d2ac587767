// Random files through the keystore reader. A file that reads must be written back byte for byte:
// the writer keeps every entry as it was.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "cert_stores/java/keystore_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  namespace stores = qel::tcp_traffic_interceptor::cert_stores;
  const std::vector<uint8_t> bytes(data, data + size);
  stores::Keystore keystore;
  if (stores::ParseKeystore(bytes, "changeit", keystore) == 0 &&
      stores::SerializeKeystore(keystore, "changeit") != bytes) {
    std::abort();
  }
  return 0;
}
