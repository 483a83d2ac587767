// Adding one root into 50 NSS databases through Nss3Storage (a read, then one start of the
// cert-manager helper per database) against a loop of `certutil -A` over the same databases, in a
// private mount namespace with the build's product tree at /opt/morvane/tolm. Prints the ratio.
// Where the helper's way spends its time: BM_ReadStore (the in-process read that comes first,
// GetCertificates) and BM_HelperAlone (the helper started as the store starts it, without the
// read).
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/nss/nss3_storage.h"
#include "qel/tools/process_runner.h"
#include "ratio_reporter.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "support/nss_test_db.h"

namespace {

using namespace qel::tcp_traffic_interceptor::cert_stores;

constexpr int kDatabases = 50;

const tti::test::TestCertificate& Root() {
  static const auto root = tti::test::MakeRootCertificate("tti nss bench root");
  return root;
}

const Certificate kCertificate{"Morvane_Shield_Personal_Root_Certificate_be0c4be1", Root().Der()};

struct Machine {
  tti::test::ScratchDirectory scratch;
  std::vector<std::string> directories;
  std::string rootFile;
};
std::unique_ptr<Machine> g_machine;

// A program as the module would start it: fixed environment, /dev/null streams.
void RunProgram(const char* path, const std::vector<std::string>& words) {
  std::vector<const char*> args = {path};
  for (const std::string& word : words) {
    args.push_back(word.c_str());
  }
  args.push_back(nullptr);
  qel::tools::ProcessOptions options;
  options.path = args[0];
  options.args = args.data();
  rlimit present{};
  ::getrlimit(RLIMIT_NOFILE, &present);
  options.limits = {{present.rlim_max, present.rlim_max, RLIMIT_NOFILE}};
  if (qel::tools::RunProcess(options) != 0) {
    throw std::runtime_error(std::string(path) + " " + words.front() + " failed");
  }
}

void RunCertutil(const std::vector<std::string>& words) { RunProgram("/usr/bin/certutil", words); }

void BM_AddThroughHelper(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& directory : g_machine->directories) {
      std::vector<Certificate> certificates = {kCertificate};
      if (Nss3Storage{directory + "/cert9.db", 0, 0}.AddCertificatesToStore(certificates) != 0) {
        state.SkipWithError("AddCertificatesToStore failed");
        return;
      }
    }
    state.PauseTiming();
    for (const std::string& directory : g_machine->directories) {
      RunCertutil({"-D", "-d", "sql:" + directory, "-n", kCertificate.name});
    }
    state.ResumeTiming();
  }
}
BENCHMARK(BM_AddThroughHelper)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_ReadStore(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& directory : g_machine->directories) {
      std::vector<RawCert> certificates;
      if (Nss3Storage{directory + "/cert9.db", 0, 0}.GetCertificates(certificates) != 0) {
        state.SkipWithError("GetCertificates failed");
        return;
      }
    }
  }
}
BENCHMARK(BM_ReadStore)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_HelperAlone(benchmark::State& state) {
  const std::string list = MakeCertList({kCertificate});
  for (auto _ : state) {
    for (const std::string& directory : g_machine->directories) {
      RunProgram("/opt/morvane/tolm/libexec/cert-manager",
                 {"--nss3-add", "--nss3-path", directory + "/cert9.db", "--certlist", list});
    }
    state.PauseTiming();
    for (const std::string& directory : g_machine->directories) {
      RunCertutil({"-D", "-d", "sql:" + directory, "-n", kCertificate.name});
    }
    state.ResumeTiming();
  }
}
BENCHMARK(BM_HelperAlone)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_CertutilLoop(benchmark::State& state) {
  for (auto _ : state) {
    for (const std::string& directory : g_machine->directories) {
      RunCertutil({"-A", "-d", "sql:" + directory, "-n", kCertificate.name, "-t", "C,,", "-a", "-i",
                   g_machine->rootFile});
    }
    state.PauseTiming();
    for (const std::string& directory : g_machine->directories) {
      RunCertutil({"-D", "-d", "sql:" + directory, "-n", kCertificate.name});
    }
    state.ResumeTiming();
  }
}
BENCHMARK(BM_CertutilLoop)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

// The staged product tree lies beside bin/, where this program is.
void SetBinaryDirectory() {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    ::setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    SetBinaryDirectory();
    tti::test::EnterPrivateMountNamespace();
    tti::test::MountProductTree();
    g_machine = std::make_unique<Machine>();
    g_machine->rootFile = g_machine->scratch.Path() + "/root.pem";
    tti::test::WriteTextFile(g_machine->rootFile, Root().Pem());
    for (int index = 0; index < kDatabases; ++index) {
      const std::string directory =
          g_machine->scratch.MakeFolder("home" + std::to_string(index) + "/.pki/nssdb");
      tti::test::CreateNssDatabase(directory);
      g_machine->directories.push_back(directory);
    }
  } catch (const std::exception& error) {
    std::cerr << "sandbox: " << error.what() << "\n";
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter(RatioReporter::Clock::kReal);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double helper = reporter.m_times["BM_AddThroughHelper"];
  const double certutil = reporter.m_times["BM_CertutilLoop"];
  if (helper > 0 && certutil > 0) {
    std::printf(
        "certutil -A loop / AddCertificatesToStore, %d databases: %.2f (%.1f ms against "
        "%.1f ms)\n",
        kDatabases, certutil / helper, certutil, helper);
    std::printf(
        "AddCertificatesToStore / certutil -A loop: %.2f (goal: at most 1.2); of its %.1f ms, the "
        "in-process reads %.1f ms, the helper runs %.1f ms\n",
        helper / certutil, helper, reporter.m_times["BM_ReadStore"],
        reporter.m_times["BM_HelperAlone"]);
  }
  benchmark::Shutdown();
  g_machine.reset();
  return 0;
}
