#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "component/traffic_processing/protocollers/ssl/connection_info.h"
#include "component/traffic_processing/traffic_monitor/connection_info.h"
#include "engine/engine_object.h"
#include "orv/intrusive_ptr.h"

// The engine's connection objects as the invalid certificate handler meets them, built from plain
// data, each call with a failure switch (0: answer). Objects are immutable after construction and
// may be called from any number of threads at once.
namespace engine {

namespace ssl = ::traffic_processing::protocollers::ssl;
namespace traffic_monitor = ::traffic_processing::traffic_monitor;

using Der = std::vector<unsigned char>;

// One certificate: GetRaw gives `der` or `getRawFailure`.
class Certificate final : public EngineObject<ssl::ICertificate> {
 public:
  explicit Certificate(Der der, result_t getRawFailure = 0);
  result_t GetRaw(orv::types::vector_t<unsigned char>& raw) override;

 private:
  const Der m_der;
  const result_t m_getRawFailure;
};

// What a chain enumerator does: its certificates, then 1 ("False") after the last, or
// `failure` in place of the certificate at `failAt` (0: fails at once).
struct ChainBehaviour {
  std::vector<Der> certificates;
  result_t failure = 0;  // 0: no failure
  size_t failAt = 0;
  result_t getRawFailure = 0;  // every certificate's GetRaw answers this (0: the bytes)
};

class CertificateChain final : public EngineObject<ssl::ICertificateEnumerator> {
 public:
  explicit CertificateChain(ChainBehaviour behaviour);
  result_t Reset() override;
  result_t Next(ssl::ICertificate** certificate) override;

 private:
  const ChainBehaviour m_behaviour;
  std::atomic<size_t> m_position{0};
};

// The encrypted connection: domain, verification result, server certificate and chain.
struct SslConnectionData {
  std::string domain;
  uint32_t verificationResult = 0;
  Der serverCertificate;
  ChainBehaviour chain;
  // Failure switches of the four calls (0: answer) and of the server certificate's GetRaw.
  result_t getDomainFailure = 0;
  result_t getServerCertificateFailure = 0;
  result_t getCertificateChainFailure = 0;
  result_t getVerificationResultFailure = 0;
  result_t serverGetRawFailure = 0;
};

class SslConnection final : public EngineObject<ssl::IConnectionInfo> {
 public:
  explicit SslConnection(SslConnectionData data);
  result_t GetDomain(orv::types::string8_t& domain) override;
  result_t GetServerCertificate(ssl::ICertificate** certificate) override;
  result_t GetCertificateChain(ssl::ICertificateEnumerator** chain) override;
  result_t GetVerificationResult(uint32_t& verificationResult) override;

  // Calls of GetCertificateChain so far: a test sees whether the handler walked the chain.
  uint64_t chainRequests() const noexcept { return m_chainRequests.load(); }

 private:
  const SslConnectionData m_data;
  std::atomic<uint64_t> m_chainRequests{0};
};

// The TCP connection: the client's process id, or `failure`.
class TcpConnection final : public EngineObject<traffic_monitor::IConnectionInfo> {
 public:
  explicit TcpConnection(uint32_t pid, result_t failure = 0);
  result_t GetClientInfo(traffic_monitor::ClientInfo& clientInfo) override;

 private:
  const uint32_t m_pid;
  const result_t m_failure;
};

// A new object with one reference, owned by the returned pointer.
template <class T, class... Args>
orv::intrusive_ptr<T> Make(Args&&... args) {
  return orv::intrusive_ptr<T>::Attach(new T(std::forward<Args>(args)...));
}

}  // namespace engine
