// The cost of one OnInvalidCertificateDetected of the real handler: the server certificate decoded,
// a three-certificate chain turned into PEM, the cache put, the user looked up and one event
// published (to /dev/null through the host's publisher). Runs in a private mount namespace with the
// build's staged product tree at /opt/morvane/tolm. Arg: how many distinct domains the calls cycle
// through (beyond 1024 every put evicts).
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/connections.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "host/host_services.h"
#include "host/stderr_tracer.h"
#include "invalid_certificate_handler.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace {

namespace tci = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;

engine::Der ToDer(const tti::test::TestCertificate& certificate) {
  const auto der = certificate.Der();
  return engine::Der(der.begin(), der.end());
}

void BM_OnInvalidCertificateDetected(benchmark::State& state) {
  auto tracer = host::MakeObject<host::StderrTracer>(300);
  host::HostServices services = host::HostServices::Create(tracer.get());
  services.events = host::MakeObject<host::EventPublisher>("/dev/null");
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
  orv::intrusive_ptr<ssl::IInvalidCertificateNotification> handler;
  if (orv::Object<tci::InvalidCertificateHandler, orv::LocatorObjectFactory>::CreateInstance(
          services.locator.get(), ssl::IInvalidCertificateNotification::kIid,
          reinterpret_cast<void**>(handler.Ref())) != 0) {
    state.SkipWithError("the handler cannot be made (no page template?)");
    return;
  }
  const auto root = tti::test::MakeRootCertificate("Bench Root");
  const auto intermediate = tti::test::MakeServerCertificate(root, "Bench Intermediate");
  const auto server = tti::test::MakeServerCertificate(root, "bench.example");
  std::vector<orv::intrusive_ptr<engine::SslConnection>> connections;
  for (int64_t i = 0; i < state.range(0); ++i) {
    engine::SslConnectionData data;
    data.domain = "d" + std::to_string(i) + ".example";
    data.verificationResult = 0x80020003;
    data.serverCertificate = ToDer(server);
    data.chain.certificates = {ToDer(server), ToDer(intermediate), ToDer(root)};
    connections.push_back(engine::Make<engine::SslConnection>(data));
  }
  const auto client = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));
  size_t next = 0;
  for (auto _ : state) {
    if (handler->OnInvalidCertificateDetected(client.get(), connections[next].get()) != 0) {
      state.SkipWithError("OnInvalidCertificateDetected failed");
      break;
    }
    next = (next + 1) % connections.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OnInvalidCertificateDetected)->Arg(1)->Arg(4096);

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
  tti::test::EnterPrivateMountNamespace();
  tti::test::MountProductTree();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
