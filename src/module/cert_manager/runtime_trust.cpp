// The runtime trust settings as CertificateManagerImpl sees them: written after the Java keystores,
// pointing at the system bundle that the OpenSSL stores have just written, removed on uninstall.
#include <string>
#include <vector>

#include "cert_manager/certificate_manager_impl.h"
#include "cert_stores/runtime/runtime_settings.h"
#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {
namespace {

constexpr uint32_t kWarning = orv::trace_level::kWarning;

}  // namespace

void CertificateManagerImpl::AddRuntimeSettings(
    const std::vector<cert_stores::Certificate>& certificates) {
  using cert_stores::RuntimeTrustSettings;
  cert_stores::NativePath bundle;
  if (const result_t result = RuntimeTrustSettings::FindSystemBundle(bundle); ORV_FAILED(result)) {
    ORV_TRACE(GetTracer(), kWarning)
        << "Cannot add runtime trust settings: no system bundle: " << orv::trace::Result{result};
    return;
  }
  for (const cert_stores::RuntimeSettingsFile& file : RuntimeTrustSettings::Files()) {
    // Like the keystores, a file written is not traced: only a failure is.
    if (const result_t result = RuntimeTrustSettings().Write(file, bundle, certificates);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning) << "Cannot add runtime trust settings '" << file.path
                                       << "': " << orv::trace::Result{result};
    }
  }
}

void CertificateManagerImpl::DeleteRuntimeSettings(
    const std::vector<cert_stores::Certificate>& certificates) {
  using cert_stores::RuntimeTrustSettings;
  for (const cert_stores::RuntimeSettingsFile& file : RuntimeTrustSettings::Files()) {
    if (const result_t result = RuntimeTrustSettings().Remove(file, certificates);
        ORV_FAILED(result)) {
      ORV_TRACE(GetTracer(), kWarning) << "Cannot delete runtime trust settings '" << file.path
                                       << "': " << orv::trace::Result{result};
    }
  }
}

}  // namespace qel::tcp_traffic_interceptor
