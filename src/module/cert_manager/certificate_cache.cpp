#include <mutex>
#include <utility>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/certificate_names.h"
#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "orv/check.h"
#include "orv/string.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

cert_stores::X509Ptr ParseDer(const unsigned char* begin, size_t size) {
  return cert_stores::X509Ptr(d2i_X509(nullptr, &begin, static_cast<long>(size)));
}

}  // namespace

result_t CertificateManagerImpl::LoadCertificates() {
  ORV_TRACE(GetTracer(), kDetail)
      << "result_t qel::tcp_traffic_interceptor::CertificateManagerImpl::LoadCertificates()";
  cert_stores::CertificateParseCache::Shared().Clear();
  std::lock_guard<RecursiveMutex> lock(m_mutex);

  std::vector<RawCert> certificates;
  for (const cert_stores::NativePath& path : m_opensslStorages) {
    std::vector<RawCert> read;
    if (const result_t result = cert_stores::OpenSslStorage().ReadBundle(path, read);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning)
          << "Cannot get certificates from opessl storage: " << orv::trace::Result{result};
      continue;
    }
    ORV_TRACE(GetTracer(), kDetail)
        << "Loaded " << read.size() << " from '" << path << "' openssl storage";
    certificates.insert(certificates.end(), std::make_move_iterator(read.begin()),
                        std::make_move_iterator(read.end()));
  }
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    std::vector<RawCert> read;
    if (const result_t result = storage.GetCertificates(read); ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning)
          << "Cannot get certificates from Nss3Storage storage: " << orv::trace::Result{result};
      continue;
    }
    ORV_TRACE(GetTracer(), kDetail)
        << "Loaded " << read.size() << " from '" << storage.path << "' NSS3 storage";
    certificates.insert(certificates.end(), std::make_move_iterator(read.begin()),
                        std::make_move_iterator(read.end()));
  }
  ReadJavaKeystores(certificates);
  ORV_TRACE(GetTracer(), kDetail) << "certificate list size: " << certificates.size();

  Cache cache;
  for (RawCert& der : certificates) {
    const cert_stores::X509Ptr parsed = ParseDer(der.data(), der.size());
    if (!parsed) {
      continue;  // not a certificate OpenSSL can read: left out without a word
    }
    const uint64_t hash = X509_subject_name_hash(parsed.get());
    if (orv::TraceScope line(GetTracer(), kDetail); line) {
      line.stream() << "add ";
      StreamNames(line.stream(), parsed.get(), hash);
    }
    cache[hash].insert(std::move(der));
  }
  ORV_TRACE(GetTracer(), kDetail) << "cache size " << cache.size();
  // Replaced as a whole: a certificate that left every store leaves the cache too.
  m_cache.swap(cache);
  return orv::errors::kOk;
}

result_t CertificateManagerImpl::FindParentCertificates(
    const const_blob_range_t& certificate,
    orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) {
  // Servers repeat their chains: the parse is remembered per bytes, and what is needed here is a
  // pure function of them.
  const auto facts =
      cert_stores::CertificateParseCache::Shared().Get(certificate.begin, certificate.size());
  if (!facts->parsed) {
    return orv::errors::kInvalidArgument;
  }
  if (!facts->issuerText) {
    // GetIssuerText throws for these bytes: the lookup of a parsed object lets it pass as always.
    return FindParentCertificatesOfParsed(certificate, parents);
  }
  // A parent's subject hash is its child's issuer hash: that is why the cache is keyed by subject.
  const uint64_t hash = facts->issuerHash;
  if (orv::TraceScope line(GetTracer(), kDetail); line) {
    line.stream() << "try to find parent for ";
    StreamNames(line.stream(), facts->subjectLine, facts->issuerLine, hash);
  }
  std::lock_guard<RecursiveMutex> lock(m_mutex);
  return CollectParents(hash, *facts->issuerText, parents);
}

}  // namespace qel::tcp_traffic_interceptor
