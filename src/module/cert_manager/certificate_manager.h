#pragma once

#include "cert_manager/certificate_manager_impl.h"
#include "crypto/trusted_certificate_provider.h"
#include "orv/intrusive_ptr.h"
#include "orv/object_impl.h"
#include "orv/object_root.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"

namespace qel::tcp_traffic_interceptor {

// The host's certificate manager (class 0x1205b823): spreads the product's root certificate over
// every certificate store and answers the engine's parent lookups. All work is done by one
// CertificateManagerImpl, made in FinalConstruct; this object traces the entry lines and
// delegates. Threads: any host or engine thread; the worker's lock serialises them.
class CertificateManager : public crypto::ITrustedCertificateProvider,
                           public ICertificateManager,
                           public orv::StandardObjectRoot {
 public:
  using Interfaces = orv::InterfaceList<crypto::ITrustedCertificateProvider, ICertificateManager>;

  // Allocator, tracer and locator; readies OpenSSL's tables. The worker is made later.
  explicit CertificateManager(orv::IServiceLocator* locator);
  CertificateManager(const CertificateManager&) = delete;
  CertificateManager& operator=(const CertificateManager&) = delete;

  // Makes the worker (its constructor finds every store), loads the cache, subscribes to events.
  result_t FinalConstruct();
  // Ends every subscription of the worker: no event arrives after it.
  void FinalRelease();

  // crypto::ITrustedCertificateProvider
  result_t FindParentCertificates(
      app_ctrl::IProcess* process, const const_blob_range_t& certificate,
      orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) const override;

  // ICertificateManager
  result_t Install(const RawCert& cert) override;
  result_t Uninstall(const RawCert& cert) override;

 protected:
  ~CertificateManager() = default;

 private:
  orv::intrusive_ptr<CertificateManagerImpl> m_impl;
};

}  // namespace qel::tcp_traffic_interceptor
