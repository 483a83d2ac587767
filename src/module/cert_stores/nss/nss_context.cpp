#include "cert_stores/nss/nss_context.h"

#include <stdexcept>

namespace qel::tcp_traffic_interceptor::cert_stores {

std::string DatabaseDirectory(const std::string& storePath) {
  const size_t slash = storePath.rfind('/');
  if (slash == std::string::npos) {
    return {};
  }
  return storePath.substr(0, slash == 0 ? 1 : slash);
}

std::string NssDatabaseName(const std::string& storePath) {
  // "sql:" picks the SQLite form (cert9.db, key4.db) whatever NSS_DEFAULT_DB_TYPE says.
  return "sql:" + DatabaseDirectory(storePath);
}

NssContext::NssContext(const std::string& storePath, bool readOnly) {
  NSSInitParameters parameters{};
  parameters.length = sizeof(parameters);
  PRUint32 flags = NSS_INIT_NOMODDB;
  if (readOnly) {
    flags |= NSS_INIT_READONLY;
  }
  m_context = NSS_InitContext(NssDatabaseName(storePath).c_str(), "", "", "", &parameters, flags);
  if (m_context == nullptr) {
    throw std::runtime_error("Cannot init " + storePath);
  }
}

NssContext::~NssContext() { NSS_ShutdownContext(m_context); }

}  // namespace qel::tcp_traffic_interceptor::cert_stores
