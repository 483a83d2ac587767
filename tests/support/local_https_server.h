#pragma once

#include <openssl/ssl.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>

#include "qel/tools/unique_fd.h"
#include "support/cert_factory.h"

namespace tti::test {

// An HTTPS server on 127.0.0.1 and an ephemeral port that answers every request with "ok" and
// ends each connection with a TLS close notice. The destructor stops and joins it.
class LocalHttpsServer final {
 public:
  LocalHttpsServer(const TestCertificate& certificate);
  LocalHttpsServer(const LocalHttpsServer&) = delete;
  LocalHttpsServer& operator=(const LocalHttpsServer&) = delete;
  ~LocalHttpsServer();

  int Port() const noexcept { return m_port; }
  // Requests answered: a client only sends one once it trusts the certificate.
  size_t Served() const noexcept { return m_served; }
  // Handshakes the client broke off with an alert that it does not trust the certificate.
  size_t Refused() const noexcept { return m_refused; }

 private:
  void Serve();

  std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> m_context{nullptr, SSL_CTX_free};
  qel::tools::UniqueFd m_listener;
  int m_port = 0;
  std::atomic<bool> m_stopping{false};
  std::atomic<size_t> m_served{0};
  std::atomic<size_t> m_refused{0};
  std::thread m_thread;
};

}  // namespace tti::test
