#include <sys/mount.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "handler_fixture.h"
#include "host/process_manager.h"
#include "invalid_certificate/trace_texts.h"
#include "support/namespace_sandbox.h"

namespace tti::test {
namespace {

namespace texts = qel::tcp_traffic_interceptor::handler_texts;

using Verdict = ssl::InvalidCertificateVerdict;
constexpr result_t kInvalidArgument = static_cast<result_t>(0x80000046u);
constexpr result_t kEngineFailure = static_cast<result_t>(0x80000042u);

std::vector<std::string> Types(const std::vector<nlohmann::ordered_json>& events) {
  std::vector<std::string> types;
  for (const auto& event : events) {
    types.push_back(event["EventType"]);
  }
  return types;
}

// One row of the verdict table of the connection form of Resolve.
struct VerdictRow {
  const char* name;
  uint32_t action;
  uint32_t preset;
  uint32_t verdict;
  std::vector<std::string> events;
};

class ResolveTableTest : public HandlerTest, public ::testing::WithParamInterface<VerdictRow> {};

TEST_P(ResolveTableTest, Resolve_VerdictAndEventsFollowActionOrTheCallersValue) {
  const VerdictRow& row = GetParam();
  auto handler = CreateHandler();
  ASSERT_TRUE(handler);
  SetAction(handler.get(), row.action);
  auto verdict = static_cast<Verdict>(row.preset);
  ASSERT_EQ(Resolve(handler.get(), Connection("bad.example"), verdict), 0);
  EXPECT_EQ(static_cast<uint32_t>(verdict), row.verdict);
  const auto events = Events();
  EXPECT_EQ(Types(events), row.events);
  for (const auto& event : events) {
    EXPECT_EQ(event["Domain"], "bad.example");
    EXPECT_EQ(event["Subject"], "bad.example");
    EXPECT_EQ(event["Issuer"], "Handler Test Root");
    EXPECT_EQ(event["CertificateStatus"], "UntrustedRoot");
    EXPECT_EQ(event["AccessUser"], "root");
  }
}

const std::vector<std::string> kAllowed = {"UntrustedCertificateDetected",
                                           "UntrustedCertificateAllowed"};
const std::vector<std::string> kBlocked = {"UntrustedCertificateDetected",
                                           "UntrustedCertificateBlocked"};

INSTANTIATE_TEST_SUITE_P(
    Table, ResolveTableTest,
    ::testing::Values(VerdictRow{"Allow", 0, 7, 0, kAllowed},
                      VerdictRow{"Block", 1, 0, 1, kBlocked},
                      VerdictRow{"OtherKeepsBlock", 2, 1, 1, kBlocked},
                      VerdictRow{"OtherKeepsAllow", 2, 0, 0, kAllowed},
                      VerdictRow{
                          "OtherKeepsFive", 0xffffffff, 5, 5, {"UntrustedCertificateDetected"}}),
    [](const ::testing::TestParamInfo<VerdictRow>& info) { return std::string(info.param.name); });

TEST_F(HandlerTest, Resolve_FailuresAfterTheVerdictLeaveItAndPublishNothing) {
  auto handler = CreateHandler();
  SetAction(handler.get(), 1);
  Verdict verdict = Verdict::Allow;
  EXPECT_EQ(Resolve(handler.get(), Connection("bad.example"), verdict, 1, kEngineFailure),
            kEngineFailure);
  EXPECT_EQ(verdict, Verdict::Block);

  engine::SslConnectionData broken = Connection("bad.example");
  broken.serverCertificate = {0x30, 0x00};
  verdict = Verdict::Allow;
  EXPECT_EQ(Resolve(handler.get(), broken, verdict), kInvalidArgument);
  EXPECT_EQ(verdict, Verdict::Block);
  EXPECT_TRUE(Events().empty());
  EXPECT_TRUE(tracer->Contains("Cannot get client info from connection"));
  EXPECT_TRUE(tracer->Contains("Cannot get cert from ssl info"));
}

TEST_F(HandlerTest, Detected_TraceOneEventNoVerdictEvenWhenItCannotFindTheClient) {
  auto handler = CreateHandler();
  auto notification = As<ssl::IInvalidCertificateNotification>(handler.get());
  auto ssl = engine::Make<engine::SslConnection>(Connection("bad.example"));
  auto tcp = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));
  tracer->Clear();
  ASSERT_EQ(notification->OnInvalidCertificateDetected(tcp.get(), ssl.get()), 0);
  // Golden: the expected lines stay literal, an independent witness that the named fixed texts
  // hold the right bytes.
  EXPECT_EQ(tracer->Texts(800),
            (std::vector<std::string>{
                "virtual result_t "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::"
                "OnInvalidCertificateDetected(traffic_processing::traffic_monitor::"
                "IConnectionInfo*, traffic_processing::protocollers::ssl::IConnectionInfo*)",
                "save invalid cert chain for domain bad.example",
                "result_t "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::"
                "PublishCertificateDetectedEvent(const orv::optional_t<qel::UserInfo>&, const "
                "orv::types::string8_t&, const "
                "qel::tcp_traffic_interceptor::InvalidCertificateHandler::UntrustedCertificate&) "
                "const"}));
  EXPECT_TRUE(tracer->Texts(300).empty());
  EXPECT_TRUE(tracer->Texts(500).empty());
  EXPECT_EQ(notification->OnInvalidCertificateResolved(tcp.get(), ssl.get()), 0);
  EXPECT_EQ(Types(Events()), std::vector<std::string>{"UntrustedCertificateDetected"});
  EXPECT_EQ(Events()[0]["DangerLevel"], "Critical");
  EXPECT_EQ(ssl->chainRequests(), 1u);

  EXPECT_EQ(Detect(handler.get(), Connection("bad.example"), 1, kEngineFailure), kEngineFailure);
  EXPECT_EQ(Events().size(), 1u);
}

TEST_F(HandlerTest, SecureDesktop_AlwaysAllowsWhateverTheSettings) {
  auto handler = CreateHandler();
  SetAction(handler.get(), 1);
  auto desktop = As<ssl::IInvalidCertificateSecureDesktopRequest>(handler.get());
  ssl::InvalidCertificateSecureDesktopRequest request;
  request.clientPid = static_cast<uint32_t>(::getpid());
  request.domain = orv::types::string8_t("desk.example");
  request.verificationResult = 0x80040001;
  request.certificate = tti::test::BytesAs<decltype(request.certificate)>(server.Der());
  Verdict verdict = Verdict::Block;
  ASSERT_EQ(desktop->Resolve(request, verdict), 0);
  EXPECT_EQ(verdict, Verdict::Allow);
  const auto events = Events();
  ASSERT_EQ(Types(events), std::vector<std::string>{"UntrustedCertificateAllowed"});
  EXPECT_EQ(events[0]["Domain"], "desk.example");
  EXPECT_EQ(events[0]["CertificateStatus"], "InvalidExpirationDate");

  request.certificate = {};
  request.certificate.push_back(0x42);
  verdict = Verdict::Block;
  EXPECT_EQ(desktop->Resolve(request, verdict), kInvalidArgument);
  EXPECT_EQ(verdict, Verdict::Allow);
  EXPECT_EQ(Events().size(), 1u);
  EXPECT_TRUE(tracer->Contains("(" + std::string(texts::kRequestCertificateExpression) + "),"));
}

TEST_F(HandlerTest, Process_OffExcludesNothingAndAsksNobody_OnExcludesWithoutAUser) {
  auto handler = CreateHandler();
  SetAction(handler.get(), 0, false);
  auto request = As<auto_excludes::IAutoExcludeRequest>(handler.get());
  auto_excludes::AutoExcludeRequest exclude;
  exclude.uniquePid = 1;
  exclude.domain = orv::types::string16_t(u"skip.example");
  const uint64_t lookups = services.processes->found() + services.processes->missed();
  auto verdict = auto_excludes::AutoExcludeVerdict::Excluded;
  ASSERT_EQ(request->Process(exclude, verdict), 0);
  EXPECT_EQ(verdict, auto_excludes::AutoExcludeVerdict::NotExcluded);
  EXPECT_TRUE(Events().empty());
  EXPECT_EQ(services.tasks->requests(), 0u);
  EXPECT_EQ(services.processes->found() + services.processes->missed(), lookups);
  // On: excluded and published, though no user is known for the process.
  SetAction(handler.get(), 0, true);
  exclude.uniquePid = 0x7fffffffffffULL;  // no process the host has seen
  exclude.domain = orv::types::string16_t(u"b\u00fccher.example");
  verdict = auto_excludes::AutoExcludeVerdict::NotExcluded;
  ASSERT_EQ(request->Process(exclude, verdict), 0);
  EXPECT_EQ(verdict, auto_excludes::AutoExcludeVerdict::Excluded);
  auto events = Events();
  ASSERT_EQ(events.size(), 1u);
  events[0]["Date"] = "*";
  const auto expected = nlohmann::ordered_json::parse(R"({"EventType": "DomainAutoExcluded",
      "EventId": "0", "Initiator": "Product", "Date": "*", "DangerLevel": "Warning",
      "Domain": "b\u00fccher.example", "TaskName": "Web Threat Protection",
      "TaskType": "Web_Threat_Protection", "TaskId": "41"})");
  EXPECT_EQ(events[0].dump(), expected.dump());
  EXPECT_TRUE(tracer->Contains(std::string(texts::kProcess) + ": b\u00fccher.example"));
}

TEST_F(HandlerTest, Settings_FreshHandlerAllowsAndMayExclude) {
  using Settings = qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings;
  auto handler = CreateHandler();
  auto settings =
      As<qel::tcp_traffic_interceptor::IInvalidCertificateHandlerSettings>(handler.get());
  Settings read{qel::UntrustedCertificateAction::Block, false};
  ASSERT_EQ(settings->GetSettings(&read), 0);
  EXPECT_EQ(read, Settings());

  const Settings odd{static_cast<qel::UntrustedCertificateAction::Type>(9), false};
  ASSERT_EQ(As<qel::tcp_traffic_interceptor::IInvalidCertificateHandlerConstruct>(handler.get())
                ->Construct(&odd),
            0);
  ASSERT_EQ(settings->GetSettings(&read), 0);
  EXPECT_EQ(read, odd);  // stored as given, not validated
}

TEST_F(HandlerTest, Create_WithoutTemplateOrTaskManagerFails) {
  orv::intrusive_ptr<ssl::IInvalidCertificateResolver> handler;
  const auto create = [&] {
    return Factory(kHandlerClass)
        ->CreateInstance(services.locator.get(), ssl::IInvalidCertificateResolver::kIid,
                         reinterpret_cast<void**>(handler.Ref()));
  };
  // A second tmpfs over /opt hides the template for this test only; the product tree comes back
  // on top of it afterwards.
  tti::test::MountTmpfs("/opt");
  EXPECT_LT(create(), 0);
  EXPECT_FALSE(handler);
  EXPECT_TRUE(
      tracer->Contains("Cannot read html template "
                       "/opt/morvane/tolm/shared/loc/neutral/templates/invalid_certificate.html"));
  EXPECT_TRUE(tracer->Contains("(LoadHtmlTemplate()),"));
  ::umount("/opt");

  services.locator->Remove(qel::IQelTaskManager::kIid);
  EXPECT_EQ(create(), static_cast<result_t>(0x8000004cu));
  EXPECT_TRUE(tracer->Contains("Cannot get IQelTaskManager interface"));
}

}  // namespace
}  // namespace tti::test
