// NSS databases that turn up after the start (a login, a created cert9.db) and those whose creator
// is not done with them yet: each is known once, given the root, read and published; a pending
// one is asked again at the next event of its files; a gone one is forgotten.
#include <algorithm>
#include <string>
#include <vector>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/watch_constants.h"
#include "orv/string.h"
#include "orv/trace_stream.h"
#include "qel/enums/file_modification_type.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;
constexpr const char* kKeyDatabaseName = "key4.db";

}  // namespace

void CertificateManagerImpl::AdoptNss3Store(const cert_stores::Nss3Storage& storage) {
  const auto [known, added] = m_known.try_emplace(storage.path);
  KnownStore& store = known->second;
  if (added) {
    store.kind = StoreKind::kNss3;
    m_nss3Storages.push_back(storage);
  } else if (StampOf(storage.path, store.kind) == store.stamp) {
    return;  // the same files as at the last read, write or ask: an event reported twice
  }
  ORV_TRACE(GetTracer(), kDetail) << "Add cert to " << storage.path;
  GiveCertificates(storage, store);
}

void CertificateManagerImpl::GiveCertificates(const cert_stores::Nss3Storage& storage,
                                              KnownStore& store) {
  if (const result_t result = AskToAdd(storage, store, m_certificates); ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning) << "Cannot add certificates to " << storage.path;
  } else if (result == cert_stores::kNss3DatabaseNotReady) {
    return;
  }
  ReadStore(storage.path, store);
  TraceAdded(m_parts.Part(storage.path));
  Publish(true);
}

result_t CertificateManagerImpl::AskToAdd(const cert_stores::Nss3Storage& storage,
                                          KnownStore& store,
                                          const std::vector<cert_stores::Certificate>& list) {
  std::vector<cert_stores::Certificate> copy = list;
  result_t result = cert_stores::Nss3Storage(storage).AddCertificatesToStore(copy);
  if (result == cert_stores::kNss3DatabaseNotReady) {
    // Watched before it is asked again: its creator's last write cannot slip between the two.
    SubscribeDatabaseFiles(storage);
    store.stamp = StampOf(storage.path, store.kind);
    copy = list;
    result = cert_stores::Nss3Storage(storage).AddCertificatesToStore(copy);
  }
  store.pending = result == cert_stores::kNss3DatabaseNotReady;
  if (store.pending) {
    ORV_TRACE(GetTracer(), kDetail) << "Wait for the creator of " << storage.path;
    m_parts.Forget(storage.path);
  }
  return result;
}

const cert_stores::Nss3Storage* CertificateManagerImpl::PendingStoreOf(
    const std::string& path) const {
  const std::string name = tools::LastPathComponent(path);
  if (name != cert_stores::kNss3DatabaseName && name != kKeyDatabaseName) {
    return nullptr;
  }
  // A user's database is known by its cert9.db, the system one by its directory.
  for (const std::string& candidate :
       {DatabaseFile(path, cert_stores::kNss3DatabaseName), DatabaseFile(path, "")}) {
    if (const auto known = m_known.find(candidate);
        known != m_known.end() && known->second.pending) {
      const auto storage = std::find_if(
          m_nss3Storages.begin(), m_nss3Storages.end(),
          [&](const cert_stores::Nss3Storage& item) { return item.path == candidate; });
      return storage == m_nss3Storages.end() ? nullptr : &*storage;
    }
  }
  return nullptr;
}

bool CertificateManagerImpl::IsReplacement(uint32_t eventType) {
  return eventType == FileModificationType::ObjectDeleted ||
         eventType == FileModificationType::ObjectMovedFrom ||
         eventType == FileModificationType::ObjectMovedTo;
}

void CertificateManagerImpl::AdoptReplacedNss3Store(const std::string& path) {
  const auto found =
      std::find_if(m_nss3Storages.begin(), m_nss3Storages.end(),
                   [&](const cert_stores::Nss3Storage& item) { return item.path == path; });
  if (found == m_nss3Storages.end()) {
    return;
  }
  const cert_stores::Nss3Storage storage = *found;
  ForgetNss3Store(path);
  AdoptNss3Store(storage);
  if (m_known[path].pending) {
    Publish(true);  // the old database's part is gone and the new one has none yet
  }
}

void CertificateManagerImpl::ForgetNss3Store(const std::string& path) {
  m_known.erase(path);
  m_parts.Forget(path);
  m_nss3Storages.erase(
      std::remove_if(m_nss3Storages.begin(), m_nss3Storages.end(),
                     [&](const cert_stores::Nss3Storage& item) { return item.path == path; }),
      m_nss3Storages.end());
  ORV_TRACE(GetTracer(), kDetail) << "Forget " << path;
}

bool CertificateManagerImpl::IsPresent(const std::string& path) {
  return ReadFileStamp(DatabaseFile(path, cert_stores::kNss3DatabaseName)).has_value();
}

void CertificateManagerImpl::SubscribeDatabaseFiles(const cert_stores::Nss3Storage& storage) {
  if (!m_subscribedDatabases.insert(storage.path).second) {
    return;
  }
  for (const char* name : {cert_stores::kNss3DatabaseName, kKeyDatabaseName}) {
    const std::string file = DatabaseFile(storage.path, name);
    if (ORV_FAILED(m_eventsProvider->Subscribe(
            this, orv::types::string8_t(file.data(), file.size()), configFlags))) {
      ORV_TRACE(GetTracer(), kWarning) << "Cannot subscribe to " << file << " events";
    }
  }
}

}  // namespace qel::tcp_traffic_interceptor
