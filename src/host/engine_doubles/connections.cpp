#include <utility>

#include "engine/connections.h"

namespace engine {

Certificate::Certificate(Der der, result_t getRawFailure)
    : m_der(std::move(der)), m_getRawFailure(getRawFailure) {}

result_t Certificate::GetRaw(orv::types::vector_t<unsigned char>& raw) {
  if (m_getRawFailure != 0) {
    return m_getRawFailure;
  }
  raw.clear();
  raw.reserve(m_der.size());
  for (const unsigned char byte : m_der) {
    raw.push_back(byte);
  }
  return orv::errors::kOk;
}

CertificateChain::CertificateChain(ChainBehaviour behaviour) : m_behaviour(std::move(behaviour)) {}

result_t CertificateChain::Reset() {
  m_position = 0;
  return orv::errors::kOk;
}

result_t CertificateChain::Next(ssl::ICertificate** certificate) {
  *certificate = nullptr;
  const size_t position = m_position.fetch_add(1);
  if (m_behaviour.failure != 0 && position == m_behaviour.failAt) {
    return m_behaviour.failure;
  }
  if (position >= m_behaviour.certificates.size()) {
    return orv::errors::kFalse;
  }
  *certificate = new Certificate(m_behaviour.certificates[position], m_behaviour.getRawFailure);
  return orv::errors::kOk;
}

SslConnection::SslConnection(SslConnectionData data) : m_data(std::move(data)) {}

result_t SslConnection::GetDomain(orv::types::string8_t& domain) {
  if (m_data.getDomainFailure != 0) {
    return m_data.getDomainFailure;
  }
  domain = orv::types::string8_t(m_data.domain);
  return orv::errors::kOk;
}

result_t SslConnection::GetServerCertificate(ssl::ICertificate** certificate) {
  *certificate = nullptr;
  if (m_data.getServerCertificateFailure != 0) {
    return m_data.getServerCertificateFailure;
  }
  *certificate = new Certificate(m_data.serverCertificate, m_data.serverGetRawFailure);
  return orv::errors::kOk;
}

result_t SslConnection::GetCertificateChain(ssl::ICertificateEnumerator** chain) {
  ++m_chainRequests;
  *chain = nullptr;
  if (m_data.getCertificateChainFailure != 0) {
    return m_data.getCertificateChainFailure;
  }
  *chain = new CertificateChain(m_data.chain);
  return orv::errors::kOk;
}

result_t SslConnection::GetVerificationResult(uint32_t& verificationResult) {
  if (m_data.getVerificationResultFailure != 0) {
    return m_data.getVerificationResultFailure;
  }
  verificationResult = m_data.verificationResult;
  return orv::errors::kOk;
}

TcpConnection::TcpConnection(uint32_t pid, result_t failure) : m_pid(pid), m_failure(failure) {}

result_t TcpConnection::GetClientInfo(traffic_monitor::ClientInfo& clientInfo) {
  if (m_failure != 0) {
    return m_failure;
  }
  clientInfo.pid = m_pid;
  return orv::errors::kOk;
}

}  // namespace engine
