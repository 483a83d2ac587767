#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cert_manager/store_certificates.h"
#include "cert_manager/store_stamp.h"
#include "cert_stores/conversions/certificate.h"
#include "cert_stores/nss/nss3_storage.h"
#include "orv/blob_range.h"
#include "orv/intrusive_ptr.h"
#include "orv/mutex.h"
#include "orv/object_impl_v2.h"
#include "orv/object_root.h"
#include "orv/vector.h"
#include "qel/inotify_events.h"
#include "qel/raw_cert.h"
#include "qel/trusted_certificates_provider.h"

namespace qel::tcp_traffic_interceptor {

// The worker of CertificateManager: knows every certificate store of the machine and of its users,
// puts the root certificate into them and takes it out again, keeps a cache of all trusted
// certificates keyed by subject name hash for the engine's parent lookup, and receives the host's
// file events for the login records, the users' watch directories and the known stores.
//
// The cache is kept per store (StoreCertificates): an event re-reads only the store it names, and
// only when the store's files are not the same as at its last read or our own last write
// (StoreStamp). Lookups read `m_snapshot`, an immutable cache published whole (PublishCache)
// when a read, an Install or an Uninstall is done, and never take a lock of this class.
//
// Threads: Install, Uninstall and FindParentCertificates on any host or engine thread; OnEvent on
// the provider's thread, one event at a time. `m_storeMutex` (plain) serialises all store work:
// it guards the fields marked so and is held across store reads, writes and helper runs.
// m_userHomes is used without it (the constructor, the subscription and single-file event
// delivery never overlap); m_opensslStorages and m_javaKeystores never change after construction.
//
// Lives in orv::detail::ObjectImpl<CertificateManagerImpl, orv::abi_v2_allocator,
// orv::detail::ObjectLifetimeBase>: malloc'd, one module count while alive.
class CertificateManagerImpl : public orv::object::Ifaces<IInotifyEventsReceiver>,
                               public orv::ServiceLocatorProvider,
                               public orv::TracerProvider {
 public:
  using RawCert = cert_stores::RawCert;
  using Cache = StoreCertificates::Cache;

  // Fetches both providers (orv::CheckResultFailedException when one is missing), finds all stores
  // and takes note of the homes of the accounts that exist now.
  CertificateManagerImpl(orv::IServiceLocator* locator, orv::ITracer* tracer);
  CertificateManagerImpl(const CertificateManagerImpl&) = delete;
  CertificateManagerImpl& operator=(const CertificateManagerImpl&) = delete;

  // Installer (root_installer.cpp). Best effort store by store; always 0. The cache that the
  // lookups see holds the root before Install returns.
  result_t Install(const qel::RawCert& cert) ORV_EXCLUDES(m_storeMutex);
  result_t Uninstall(const qel::RawCert& cert) ORV_EXCLUDES(m_storeMutex);

  // Cache and lookup (certificate_cache.cpp).
  // Reads every known store and publishes the cache; always 0.
  result_t LoadCertificates() ORV_EXCLUDES(m_storeMutex);
  // 0 with candidates, 1 with `parents` emptied, 0x80000046 when `certificate` is not DER. Never
  // waits for store work.
  result_t FindParentCertificates(
      const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);

  // Watching (store_watching.cpp).
  // The login records, every watch directory, every known store; stops at the first failure.
  result_t SubscribeToEvents() ORV_EXCLUDES(m_storeMutex);

  // IInotifyEventsReceiver
  result_t OnEvent(const InotifyEvent& event) override ORV_EXCLUDES(m_storeMutex);
  result_t GetName(orv::types::string8_t& name) override;

  IInotifyEventsProvider* GetEventsProvider() const noexcept { return m_eventsProvider.get(); }

 protected:
  ~CertificateManagerImpl();

 private:
  enum class StoreKind { kBundle, kNss3, kKeystore };
  // A store as the cache knows it. A pending database is one whose creator is not done with it:
  // it is not read, and it gets the root on the next event of its files.
  struct KnownStore {
    StoreKind kind = StoreKind::kBundle;
    StoreStamp stamp;  // at the last read, our own last write, or the last ask of a pending one
    bool pending = false;
  };

  // Cache (certificate_cache.cpp).
  // The store's files now.
  static StoreStamp StampOf(const std::string& path, StoreKind kind);
  // Reads the store into its part (a failure: a level 500 line and an empty part) and takes its
  // stamp; the number of certificates read.
  size_t ReadStore(const std::string& path, KnownStore& store) ORV_REQUIRES(m_storeMutex);
  // Reads the store again when its files changed since; then "add" lines, "cache size" and the
  // cache published. Whether it was read.
  bool RefreshStore(const std::string& path, KnownStore& store) ORV_REQUIRES(m_storeMutex);
  // Reads again each bundle and keystore whose files changed since its last read (after our own
  // rewrite of them: once, not at each of its events).
  void ReadChangedFileStores() ORV_REQUIRES(m_storeMutex);
  // The parts' cache becomes the lookups' one; "cache size" when `trace`.
  void Publish(bool trace) ORV_REQUIRES(m_storeMutex);
  // Makes `cache` the lookups' cache and frees the former ones no lookup holds any more.
  void PublishCache(std::shared_ptr<const Cache> cache) ORV_REQUIRES(m_storeMutex);
  // The "add ..." line of each entry.
  void TraceAdded(const std::vector<StoreCertificates::Entry>& entries) const;
  // The lookup's last step: the provider's candidates for the issuer text, then the snapshot's
  // set of `hash`. No lock is held.
  result_t CollectParents(uint64_t hash, const std::string& issuerText,
                          orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);
  // FindParentCertificates for bytes whose facts cannot serve: parsed again, as plain as ever.
  result_t FindParentCertificatesOfParsed(
      const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);

  // NSS databases found later (nss3_databases.cpp).
  // A database found by an event or a login: known once; given m_certificates (unless it is the
  // same as at its last read or write), read, and published. A database whose creator is not done
  // becomes pending.
  void AdoptNss3Store(const cert_stores::Nss3Storage& storage) ORV_REQUIRES(m_storeMutex);
  // Gives the store m_certificates, reads and publishes it, unless it is pending.
  void GiveCertificates(const cert_stores::Nss3Storage& storage, KnownStore& store)
      ORV_REQUIRES(m_storeMutex);
  // AddCertificatesToStore of `list`. A database that is not ready has its files subscribed and is
  // asked once more; still not ready, it is pending (stamp of that ask, no part).
  result_t AskToAdd(const cert_stores::Nss3Storage& storage, KnownStore& store,
                    const std::vector<cert_stores::Certificate>& list) ORV_REQUIRES(m_storeMutex);
  // The pending database whose cert9.db or key4.db is `path`, or null.
  const cert_stores::Nss3Storage* PendingStoreOf(const std::string& path) const
      ORV_REQUIRES(m_storeMutex);
  // Whether the database's cert9.db is there.
  static bool IsPresent(const std::string& path);
  // Whether an event of this type means the file was deleted or moved, so that a file at the same
  // path afterwards is another one.
  static bool IsReplacement(uint32_t eventType);
  // The known database at `path` was replaced by another one: forgotten, then adopted as new.
  void AdoptReplacedNss3Store(const std::string& path) ORV_REQUIRES(m_storeMutex);
  // The database is gone: out of the list, the known stores and the parts (not yet published).
  void ForgetNss3Store(const std::string& path) ORV_REQUIRES(m_storeMutex);
  // Subscribes the database's cert9.db and key4.db (once per database).
  void SubscribeDatabaseFiles(const cert_stores::Nss3Storage& storage) ORV_REQUIRES(m_storeMutex);

  // Watching (store_watching.cpp): the login-records branch of OnEvent.
  result_t OnLoginsChanged(const InotifyEvent& event) ORV_EXCLUDES(m_storeMutex);

  // Java keystores (java_keystores.cpp).
  void AddToJavaKeystores(const std::vector<cert_stores::Certificate>& certificates)
      ORV_REQUIRES(m_storeMutex);
  void DeleteFromJavaKeystores(const std::vector<cert_stores::Certificate>& certificates)
      ORV_REQUIRES(m_storeMutex);
  // One keystore's certificates; a failure is a level 500 line.
  result_t ReadJavaKeystore(const std::string& path, std::vector<RawCert>& certificates) const;
  // A known keystore changed: if a root is installed it gets it back (a package update of the CA
  // set rewrites the keystore without it).
  void OnJavaKeystoreChanged(const std::string& path) ORV_REQUIRES(m_storeMutex);

  // Runtime trust settings (runtime_trust.cpp): written after the keystores, so that they point
  // at a bundle that holds the root; each file that fails is a level 500 line.
  void AddRuntimeSettings(const std::vector<cert_stores::Certificate>& certificates)
      ORV_REQUIRES(m_storeMutex);
  void DeleteRuntimeSettings(const std::vector<cert_stores::Certificate>& certificates)
      ORV_REQUIRES(m_storeMutex);

  orv::Mutex m_storeMutex;
  std::vector<cert_stores::Certificate> m_certificates ORV_GUARDED_BY(m_storeMutex);
  bool m_installed ORV_GUARDED_BY(m_storeMutex) = false;  // Install ran and no Uninstall since
  StoreCertificates m_parts ORV_GUARDED_BY(m_storeMutex);
  std::map<std::string, KnownStore> m_known ORV_GUARDED_BY(m_storeMutex);  // every store, by path
  std::set<std::string> m_subscribedDatabases ORV_GUARDED_BY(m_storeMutex);
  // The lookups' cache: read with std::atomic_load, replaced by PublishCache, never changed.
  std::shared_ptr<const Cache> m_snapshot;
  // Former caches that a lookup may still hold; freed by PublishCache.
  std::vector<std::shared_ptr<const Cache>> m_retired ORV_GUARDED_BY(m_storeMutex);
  std::set<std::string> m_userHomes;  // no lock, see above
  // Known NSS databases in the order they were found, each once.
  std::vector<cert_stores::Nss3Storage> m_nss3Storages ORV_GUARDED_BY(m_storeMutex);
  std::vector<cert_stores::NativePath> m_opensslStorages;  // constant after construction
  std::vector<cert_stores::NativePath> m_javaKeystores;    // constant after construction
  orv::intrusive_ptr<ITrustedCertificatesProvider> m_certificatesProvider;
  orv::intrusive_ptr<IInotifyEventsProvider> m_eventsProvider;
};

using CertificateManagerImplObject =
    orv::detail::ObjectImpl<CertificateManagerImpl, orv::abi_v2_allocator,
                            orv::detail::ObjectLifetimeBase>;

}  // namespace qel::tcp_traffic_interceptor
