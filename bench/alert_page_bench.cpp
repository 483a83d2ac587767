// Pages per second of the real handler for a three-certificate chain: GetWebAlertStub with the
// product text, the placeholders, the cached certificate (escaped names and PEM chain, the date)
// and the localiser's pass. Runs in a private mount namespace with the build's staged product tree
// at /opt/morvane/tolm. Arg: the handler's action (0 the warn form, 1 the deny form). Prints pages
// per second against the goal of 30,000 and against the localiser's pass alone.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "engine/connections.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "host/host_services.h"
#include "host/stderr_tracer.h"
#include "invalid_certificate_handler.h"
#include "qel/tools/localization.h"
#include "ratio_reporter.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace {

namespace tci = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;

engine::Der ToDer(const tti::test::TestCertificate& certificate) {
  const auto der = certificate.Der();
  return engine::Der(der.begin(), der.end());
}

void BM_GetWebAlertStub(benchmark::State& state) {
  auto tracer = host::MakeObject<host::StderrTracer>(300);
  host::HostServices services = host::HostServices::Create(tracer.get());
  services.events = host::MakeObject<host::EventPublisher>("/dev/null");
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  orv::intrusive_ptr<tci::IInvalidCertificateHandlerSettings> settings;
  if (orv::Object<tci::InvalidCertificateHandler, orv::LocatorObjectFactory>::CreateInstance(
          services.locator.get(), tci::IInvalidCertificateHandlerSettings::kIid,
          reinterpret_cast<void**>(settings.Ref())) != 0) {
    state.SkipWithError("the handler cannot be made (no page template?)");
    return;
  }
  tci::InvalidCertificateHandlerSettings record;
  record.action = static_cast<qel::UntrustedCertificateAction::Type>(state.range(0));
  settings->SetSettings(&record);
  auto* handler = static_cast<tci::InvalidCertificateHandler*>(settings.get());

  const auto root = tti::test::MakeRootCertificate("Bench Root");
  const auto intermediate = tti::test::MakeServerCertificate(root, "Bench Intermediate");
  const auto server = tti::test::MakeServerCertificate(intermediate, "bench.example");
  engine::SslConnectionData connection;
  connection.domain = "bench.example";
  connection.verificationResult = 0x80020003;
  connection.serverCertificate = ToDer(server);
  connection.chain.certificates = {ToDer(server), ToDer(intermediate), ToDer(root)};
  const auto ssl = engine::Make<engine::SslConnection>(connection);
  const auto client = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));
  if (handler->OnInvalidCertificateDetected(client.get(), ssl.get()) != 0) {
    state.SkipWithError("OnInvalidCertificateDetected failed");
    return;
  }

  ssl::InvalidCertificateWebAlertData data;
  data.verificationResult = 0x80020003;
  data.domain = orv::types::string8_t("bench.example");
  data.ignoreAndContinueUrl = orv::types::string8_t("https://engine.invalid/continue?token=1");
  data.showCertificateUrl = orv::types::string8_t("https://engine.invalid/certificate?id=1");
  data.uniqPid = 1;
  size_t bytes = 0;
  for (auto _ : state) {
    orv::types::string8_t body;
    if (handler->GetWebAlertStub(data, body) != 0) {
      state.SkipWithError("GetWebAlertStub failed");
      break;
    }
    bytes += body.size();
    benchmark::DoNotOptimize(body.data());
  }
  state.SetItemsProcessed(state.iterations());  // pages
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}
BENCHMARK(BM_GetWebAlertStub)->ArgName("action")->Arg(0)->Arg(1);

// The localisation library's share of a page: a localiser and one pass over the template.
void BM_LocalizeTemplate(benchmark::State& state) {
  const std::string page = tti::test::ReadTextFile(
      "/opt/morvane/tolm/shared/loc/neutral/templates/invalid_certificate.html");
  orv::types::vector_t<unsigned char> html;
  for (const char byte : page) {
    html.push_back(static_cast<unsigned char>(byte));
  }
  for (auto _ : state) {
    orv::intrusive_ptr<localization_manager::ILocalizer> localizer;
    if (qel::tools::CreateLocalizer(nullptr, 1, u"traffic_processing", localizer) != 0) {
      state.SkipWithError("CreateLocalizer failed");
      break;
    }
    auto worded = qel::tools::LocalizeTemplate(html, localizer.get(), nullptr);
    benchmark::DoNotOptimize(worded.data());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LocalizeTemplate);

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
  tti::test::EnterPrivateMountNamespace();
  tti::test::MountProductTree();
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double page = reporter.m_times["BM_GetWebAlertStub/action:0"];
  const double localizer = reporter.m_times["BM_LocalizeTemplate"];
  if (page > 0 && localizer > 0) {
    std::printf(
        "GetWebAlertStub, 3-certificate chain: %.1f us (%.0f pages/s, %.2f of the 30,000 goal); "
        "the $key$ pass alone %.1f us, page / pass %.1f\n",
        page / 1e3, 1e9 / page, 1e9 / page / 30000, localizer / 1e3, page / localizer);
  }
  benchmark::Shutdown();
  return 0;
}
