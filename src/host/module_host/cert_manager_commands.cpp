#include "cert_manager_commands.h"

#include <signal.h>
#include <time.h>

#include <cerrno>
#include <stdexcept>
#include <vector>

#include <openssl/x509.h>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/conversions/openssl_types.h"
#include "certificate_file.h"
#include "crypto/trusted_certificate_provider.h"
#include "info_report.h"
#include "module_session.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "store_report.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace stores = tti::cert_stores;
using nlohmann::json;

std::string ResultText(result_t result) { return Hex(static_cast<uint32_t>(result)); }

std::string Subject(const std::vector<uint8_t>& der) {
  const stores::X509Ptr parsed = stores::ParseDer(der);
  if (!parsed) {
    return "(not a certificate)";
  }
  char buffer[1024] = {};
  X509_NAME_oneline(X509_get_subject_name(parsed.get()), buffer, sizeof(buffer));
  return buffer;
}

qel::RawCert ToRaw(const std::vector<uint8_t>& der) {
  qel::RawCert raw;
  raw.reserve(der.size());
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

// The module in fresh host services and one CertificateManager, released before the unload.
class Session {
 public:
  Session(const std::string& modulePath, orv::ITracer* tracer, const std::string& trustedDirectory)
      : m_session(modulePath, tracer, trustedDirectory),
        m_manager(m_session.Create<tti::ICertificateManager>(tti::CLSID_CertificateManager)) {}

  tti::ICertificateManager& manager() { return *m_manager; }

 private:
  ModuleSession m_session;
  orv::intrusive_ptr<tti::ICertificateManager> m_manager;
};

// The call's result and what every store holds now, read back from the stores.
json ChangeReport(const std::string& action, const std::vector<uint8_t>& der, result_t result) {
  return {{"command", action},
          {"certificate", Subject(der)},
          {"result", ResultText(result)},
          {"stores", ReportStores(der)}};
}

}  // namespace

json RunCertificateChange(const std::string& modulePath, orv::ITracer* tracer,
                          const std::string& action, const std::string& certificateFile,
                          const std::string& trustedDirectory) {
  const std::vector<uint8_t> der = ReadOneCertificate(certificateFile);
  result_t result = 0;
  {
    Session session(modulePath, tracer, trustedDirectory);
    result = action == "install" ? session.manager().Install(ToRaw(der))
                                 : session.manager().Uninstall(ToRaw(der));
  }
  return ChangeReport(action, der, result);
}

json RunFindParent(const std::string& modulePath, orv::ITracer* tracer,
                   const std::string& certificateFile, const std::string& trustedDirectory) {
  const std::vector<uint8_t> der = ReadOneCertificate(certificateFile);
  Session session(modulePath, tracer, trustedDirectory);
  orv::intrusive_ptr<crypto::ITrustedCertificateProvider> provider;
  if (ORV_FAILED(session.manager().QueryInterface(crypto::ITrustedCertificateProvider::kIid,
                                                  reinterpret_cast<void**>(provider.Ref())))) {
    throw std::runtime_error("no ITrustedCertificateProvider");
  }
  orv::types::vector_t<orv::types::vector_t<unsigned char>> parents;
  const const_blob_range_t blob{der.data(), der.data() + der.size()};
  const result_t result = provider->FindParentCertificates(nullptr, blob, parents);
  json subjects = json::array();
  for (const auto& parent : parents) {
    subjects.push_back(Subject(std::vector<uint8_t>(parent.begin(), parent.end())));
  }
  return {{"certificate", Subject(der)}, {"result", ResultText(result)}, {"parents", subjects}};
}

json RunWatch(const std::string& modulePath, orv::ITracer* tracer, const WatchRequest& request) {
  // Refused before the module is loaded.
  const std::vector<uint8_t> der = request.certificateFile.empty()
                                       ? std::vector<uint8_t>()
                                       : ReadOneCertificate(request.certificateFile);
  // Blocked before the provider's thread exists, so that only sigtimedwait sees them.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  std::string stoppedBy = "time";
  {
    Session session(modulePath, tracer, request.trustedDirectory);
    if (!der.empty()) {
      request.installed(ChangeReport("install", der, session.manager().Install(ToRaw(der))));
    }
    timespec limit{static_cast<time_t>(request.seconds), 0};
    for (;;) {
      const int signal = sigtimedwait(&stop, nullptr, request.seconds == 0 ? nullptr : &limit);
      if (signal > 0) {
        stoppedBy = signal == SIGINT ? "SIGINT" : "SIGTERM";
        break;
      }
      if (errno != EINTR) {
        break;
      }
    }
  }
  pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
  return {{"command", "watch"}, {"stopped by", stoppedBy}};
}

}  // namespace module_host
