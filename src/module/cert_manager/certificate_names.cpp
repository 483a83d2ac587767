#include "cert_manager/certificate_names.h"

#include <cstring>

namespace qel::tcp_traffic_interceptor {

void StreamNames(orv::TraceStream& stream, const X509* certificate, uint64_t hash) noexcept {
  // Two buffers rather than one reused: the same texts, and the subject lives until it is written.
  char subject[1024];
  char issuer[1024];
  std::memset(subject, 0, sizeof(subject));
  X509_NAME_oneline(X509_get_subject_name(certificate), subject, sizeof(subject));
  std::memset(issuer, 0, sizeof(issuer));
  X509_NAME_oneline(X509_get_issuer_name(certificate), issuer, sizeof(issuer));
  StreamNames(stream, static_cast<const char*>(subject), static_cast<const char*>(issuer), hash);
}

void StreamNames(orv::TraceStream& stream, std::string_view subject, std::string_view issuer,
                 uint64_t hash) noexcept {
  stream << "subject: " << subject << ", issuer: " << issuer << " with hash " << hash;
}

}  // namespace qel::tcp_traffic_interceptor
