#include "support/local_https_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <sys/socket.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace tti::test {
namespace {

// Whether the failed handshake's errors hold the client's alert that it does not trust the
// certificate (unknown issuer, or a bad certificate). Empties the thread's error queue.
bool AlertedUntrusted() {
  bool untrusted = false;
  for (unsigned long error = ERR_get_error(); error != 0; error = ERR_get_error()) {
    const int reason = ERR_GET_REASON(error);
    untrusted = untrusted || reason == SSL_R_TLSV1_ALERT_UNKNOWN_CA ||
                reason == SSL_R_SSLV3_ALERT_BAD_CERTIFICATE;
  }
  return untrusted;
}

}  // namespace

LocalHttpsServer::LocalHttpsServer(const TestCertificate& certificate) {
  m_context.reset(SSL_CTX_new(TLS_server_method()));
  if (!m_context || SSL_CTX_use_certificate(m_context.get(), certificate.x509.get()) != 1 ||
      SSL_CTX_use_PrivateKey(m_context.get(), certificate.key.get()) != 1) {
    throw std::runtime_error("server certificate");
  }
  m_listener.Reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof(address);
  if (!m_listener ||
      ::bind(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      ::listen(m_listener.Get(), 8) != 0 ||
      ::getsockname(m_listener.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    throw std::runtime_error("listen on 127.0.0.1");
  }
  m_port = ntohs(address.sin_port);
  m_thread = std::thread([this] { Serve(); });
}

LocalHttpsServer::~LocalHttpsServer() {
  m_stopping = true;
  // Wakes the blocked accept(), which then fails.
  ::shutdown(m_listener.Get(), SHUT_RDWR);
  m_thread.join();
}

void LocalHttpsServer::Serve() {
  while (!m_stopping) {
    qel::tools::UniqueFd connection(::accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection) {
      if (m_stopping) {
        return;
      }
      continue;
    }
    const std::unique_ptr<SSL, void (*)(SSL*)> ssl(SSL_new(m_context.get()), SSL_free);
    ERR_clear_error();
    if (!ssl || SSL_set_fd(ssl.get(), connection.Get()) != 1 || SSL_accept(ssl.get()) != 1) {
      // A client that refuses the certificate ends here.
      if (AlertedUntrusted()) {
        ++m_refused;
      }
      continue;
    }
    std::string request;
    char buffer[1024];
    while (request.find("\r\n\r\n") == std::string::npos) {
      const int count = SSL_read(ssl.get(), buffer, sizeof(buffer));
      if (count <= 0) {
        break;
      }
      request.append(buffer, static_cast<size_t>(count));
    }
    const std::string response =
        "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nConnection: close\r\n\r\nok\n";
    if (SSL_write(ssl.get(), response.data(), static_cast<int>(response.size())) > 0) {
      ++m_served;
    }
    SSL_shutdown(ssl.get());  // the close notice
  }
}

}  // namespace tti::test
