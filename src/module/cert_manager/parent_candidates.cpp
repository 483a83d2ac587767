// The parent lookup's steps after the child's names are known: the plain way for bytes whose
// remembered facts cannot serve, and the gathering of candidates from the published cache.
#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/certificate_names.h"
#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "orv/check.h"
#include "orv/string.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {
constexpr uint32_t kDetail = orv::trace_level::kDetail;
}  // namespace

result_t CertificateManagerImpl::FindParentCertificatesOfParsed(
    const const_blob_range_t& certificate,
    orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) {
  const cert_stores::X509Ptr parsed = cert_stores::ParseDer(certificate.begin, certificate.size());
  if (!parsed) {
    return orv::errors::kInvalidArgument;
  }
  const uint64_t hash = X509_issuer_name_hash(parsed.get());
  if (orv::TraceScope line(GetTracer(), kDetail); line) {
    line.stream() << "try to find parent for ";
    StreamNames(line.stream(), parsed.get(), hash);
  }
  return CollectParents(hash, cert_stores::GetIssuerText(parsed.get()), parents);
}

// Without a lock: the provider's certificates for the issuer, then the set of the hash in the
// cache published last (a reload running meanwhile publishes a new one and leaves this one alone).
result_t CertificateManagerImpl::CollectParents(
    uint64_t hash, const std::string& issuerText,
    orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) {
  orv::types::vector_t<qel::RawCert> candidates;
  const orv::types::string8_t issuer(issuerText.data(), issuerText.size());
  ORV_TRACE_IF_FAILED(GetTracer(),
                      m_certificatesProvider->GetTrustedCertificates(issuer, &candidates))
      << "Cannot get product trusted certificates";

  // No further test: a colliding hash gives its certificates too, and duplicates between the
  // provider and the cache stay.
  const std::shared_ptr<const Cache> cache = std::atomic_load(&m_snapshot);
  if (const auto found = cache->find(hash); found != cache->end()) {
    for (const RawCert& der : found->second) {
      qel::RawCert& copy = candidates.emplace_back();
      copy.resize(der.size());
      std::copy(der.begin(), der.end(), copy.data());
    }
  }
  if (candidates.empty()) {
    ORV_TRACE(GetTracer(), kDetail) << "parent cert was not found";
    parents.clear();
    return orv::errors::kFalse;
  }
  parents.swap(candidates);
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor
