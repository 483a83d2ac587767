#include "cert_manager/certificate_manager.h"

#include <openssl/crypto.h>

#include "cert_manager/trace_texts.h"
#include "orv/check.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {
constexpr uint32_t kDetail = orv::trace_level::kDetail;
}  // namespace

CertificateManager::CertificateManager(orv::IServiceLocator* locator) : ObjectRootEx(locator) {
  // All ciphers and digests, then the error texts. OpenSSL 3 loads the BIO texts with the latter.
  OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr);
  OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
}

result_t CertificateManager::FinalConstruct() {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kFinalConstruct;
  // A former worker is released by the assignment.
  m_impl = orv::intrusive_ptr<CertificateManagerImpl>::Attach(
      CertificateManagerImplObject::Create(GetServiceLocator(), GetTracer()).Detach());
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), m_impl->LoadCertificates())
                              << "Cannot load certificates";
      ORV_FAILED(result)) {
    return result;
  }
  if (const result_t result = ORV_TRACE_IF_FAILED(GetTracer(), m_impl->SubscribeToEvents());
      ORV_FAILED(result)) {
    return result;
  }
  return orv::errors::kOk;
}

void CertificateManager::FinalRelease() {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kFinalRelease;
  if (m_impl) {
    m_impl->GetEventsProvider()->Unsubscribe(m_impl.get());
  }
}

result_t CertificateManager::FindParentCertificates(
    app_ctrl::IProcess* /*process*/, const const_blob_range_t& certificate,
    orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) const {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kFindParentCertificates;
  return m_impl->FindParentCertificates(certificate, parents);
}

result_t CertificateManager::Install(const RawCert& cert) {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kInstall;
  return m_impl->Install(cert);
}

result_t CertificateManager::Uninstall(const RawCert& cert) {
  ORV_TRACE(GetTracer(), kDetail) << cert_manager_texts::kUninstall;
  return m_impl->Uninstall(cert);
}

}  // namespace qel::tcp_traffic_interceptor
