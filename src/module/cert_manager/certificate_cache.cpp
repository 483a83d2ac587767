#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/certificate_names.h"
#include "cert_manager/trace_texts.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "cert_stores/parse_cache/certificate_parse_cache.h"
#include "orv/string.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

}  // namespace

result_t CertificateManagerImpl::LoadCertificates() {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kLoadCertificates;
  orv::MutexLock lock(m_storeMutex);
  std::vector<std::string> order(m_opensslStorages.begin(), m_opensslStorages.end());
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    order.push_back(storage.path);
  }
  order.insert(order.end(), m_javaKeystores.begin(), m_javaKeystores.end());
  size_t count = 0;
  for (const std::string& path : order) {
    if (KnownStore& store = m_known[path]; !store.pending) {
      count += ReadStore(path, store);
    }
  }
  ORV_TRACE(GetTracer(), kDetail) << "certificate list size: " << count;
  for (const std::string& path : order) {
    TraceAdded(m_parts.Part(path));
  }
  Publish(true);
  return orv::errors::kOk;
}

StoreStamp CertificateManagerImpl::StampOf(const std::string& path, StoreKind kind) {
  if (kind != StoreKind::kNss3) {
    return StoreStamp{ReadFileStamp(path), std::nullopt};
  }
  return StoreStamp{ReadFileStamp(DatabaseFile(path, cert_stores::kNss3DatabaseName)),
                    ReadFileStamp(DatabaseFile(path, "key4.db"))};
}

size_t CertificateManagerImpl::ReadStore(const std::string& path, KnownStore& store) {
  // Taken first: a write during the read shows as a change at the next event.
  store.stamp = StampOf(path, store.kind);
  std::vector<RawCert> read;
  switch (store.kind) {
    case StoreKind::kBundle:
      if (const result_t result = cert_stores::OpenSslStorage().ReadBundle(path, read);
          ORV_FAILED(result)) {
        ORV_TRACE(GetTracer(), kWarning)
            << cert_manager_texts::kOpensslReadFailed << orv::trace::Result{result};
        read.clear();
        break;
      }
      ORV_TRACE(GetTracer(), kDetail)
          << "Loaded " << read.size() << " from '" << path << "' openssl storage";
      break;
    case StoreKind::kNss3:
      if (const result_t result = cert_stores::Nss3Storage{path}.GetCertificates(read);
          ORV_FAILED(result)) {
        ORV_TRACE(GetTracer(), kWarning)
            << cert_manager_texts::kNss3ReadFailed << orv::trace::Result{result};
        read.clear();
        break;
      }
      ORV_TRACE(GetTracer(), kDetail)
          << "Loaded " << read.size() << " from '" << path << "' NSS3 storage";
      break;
    case StoreKind::kKeystore:
      if (ORV_FAILED(ReadJavaKeystore(path, read))) {
        read.clear();
      }
      break;
  }
  m_parts.Replace(path, read);
  return read.size();
}

bool CertificateManagerImpl::RefreshStore(const std::string& path, KnownStore& store) {
  if (StampOf(path, store.kind) == store.stamp) {
    return false;  // the same files as at the last read or write: one stat per file
  }
  ReadStore(path, store);
  TraceAdded(m_parts.Part(path));
  Publish(true);
  return true;
}

void CertificateManagerImpl::ReadChangedFileStores() {
  for (auto& [path, store] : m_known) {
    if (store.kind != StoreKind::kNss3 && StampOf(path, store.kind) != store.stamp) {
      ReadStore(path, store);
    }
  }
}

void CertificateManagerImpl::Publish(bool trace) {
  std::shared_ptr<const Cache> cache = m_parts.Build();
  if (trace) {
    ORV_TRACE(GetTracer(), kDetail) << "cache size " << cache->size();
  }
  PublishCache(std::move(cache));
}

void CertificateManagerImpl::PublishCache(std::shared_ptr<const Cache> cache) {
  m_retired.push_back(std::atomic_exchange(&m_snapshot, std::move(cache)));
  // A lookup that still holds a former cache only lets go of it: it never frees a whole cache
  // (thousands of frees into the store thread's heap). A retired cache that only this list holds
  // can no longer be found and goes now, on the store thread's time.
  m_retired.erase(std::remove_if(m_retired.begin(), m_retired.end(),
                                 [](const std::shared_ptr<const Cache>& retired) {
                                   return retired.use_count() == 1;
                                 }),
                  m_retired.end());
}

void CertificateManagerImpl::TraceAdded(
    const std::vector<StoreCertificates::Entry>& entries) const {
  for (const StoreCertificates::Entry& entry : entries) {
    if (orv::TraceScope line(GetTracer(), kDetail); line) {
      line.stream() << "add ";
      StreamNames(line.stream(), entry.facts->subjectLine, entry.facts->issuerLine,
                  entry.facts->subjectHash);
    }
  }
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
  return CollectParents(hash, *facts->issuerText, parents);
}

}  // namespace qel::tcp_traffic_interceptor
