#include "cert_manager/certificate_names.h"

#include <cstring>

namespace qel::tcp_traffic_interceptor {

void StreamNames(orv::TraceStream& stream, const X509* certificate, uint64_t hash) noexcept {
  char buffer[1024];
  std::memset(buffer, 0, sizeof(buffer));
  X509_NAME_oneline(X509_get_subject_name(certificate), buffer, sizeof(buffer));
  stream << "subject: " << static_cast<const char*>(buffer);
  std::memset(buffer, 0, sizeof(buffer));
  X509_NAME_oneline(X509_get_issuer_name(certificate), buffer, sizeof(buffer));
  stream << ", issuer: " << static_cast<const char*>(buffer) << " with hash " << hash;
}

}  // namespace qel::tcp_traffic_interceptor
