// The cost of one OnInvalidCertificateDetected of the real handler: the server certificate decoded,
// a three-certificate chain turned into PEM, the cache put, the user looked up and one event
// published (to /dev/null through the host's publisher). Runs in a private mount namespace with the
// build's staged product tree at /opt/morvane/tolm.
// - BM_OnInvalidCertificateDetected: the same chain again and again (servers repeat); Arg: how
//   many distinct domains the calls cycle through (beyond 1024 every put evicts);
// - BM_OnInvalidCertificateDetectedNewChain: three certificates never seen before at every call
//   (the last bytes of their signatures stamped with a counter), so every one is parsed.
// Prints calls per second of both against the goal of 10,000 for a chain seen before.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "engine/connections.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "host/host_services.h"
#include "host/stderr_tracer.h"
#include "invalid_certificate_handler.h"
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

struct Bench {
  host::HostServices services;
  orv::intrusive_ptr<ssl::IInvalidCertificateNotification> handler;
  tti::test::TestCertificate root = tti::test::MakeRootCertificate("Bench Root");
  tti::test::TestCertificate intermediate =
      tti::test::MakeServerCertificate(root, "Bench Intermediate");
  tti::test::TestCertificate server = tti::test::MakeServerCertificate(root, "bench.example");
  orv::intrusive_ptr<engine::TcpConnection> client =
      engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));

  Bench() {
    auto tracer = host::MakeObject<host::StderrTracer>(300);
    services = host::HostServices::Create(tracer.get());
    services.events = host::MakeObject<host::EventPublisher>("/dev/null");
    services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());
    orv::Object<tci::InvalidCertificateHandler, orv::LocatorObjectFactory>::CreateInstance(
        services.locator.get(), ssl::IInvalidCertificateNotification::kIid,
        reinterpret_cast<void**>(handler.Ref()));
  }

  // The connection of `domain`; a non-zero `stamp` goes into the last bytes of each of the three
  // certificates (the end of the signature, whose bits no parse reads), which makes bytes no parse
  // has seen.
  orv::intrusive_ptr<engine::SslConnection> Connection(const std::string& domain,
                                                       uint32_t stamp) const {
    engine::SslConnectionData data;
    data.domain = domain;
    data.verificationResult = 0x80020003;
    data.serverCertificate = Stamped(server, stamp);
    data.chain.certificates = {data.serverCertificate, Stamped(intermediate, stamp),
                               Stamped(root, stamp)};
    return engine::Make<engine::SslConnection>(data);
  }

  static engine::Der Stamped(const tti::test::TestCertificate& certificate, uint32_t stamp) {
    engine::Der der = ToDer(certificate);
    for (size_t i = 0; stamp != 0 && i < 4; ++i) {
      der[der.size() - 1 - i] = static_cast<uint8_t>(stamp >> (8 * i));
    }
    return der;
  }
};

void BM_OnInvalidCertificateDetected(benchmark::State& state) {
  Bench bench;
  if (!bench.handler) {
    state.SkipWithError("the handler cannot be made (no page template?)");
    return;
  }
  std::vector<orv::intrusive_ptr<engine::SslConnection>> connections;
  for (int64_t i = 0; i < state.range(0); ++i) {
    connections.push_back(bench.Connection("d" + std::to_string(i) + ".example", 0));
  }
  size_t next = 0;
  for (auto _ : state) {
    if (bench.handler->OnInvalidCertificateDetected(bench.client.get(), connections[next].get()) !=
        0) {
      state.SkipWithError("OnInvalidCertificateDetected failed");
      break;
    }
    next = (next + 1) % connections.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OnInvalidCertificateDetected)->Arg(1)->Arg(4096);

void BM_OnInvalidCertificateDetectedNewChain(benchmark::State& state) {
  Bench bench;
  if (!bench.handler) {
    state.SkipWithError("the handler cannot be made (no page template?)");
    return;
  }
  static uint32_t stamp = 0x01000000;
  for (auto _ : state) {
    state.PauseTiming();
    const auto connection = bench.Connection("new.example", ++stamp);
    state.ResumeTiming();
    if (bench.handler->OnInvalidCertificateDetected(bench.client.get(), connection.get()) != 0) {
      state.SkipWithError("OnInvalidCertificateDetected failed");
      break;
    }
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OnInvalidCertificateDetectedNewChain);

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
  const double seen = reporter.m_times["BM_OnInvalidCertificateDetected/1"];
  const double fresh = reporter.m_times["BM_OnInvalidCertificateDetectedNewChain"];
  if (seen > 0 && fresh > 0) {
    std::printf(
        "OnInvalidCertificateDetected, 3-certificate chain: seen before %.1f us (%.0f calls/s, "
        "%.2f of the 10,000 goal), new %.1f us (%.0f calls/s); new / seen before %.1f\n",
        seen / 1e3, 1e9 / seen, 1e9 / seen / 10000, fresh / 1e3, 1e9 / fresh, fresh / seen);
  }
  benchmark::Shutdown();
  return 0;
}
