#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "cert_manager/recursive_mutex.h"
#include "cert_stores/conversions/certificate.h"
#include "cert_stores/nss/nss3_storage.h"
#include "orv/blob_range.h"
#include "orv/intrusive_ptr.h"
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
// Threads: Install, Uninstall and FindParentCertificates on any host or engine thread; OnEvent on
// the provider's thread, one event at a time. `m_mutex` (recursive) is the only lock: it guards
// m_certificates, m_installed, m_cache and m_nss3Storages and is held across store work and helper
// runs. m_userHomes is used without it (the constructor, the subscription and single-file event
// delivery never overlap); m_opensslStorages and m_javaKeystores never change after construction.
//
// Lives in orv::detail::ObjectImpl<CertificateManagerImpl, orv::abi_v2_allocator,
// orv::detail::ObjectLifetimeBase>: malloc'd, one module count while alive.
class CertificateManagerImpl : public orv::object::Ifaces<IInotifyEventsReceiver>,
                               public orv::ServiceLocatorProvider,
                               public orv::TracerProvider {
 public:
  using RawCert = cert_stores::RawCert;
  using Cache = std::map<uint64_t, std::set<RawCert>>;

  // Fetches both providers (orv::CheckResultFailedException when one is missing), finds all stores
  // and takes note of the homes of the accounts that exist now.
  CertificateManagerImpl(orv::IServiceLocator* locator, orv::ITracer* tracer);
  CertificateManagerImpl(const CertificateManagerImpl&) = delete;
  CertificateManagerImpl& operator=(const CertificateManagerImpl&) = delete;

  // Installer (root_installer.cpp). Best effort store by store; always 0.
  result_t Install(const qel::RawCert& cert);
  result_t Uninstall(const qel::RawCert& cert);

  // Cache and lookup (certificate_cache.cpp).
  // Rebuilds m_cache from every known store; always 0.
  result_t LoadCertificates();
  // 0 with candidates, 1 with `parents` emptied, 0x80000046 when `certificate` is not DER.
  result_t FindParentCertificates(
      const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);

  // Watching (store_watching.cpp).
  // The login records, every watch directory, every known store; stops at the first failure.
  result_t SubscribeToEvents();

  // IInotifyEventsReceiver
  result_t OnEvent(const InotifyEvent& event) override;
  result_t GetName(orv::types::string8_t& name) override;

  IInotifyEventsProvider* GetEventsProvider() const noexcept { return m_eventsProvider.get(); }

 protected:
  ~CertificateManagerImpl();

 private:
  // Under m_mutex: gives `storage` a copy of m_certificates and appends it to m_nss3Storages, even
  // when the store refused.
  void AddCertificatesToNewStore(const cert_stores::Nss3Storage& storage);
  // FindParentCertificates for bytes whose facts cannot serve: parsed again, as plain as ever.
  result_t FindParentCertificatesOfParsed(
      const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);
  // Under m_mutex: the provider's candidates for the issuer text, then m_cache's set of `hash`.
  result_t CollectParents(uint64_t hash, const std::string& issuerText,
                          orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents);
  // The login-records branch of OnEvent.
  result_t OnLoginsChanged(const InotifyEvent& event);

  // Java keystores (java_keystores.cpp), each under m_mutex.
  void AddToJavaKeystores(const std::vector<cert_stores::Certificate>& certificates);
  void DeleteFromJavaKeystores(const std::vector<cert_stores::Certificate>& certificates);
  void ReadJavaKeystores(std::vector<RawCert>& certificates);
  // Whether `path` is a known keystore; if so, and a root is installed, it gets the root back
  // (a package update of the CA set rewrites the keystore without it).
  bool OnJavaKeystoreChanged(const std::string& path);

  RecursiveMutex m_mutex;
  std::vector<cert_stores::Certificate> m_certificates;  // guarded by m_mutex
  bool m_installed = false;           // guarded by m_mutex: Install ran and no Uninstall since
  Cache m_cache;                      // guarded by m_mutex
  std::set<std::string> m_userHomes;  // no lock, see above
  std::vector<cert_stores::Nss3Storage> m_nss3Storages;    // guarded by m_mutex
  std::vector<cert_stores::NativePath> m_opensslStorages;  // constant after construction
  std::vector<cert_stores::NativePath> m_javaKeystores;    // constant after construction
  orv::intrusive_ptr<ITrustedCertificatesProvider> m_certificatesProvider;
  orv::intrusive_ptr<IInotifyEventsProvider> m_eventsProvider;
};

using CertificateManagerImplObject =
    orv::detail::ObjectImpl<CertificateManagerImpl, orv::abi_v2_allocator,
                            orv::detail::ObjectLifetimeBase>;

}  // namespace qel::tcp_traffic_interceptor
