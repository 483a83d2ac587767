#include "handler_fixture.h"

#include <clocale>
#include <fstream>

#include "host/event_publisher.h"
#include "host/host_object.h"
#include "support/namespace_sandbox.h"

namespace tti::test {

void MountHandlerTemplate() {
  static bool mounted = false;
  if (!mounted) {
    tti::test::EnterPrivateMountNamespace();
    tti::test::MountProductTree();
    mounted = true;
  }
}

void HandlerTest::SetUpTestSuite() {
  // As module-host does: the host's event text narrows UTF-16 fields in the C locale.
  std::setlocale(LC_ALL, "C.UTF-8");
  MountHandlerTemplate();
  ModuleTest::SetUpTestSuite();
}

void HandlerTest::SetUp() {
  ModuleTest::SetUp();
  eventsPath = eventsFolder / "events.jsonl";
  services.events = host::MakeObject<host::EventPublisher>(eventsPath);
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  ConfigureTasks(qel::TaskState::Started, qel::TaskState::Started);
}

orv::intrusive_ptr<ssl::IInvalidCertificateResolver> HandlerTest::CreateHandler() {
  return Create<ssl::IInvalidCertificateResolver>(kHandlerClass);
}

void HandlerTest::SetAction(orv::IObject* handler, uint32_t action, bool addToAutoExcludes) {
  qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings settings;
  settings.action = static_cast<qel::UntrustedCertificateAction::Type>(action);
  settings.addToAutoExcludes = addToAutoExcludes;
  auto settingsInterface =
      As<qel::tcp_traffic_interceptor::IInvalidCertificateHandlerSettings>(handler);
  ASSERT_EQ(settingsInterface->SetSettings(&settings), 0);
}

result_t HandlerTest::Resolve(orv::IObject* handler, const engine::SslConnectionData& data,
                              ssl::InvalidCertificateVerdict& verdict, uint32_t pid,
                              result_t clientFailure) {
  auto tcp = engine::Make<engine::TcpConnection>(pid, clientFailure);
  auto connection = engine::Make<engine::SslConnection>(data);
  return As<ssl::IInvalidCertificateResolver>(handler)->Resolve(tcp.get(), connection.get(),
                                                                verdict);
}

result_t HandlerTest::Detect(orv::IObject* handler, const engine::SslConnectionData& data,
                             uint32_t pid, result_t clientFailure) {
  auto tcp = engine::Make<engine::TcpConnection>(pid, clientFailure);
  auto connection = engine::Make<engine::SslConnection>(data);
  return As<ssl::IInvalidCertificateNotification>(handler)->OnInvalidCertificateDetected(
      tcp.get(), connection.get());
}

engine::SslConnectionData HandlerTest::Connection(const std::string& domain) const {
  engine::SslConnectionData data;
  data.domain = domain;
  data.verificationResult = 0x80120003;  // facility bits set: still an untrusted root
  data.serverCertificate = server.Der();
  data.chain.certificates = {server.Der(), intermediate.Der(), root.Der()};
  return data;
}

std::vector<nlohmann::ordered_json> HandlerTest::Events() const {
  std::vector<nlohmann::ordered_json> events;
  std::ifstream stream(eventsPath);
  for (std::string line; std::getline(stream, line);) {
    events.push_back(nlohmann::ordered_json::parse(line));
  }
  return events;
}

void HandlerTest::ConfigureTasks(qel::TaskState::Type threat, qel::TaskState::Type control) {
  using Text = orv::types::string16_t;
  services.tasks->Configure(
      {qel::TaskInfo{41, Text(u"Web Threat Protection"), Text(u"Web_Threat_Protection"), threat},
       qel::TaskInfo{42, Text(u"Web Control"), Text(u"Web_Control"), control}});
}

}  // namespace tti::test
