#include "cert_manager/certificate_manager_impl.h"

#include <memory>

#include "cert_manager/current_accounts.h"
#include "cert_manager/trace_texts.h"
#include "cert_stores/java/keystore_discovery.h"
#include "cert_stores/openssl/store_discovery.h"
#include "orv/check.h"
#include "orv/service.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {
constexpr uint32_t kDetail = orv::trace_level::kDetail;
}  // namespace

CertificateManagerImpl::CertificateManagerImpl(orv::IServiceLocator* locator, orv::ITracer* tracer)
    : ServiceLocatorProvider(locator),
      TracerProvider(tracer),
      m_snapshot(std::make_shared<const Cache>()) {
  ORV_CHECK_RESULT(orv::GetInterface(GetServiceLocator(), m_certificatesProvider.Ref()),
                   cert_manager_texts::kNoTrustedCertificatesProvider);
  ORV_CHECK_RESULT(orv::GetInterface(GetServiceLocator(), m_eventsProvider.Ref()),
                   cert_manager_texts::kNoInotifyEventsProvider);

  ORV_TRACE(GetTracer(), kDetail) << "try to find all nss3 storages";
  m_nss3Storages = cert_stores::GetNss3Storages();
  ORV_TRACE(GetTracer(), kDetail) << "found " << m_nss3Storages.size() << " nss3 storages";

  ORV_TRACE(GetTracer(), kDetail) << "try to find all openssl storages";
  m_opensslStorages = cert_stores::GetBundleFiles();
  ORV_TRACE(GetTracer(), kDetail) << "found " << m_opensslStorages.size() << " openssl storages";

  m_javaKeystores = cert_stores::GetKeystoreFiles();
  // Said only where there are any: a machine without Java keeps the lines it always had.
  if (!m_javaKeystores.empty()) {
    ORV_TRACE(GetTracer(), kDetail) << "found " << m_javaKeystores.size() << " java keystores";
  }
  for (const cert_stores::NativePath& path : m_opensslStorages) {
    m_known[path].kind = StoreKind::kBundle;
  }
  for (const cert_stores::Nss3Storage& storage : m_nss3Storages) {
    m_known[storage.path].kind = StoreKind::kNss3;
  }
  for (const cert_stores::NativePath& path : m_javaKeystores) {
    m_known[path].kind = StoreKind::kKeystore;
  }

  // Accounts that exist now are known: only homes that turn up later count as new.
  for (const QelUser& user : CurrentAccounts()) {
    m_userHomes.insert(user.home);
  }
}

CertificateManagerImpl::~CertificateManagerImpl() = default;

result_t CertificateManagerImpl::GetName(orv::types::string8_t& name) {
  name = "CertificateManager";
  return orv::errors::kOk;
}

}  // namespace qel::tcp_traffic_interceptor
