#include "cert_stores/nss/nss_context.h"

#include <dlfcn.h>

#include <memory>
#include <stdexcept>

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

struct LibraryCloser {
  void operator()(void* library) const noexcept { dlclose(library); }
};
using LibraryPtr = std::unique_ptr<void, LibraryCloser>;

// NSS loads its soft token (and through it freebl) when the first context opens and unloads both
// when the last one shuts down: reads one after another each paid a load, a relocation and an
// unmap. Held here, the libraries stay mapped and NSS's loads only count references; the hold
// ends with this library's static objects. A library not found is NSS's to load, as before.
void HoldSoftToken() {
  static const LibraryPtr held[] = {LibraryPtr(dlopen("libsoftokn3.so", RTLD_LAZY)),
                                    LibraryPtr(dlopen("libfreeblpriv3.so", RTLD_LAZY))};
  static_cast<void>(held);
}

}  // namespace

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
  HoldSoftToken();
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
