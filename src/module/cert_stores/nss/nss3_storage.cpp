#include "cert_stores/nss/nss3_storage.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

result_t Nss3Storage::GetCertificates(std::vector<RawCert>&) const {
  return orv::errors::kUnspecified;
}
result_t Nss3Storage::AddCertificatesToStore(std::vector<Certificate>&) const {
  return orv::errors::kUnspecified;
}
result_t Nss3Storage::DeleteCertificatesFromStore(const std::vector<Certificate>&) const {
  return orv::errors::kUnspecified;
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
