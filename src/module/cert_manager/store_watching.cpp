#include <set>
#include <string>
#include <string_view>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_manager/current_accounts.h"
#include "cert_manager/trace_texts.h"
#include "cert_manager/watch_constants.h"
#include "orv/check.h"
#include "orv/trace_stream.h"
#include "product/product_paths.h"
#include "qel/enums/file_modification_type.h"
#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

orv::types::string8_t ToString8(std::string_view text) {
  return orv::types::string8_t(text.data(), text.size());
}

}  // namespace

result_t CertificateManagerImpl::SubscribeToEvents() {
  const result_t logins = m_eventsProvider->Subscribe(this, product::kUtmpPath, kUtmpFlags);
  if (ORV_FAILED(ORV_TRACE_IF_FAILED_AS(GetTracer(), logins,
                                        cert_manager_texts::kSubscribeLoginsExpression))) {
    return logins;
  }
  // Directories that do not exist yet are in the list; the provider watches for them to appear.
  for (const cert_stores::NativePath& directory : cert_stores::GetWatchDirectories()) {
    ORV_TRACE(GetTracer(), kDetail) << "watch " << directory;
    const orv::types::string8_t path = ToString8(directory);
    const result_t result = m_eventsProvider->Subscribe(this, path, kWatchDirectoryFlags);
    if (ORV_FAILED(ORV_TRACE_IF_FAILED_AS(GetTracer(), result,
                                          cert_manager_texts::kSubscribeDirectoryExpression))) {
      return result;
    }
  }
  // Events may already arrive (the login records are watched), and a new database is appended to
  // the list under the lock: read it under the lock too.
  std::vector<cert_stores::NativePath> stores;
  {
    orv::MutexLock lock(m_storeMutex);
    for (const cert_stores::Nss3Storage& info : m_nss3Storages) {
      stores.push_back(info.path);
    }
  }
  stores.insert(stores.end(), m_opensslStorages.begin(), m_opensslStorages.end());
  stores.insert(stores.end(), m_javaKeystores.begin(), m_javaKeystores.end());
  for (const cert_stores::NativePath& store : stores) {
    ORV_TRACE(GetTracer(), kDetail) << "watch " << store;
    const result_t result = m_eventsProvider->Subscribe(this, ToString8(store), configFlags);
    if (ORV_FAILED(ORV_TRACE_IF_FAILED_AS(GetTracer(), result,
                                          cert_manager_texts::kSubscribeStoreExpression))) {
      return result;
    }
  }
  return orv::errors::kOk;
}

result_t CertificateManagerImpl::OnEvent(const InotifyEvent& event) {
  if (event.name.view() == std::string_view(product::kUtmpPath)) {
    return OnLoginsChanged(event);
  }
  const std::string path(event.name.view());
  orv::MutexLock lock(m_storeMutex);
  if (event.type == FileModificationType::ObjectCreated &&
      tools::LastPathComponent(path) == cert_stores::kNss3DatabaseName) {
    if (cert_stores::Nss3Storage storage;
        ORV_SUCCEEDED(cert_stores::MakeNss3Storage(path, storage))) {
      AdoptNss3Store(storage);
    }
  } else if (const cert_stores::Nss3Storage* pending = PendingStoreOf(path)) {
    // One of its files changed: maybe its creator is done now, or it is gone.
    const cert_stores::Nss3Storage storage = *pending;
    KnownStore& store = m_known[storage.path];
    if (!IsPresent(storage.path)) {
      ForgetNss3Store(storage.path);
    } else if (StampOf(storage.path, store.kind) != store.stamp) {
      GiveCertificates(storage, store);
    }
  }
  const auto known = m_known.find(path);
  if (known == m_known.end()) {
    return orv::errors::kOk;
  }
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kOnEvent << " event.name: " << event.name
                                  << ", event.type: " << event.type;
  KnownStore& store = known->second;
  if (store.pending) {
    return orv::errors::kOk;
  }
  if (store.kind == StoreKind::kNss3 && !IsPresent(path)) {
    ForgetNss3Store(path);
    Publish(true);
    return orv::errors::kOk;
  }
  if (store.kind == StoreKind::kNss3 && IsReplacement(event.type)) {
    // Deleted or moved, and a cert9.db is there again: a database made anew at the same path
    // before this event came, which is new to us however much its files look like the old ones.
    AdoptReplacedNss3Store(path);
    return orv::errors::kOk;
  }
  if (store.kind == StoreKind::kKeystore) {
    OnJavaKeystoreChanged(path);
  }
  RefreshStore(path, store);
  return orv::errors::kOk;
}

result_t CertificateManagerImpl::OnLoginsChanged(const InotifyEvent& event) {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kOnEvent << " event.name: " << event.name
                                  << ", event.type: " << event.type;
  std::set<std::string> newHomes;
  for (const QelUser& user : CurrentAccounts()) {
    if (m_userHomes.count(user.home) != 0) {
      continue;
    }
    newHomes.insert(user.home);
    ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kNewHomeLambda
                                    << ": user home directory '" << user.home << "' is added";
    // The lock is taken per store, not across the scan, so other store work is not held up by it.
    for (const cert_stores::Nss3Storage& storage : cert_stores::GetUserNss3Storages(user)) {
      orv::MutexLock lock(m_storeMutex);
      AdoptNss3Store(storage);
    }
  }
  for (const std::string& home : newHomes) {
    for (const cert_stores::NativePath& directory : cert_stores::GetWatchDirectories(home)) {
      if (ORV_FAILED(
              m_eventsProvider->Subscribe(this, ToString8(directory), kWatchDirectoryFlags))) {
        ORV_TRACE(GetTracer(), kWarning) << "Cannot subscribe to " << directory << " events";
      }
      ORV_TRACE(GetTracer(), kDetail)
          << cert_manager_texts::kOnEvent << ": path '" << directory << "' is subscribed";
    }
  }
  // Marked as done even when every subscription failed: a home is not tried again.
  m_userHomes.insert(newHomes.begin(), newHomes.end());
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor
