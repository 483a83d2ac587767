#include "alert_page_command.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "component/traffic_processing/protocollers/ssl/invalid_certificate.h"
#include "engine/connections.h"
#include "engine/pem_chain.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"

namespace module_host {
namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;

std::string ReadChainFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot open " + path);
  }
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void Check(result_t result, const char* call) {
  if (ORV_FAILED(result)) {
    std::ostringstream message;
    message << call << " failed: 0x" << std::hex << static_cast<uint32_t>(result);
    throw std::runtime_error(message.str());
  }
}

template <class I>
orv::intrusive_ptr<I> As(orv::IObject* object) {
  orv::intrusive_ptr<I> result;
  Check(object->QueryInterface(I::kIid, reinterpret_cast<void**>(result.Ref())), "QueryInterface");
  return result;
}

}  // namespace

std::string RunAlertPage(const std::string& modulePath, orv::ITracer* tracer,
                         const AlertPageRequest& request) {
  std::vector<engine::Der> chain = engine::ReadPemChain(ReadChainFile(request.chainFile));
  if (chain.empty()) {
    throw std::runtime_error("no certificate in " + request.chainFile);
  }
  host::LoadedModule module(modulePath);
  std::string page;
  {
    host::HostServices services = host::HostServices::Create(tracer);
    // The page goes to standard output; the detection event must not.
    services.events = host::MakeObject<host::EventPublisher>("/dev/null");
    services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());

    orv::intrusive_ptr<orv::IObjectFactory> factory;
    Check(module.GetObjectFactory(services.locator.get(), tti::CLSID_InvalidCertificateHandler,
                                  factory.Ref()),
          "orvGetObjectFactory");
    orv::intrusive_ptr<tti::IInvalidCertificateHandlerSettings> settings;
    Check(factory->CreateInstance(services.locator.get(),
                                  tti::IInvalidCertificateHandlerSettings::kIid,
                                  reinterpret_cast<void**>(settings.Ref())),
          "CreateInstance");
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
    page.assign(body.data(), body.size());
  }
  module.Unload();
  return page;
}

}  // namespace module_host
