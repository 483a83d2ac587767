// Adding one root to a Debian-like store in process against running the distribution's update tool
// on the same tree, both inside a private mount namespace. Prints the ratio of the two.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/openssl/openssl_storage.h"
#include "ratio_reporter.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/namespace_sandbox.h"

namespace {

using namespace qel::tcp_traffic_interceptor::cert_stores;

const tti::test::TestCertificate& Root() {
  static const auto root = tti::test::MakeRootCertificate("tti bench root");
  return root;
}

const Certificate kCertificate{"Morvane_Shield_Personal_Root_Certificate_be0c4be0", Root().Der()};

void RunUpdateTool() {
  const auto run = tti::test::RunClean({"/usr/sbin/update-ca-certificates"});
  if (run.exitCode != 0) {
    throw std::runtime_error("update-ca-certificates failed: " + run.output);
  }
}

void BM_AddCertificates(benchmark::State& state) {
  const OpenSslStorage storage;
  for (auto _ : state) {
    if (storage.AddCertificates({kCertificate}) != 0) {
      state.SkipWithError("AddCertificates failed");
      return;
    }
    state.PauseTiming();
    storage.DeleteCertificates({kCertificate});
    state.ResumeTiming();
  }
}
BENCHMARK(BM_AddCertificates)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_UpdateTool(benchmark::State& state) {
  const std::string anchor =
      "/usr/local/share/ca-certificates/" + AnchorFileName(kCertificate.name);
  for (auto _ : state) {
    state.PauseTiming();
    tti::test::WriteTextFile(anchor, Root().Pem());
    state.ResumeTiming();
    RunUpdateTool();
    state.PauseTiming();
    ::unlink(anchor.c_str());
    RunUpdateTool();
    state.ResumeTiming();
  }
}
BENCHMARK(BM_UpdateTool)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  try {
    tti::test::EnterPrivateMountNamespace();
    tti::test::BuildStoreLayout(tti::test::StoreLayout::kDebian);
    // The tool's first run builds the links of the whole set; both cases then start from it.
    RunUpdateTool();
  } catch (const std::exception& error) {
    std::cerr << "sandbox: " << error.what() << "\n";
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter(RatioReporter::Clock::kReal);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double add = reporter.m_times["BM_AddCertificates"];
  const double tool = reporter.m_times["BM_UpdateTool"];
  if (add > 0 && tool > 0) {
    std::printf("update-ca-certificates / AddCertificates: %.1f (%.2f ms against %.2f ms)\n",
                tool / add, tool, add);
  }
  benchmark::Shutdown();
  return 0;
}
