#include <mutex>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

using cert_stores::Certificate;
constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

cert_stores::RawCert CopyBytes(const qel::RawCert& cert) {
  return cert_stores::RawCert(cert.begin(), cert.end());
}

// The parsed certificate, or null for bytes that are not DER.
cert_stores::X509Ptr ParseDer(const cert_stores::RawCert& der) {
  const unsigned char* cursor = der.data();
  return cert_stores::X509Ptr(d2i_X509(nullptr, &cursor, static_cast<long>(der.size())));
}

}  // namespace

result_t CertificateManagerImpl::Install(const qel::RawCert& cert) {
  const cert_stores::RawCert der = CopyBytes(cert);
  // The name is drawn outside the lock.
  std::vector<Certificate> certificates{cert_stores::MakeCertificate(der)};

  std::lock_guard<RecursiveMutex> lock(m_mutex);
  if (const result_t result = cert_stores::OpenSslStorage().AddCertificates(certificates);
      ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot add certificate to openssl storage: " << orv::trace::Result{result};
  }
  AddToJavaKeystores(certificates);
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    ORV_TRACE(GetTracer(), kDetail) << "Add cert to " << storage.path;
    std::vector<Certificate> copy = certificates;
    if (const result_t result = cert_stores::Nss3Storage(storage).AddCertificatesToStore(copy);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning)
          << "Cannot add certificate to " << storage.path << ": " << orv::trace::Result{result};
    }
  }
  // Only the last installed certificate goes into stores that turn up later.
  m_certificates.swap(certificates);
  m_installed = true;

  if (const cert_stores::X509Ptr parsed = ParseDer(der)) {
    m_cache[X509_subject_name_hash(parsed.get())].insert(der);
  }
  return orv::errors::kOk;
}

result_t CertificateManagerImpl::Uninstall(const qel::RawCert& cert) {
  // The stores match by the bytes: no name is needed.
  const std::vector<Certificate> certificates{Certificate{std::string(), CopyBytes(cert)}};

  std::lock_guard<RecursiveMutex> lock(m_mutex);
  const result_t openSslResult = cert_stores::OpenSslStorage().DeleteCertificates(certificates);
  if (ORV_FAILED(openSslResult)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot delete certificate from openssl storage: " << orv::trace::Result{openSslResult};
  }
  DeleteFromJavaKeystores(certificates);
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    if (ORV_FAILED(cert_stores::Nss3Storage(storage).DeleteCertificatesFromStore(certificates))) {
      // The line carries the OpenSSL step's code, not this store's: kept as the product has it.
      ORV_TRACE(GetTracer(), kWarning) << "Cannot delete certificate from: " << storage.path << ": "
                                       << orv::trace::Result{openSslResult};
    }
  }
  m_installed = false;
  // m_certificates stays: a store that turns up later still receives the removed certificate
  // until the next Install replaces the list.
  if (const cert_stores::X509Ptr parsed = ParseDer(certificates.front().raw)) {
    m_cache.erase(X509_subject_name_hash(parsed.get()));
  }
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor
