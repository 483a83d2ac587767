// The Java keystores of the machine as CertificateManagerImpl sees them: installed into after the
// OpenSSL stores, read into the cache, and given the root back after a package update.
#include <string>
#include <vector>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_stores/java/java_keystore_storage.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kDetail = orv::trace_level::kDetail;
constexpr uint32_t kWarning = orv::trace_level::kWarning;

// Why a keystore was left alone, in words an administrator can act on.
struct Reason {
  result_t result;
};

orv::TraceStream& operator<<(orv::TraceStream& out, const Reason& reason) {
  if (reason.result == cert_stores::kNotAKeystore) {
    return out << "not a JKS keystore, left untouched";
  }
  if (reason.result == cert_stores::kKeystoreDigestMismatch) {
    return out << "integrity digest does not check with the store password, left untouched";
  }
  return out << orv::trace::Result{reason.result};
}

}  // namespace

void CertificateManagerImpl::AddToJavaKeystores(
    const std::vector<cert_stores::Certificate>& certificates) {
  // Asked anew like the bundles: a JDK installed since the start is taken.
  for (const cert_stores::NativePath& keystore : cert_stores::GetKeystoreFiles()) {
    if (const result_t result =
            cert_stores::JavaKeystoreStorage().AddCertificates(keystore, certificates);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning)
          << "Cannot add certificate to java keystore '" << keystore << "': " << Reason{result};
    }
  }
}

void CertificateManagerImpl::DeleteFromJavaKeystores(
    const std::vector<cert_stores::Certificate>& certificates) {
  for (const cert_stores::NativePath& keystore : cert_stores::GetKeystoreFiles()) {
    if (const result_t result =
            cert_stores::JavaKeystoreStorage().DeleteCertificates(keystore, certificates);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning) << "Cannot delete certificate from java keystore '"
                                       << keystore << "': " << Reason{result};
    }
  }
}

result_t CertificateManagerImpl::ReadJavaKeystore(const std::string& path,
                                                  std::vector<RawCert>& certificates) const {
  const result_t result = cert_stores::JavaKeystoreStorage().ReadCertificates(path, certificates);
  if (ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot get certificates from java keystore '" << path << "': " << Reason{result};
    return result;
  }
  ORV_TRACE(GetTracer(), kDetail) << "Loaded " << certificates.size() << " from '" << path
                                  << "' java keystore";
  return result;
}

void CertificateManagerImpl::OnJavaKeystoreChanged(const std::string& path) {
  if (!m_installed) {
    return;
  }
  // Our own rewrite arrives here too: the root is then found and nothing is written, so the
  // event does not come back.
  const result_t result = cert_stores::JavaKeystoreStorage().AddCertificates(path, m_certificates);
  if (ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot add certificate to java keystore '" << path << "': " << Reason{result};
  } else if (result == orv::errors::kOk) {
    ORV_TRACE(GetTracer(), kDetail) << "Add cert to " << path;
  }
}

}  // namespace qel::tcp_traffic_interceptor
