#include "alert_page_command.h"

#include <unistd.h>

#include <stdexcept>

#include "component/traffic_processing/protocollers/ssl/invalid_certificate.h"
#include "engine/connections.h"
#include "engine/pem_chain.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "module_session.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;

}  // namespace

std::string RunAlertPage(const std::string& modulePath, orv::ITracer* tracer,
                         const AlertPageRequest& request) {
  std::vector<engine::Der> chain = engine::ReadPemChain(ReadWholeFile(request.chainFile));
  if (chain.empty()) {
    throw std::runtime_error("no certificate in " + request.chainFile);
  }
  ModuleSession session(modulePath, tracer);
  host::HostServices& services = session.services();
  // The page goes to standard output; the detection event must not.
  services.events = host::MakeObject<host::EventPublisher>("/dev/null");
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  auto settings =
      session.Create<tti::IInvalidCertificateHandlerSettings>(tti::CLSID_InvalidCertificateHandler);
  tti::InvalidCertificateHandlerSettings record;
  record.action = static_cast<qel::UntrustedCertificateAction::Type>(request.action);
  Check(settings->SetSettings(&record), "SetSettings");

  engine::SslConnectionData connection;
  connection.domain = request.domain;
  connection.verificationResult = request.verification;
  connection.serverCertificate = chain.front();
  connection.chain.certificates = std::move(chain);
  auto ssl = engine::Make<engine::SslConnection>(std::move(connection));
  auto tcp = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));
  Check(As<ssl::IInvalidCertificateNotification>(settings.get())
            ->OnInvalidCertificateDetected(tcp.get(), ssl.get()),
        "OnInvalidCertificateDetected");

  ssl::InvalidCertificateWebAlertData data;
  data.verificationResult = request.verification;
  data.domain = orv::types::string8_t(request.domain.c_str());
  data.ignoreAndContinueUrl = orv::types::string8_t(request.continueUrl.c_str());
  data.showCertificateUrl = orv::types::string8_t(request.showCertificateUrl.c_str());
  data.uniqPid = static_cast<uint64_t>(::getpid());
  orv::types::string8_t body;
  Check(As<ssl::IInvalidCertificateWebAlertProvider>(settings.get())->GetWebAlertStub(data, body),
        "GetWebAlertStub");
  return std::string(body.data(), body.size());
}

}  // namespace module_host
