#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/trace_texts.h"
#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

using cert_stores::Certificate;
constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

cert_stores::RawCert CopyBytes(const qel::RawCert& cert) {
  return cert_stores::RawCert(cert.begin(), cert.end());
}

}  // namespace

result_t CertificateManagerImpl::Install(const qel::RawCert& cert) {
  const cert_stores::RawCert der = CopyBytes(cert);
  // The name is drawn outside the lock.
  std::vector<Certificate> certificates{cert_stores::MakeCertificate(der)};

  orv::MutexLock lock(m_storeMutex);
  if (const result_t result = cert_stores::OpenSslStorage().AddCertificates(certificates);
      ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot add certificate to openssl storage: " << orv::trace::Result{result};
  }
  AddToJavaKeystores(certificates);
  AddRuntimeSettings(certificates);
  std::vector<std::string> gone;
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    KnownStore& store = m_known[storage.path];
    if (!IsPresent(storage.path)) {
      gone.push_back(storage.path);  // a profile deleted since: no helper run, no warning
      continue;
    }
    ORV_TRACE(GetTracer(), kDetail) << "Add cert to " << storage.path;
    const bool wasRead = !store.pending && m_parts.Holds(storage.path);
    const result_t result = AskToAdd(storage, store, certificates);
    if (result == cert_stores::kNss3DatabaseNotReady) {
      continue;  // its files are watched: it gets the root once its creator is done
    }
    if (ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning)
          << "Cannot add certificate to " << storage.path << ": " << orv::trace::Result{result};
    } else if (wasRead) {
      // What the store holds now is known without reading it: the events of this write cost a
      // stat each.
      m_parts.Add(storage.path, der);
      store.stamp = StampOf(storage.path, store.kind);
    } else {
      ReadStore(storage.path, store);
    }
  }
  for (const std::string& path : gone) {
    ForgetNss3Store(path);
  }
  // Only the last installed certificate goes into stores that turn up later.
  m_certificates.swap(certificates);
  m_installed = true;

  // The bundles and keystores written above are read once more now, not at each of their events.
  ReadChangedFileStores();
  // Published before returning: a lookup that starts after Install sees the root, even where no
  // store could take it (until the next read of a store).
  auto cache = m_parts.Build();
  if (const auto facts = cert_stores::CertificateParseCache::Shared().Get(der.data(), der.size());
      facts->parsed) {
    (*cache)[facts->subjectHash].insert(der);
  }
  PublishCache(std::move(cache));
  return orv::errors::kOk;
}

result_t CertificateManagerImpl::Uninstall(const qel::RawCert& cert) {
  // The stores match by the bytes: no name is needed.
  const std::vector<Certificate> certificates{Certificate{std::string(), CopyBytes(cert)}};
  const cert_stores::RawCert& der = certificates.front().raw;

  orv::MutexLock lock(m_storeMutex);
  const result_t openSslResult = cert_stores::OpenSslStorage().DeleteCertificates(certificates);
  if (ORV_FAILED(openSslResult)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot delete certificate from openssl storage: " << orv::trace::Result{openSslResult};
  }
  DeleteFromJavaKeystores(certificates);
  DeleteRuntimeSettings(certificates);
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    KnownStore& store = m_known[storage.path];
    if (store.pending) {
      continue;  // nothing was written into it
    }
    if (ORV_FAILED(cert_stores::Nss3Storage(storage).DeleteCertificatesFromStore(certificates))) {
      // The line carries the OpenSSL step's code, not this store's: kept as the product has it.
      ORV_TRACE(GetTracer(), kWarning) << cert_manager_texts::kNss3DeleteFailed << storage.path
                                       << ": " << orv::trace::Result{openSslResult};
      continue;
    }
    m_parts.Remove(storage.path, der);
    store.stamp = StampOf(storage.path, store.kind);
  }
  m_installed = false;
  // m_certificates stays: a store that turns up later still receives the removed certificate
  // until the next Install replaces the list.
  ReadChangedFileStores();
  // Every certificate with the root's subject leaves the lookups' cache until a store is read.
  auto cache = m_parts.Build();
  if (const auto facts = cert_stores::CertificateParseCache::Shared().Get(der.data(), der.size());
      facts->parsed) {
    cache->erase(facts->subjectHash);
  }
  PublishCache(std::move(cache));
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor
