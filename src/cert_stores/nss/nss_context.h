#pragma once

#include <nss.h>

#include <string>

namespace qel::tcp_traffic_interceptor::cert_stores {

// The directory of a store path: the text up to the last "/", that "/" kept only when it is the
// first character. "/etc/pki/nssdb/" gives "/etc/pki/nssdb", the path of a "cert9.db" the
// directory that holds it, a path without "/" an empty text.
std::string DatabaseDirectory(const std::string& storePath);
// "sql:" and the directory: the name under which NSS opens the database of a store path.
std::string NssDatabaseName(const std::string& storePath);

// A scoped NSS context on one database: NSS_InitContext in the constructor, NSS_ShutdownContext
// in the destructor. The module opens read-only; the cert-manager helper opens for writing.
// Always with NSS_INIT_NOMODDB: the module list "pkcs11.txt" lies in the user's directory, and
// every "library=" line of it would be loaded into this process.
// Called on any thread; NSS may hold other contexts of the same process at the same time.
class NssContext final {
 public:
  // Throws std::runtime_error "Cannot init <storePath>" when NSS does not open the database.
  NssContext(const std::string& storePath, bool readOnly);
  NssContext(const NssContext&) = delete;
  NssContext& operator=(const NssContext&) = delete;
  ~NssContext();

 private:
  NSSInitContext* m_context = nullptr;
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores
