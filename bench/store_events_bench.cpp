// The certificate manager watching a machine of N homes with one NSS database each (N = 10, 100,
// 1,000; each N in a child process with its own private mount namespace over a Debian-like machine)
// through the real module and the host's real inotify provider, while Install runs:
// - database reads per install (each helper add reads its database once, and every read of the
//   manager's is a "Loaded ... NSS3 storage" line) and per delivered event;
// - the watcher's CPU per install (the process's CPU but the installing thread's) against the
//   install's own (the installing thread and the helpers);
// - the longest FindParentCertificates on another thread while an uninstall and an install run,
//   while the bundle is read again, and with nothing running: the longest call, the longest that
//   waited (gave the processor up) and the longest the scheduler never switched out, beside empty
//   steps of the same length on the same thread (what the machine itself does to a running thread);
// - the watcher's CPU for one change of the bundle.
// Prints one row per N with the goals beside the numbers. Arguments: the N to run (default all).
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "crypto/trusted_certificate_provider.h"
#include "host/capturing_tracer.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "sandbox/machine.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"

namespace {

using Der = std::vector<uint8_t>;
using qel::tcp_traffic_interceptor::ICertificateManager;
using Clock = std::chrono::steady_clock;

constexpr char kBundle[] = "/etc/ssl/certs/ca-certificates.crt";
// Every read of a database: one per helper add (it drops what the database holds already) and one
// per "Loaded ... NSS3 storage" line of the manager.
const std::string kNssRead = "' NSS3 storage";
const std::string kAdd = "Add cert to ";
const std::string kCacheSize = "cache size ";

double Seconds(const timespec& time) { return time.tv_sec + time.tv_nsec / 1e9; }

double ClockSeconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return Seconds(now);
}

double ChildrenSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
         usage.ru_stime.tv_usec / 1e6;
}

// CPU seconds of the process (every thread), of this thread, and of reaped children.
struct Cpu {
  double process = ClockSeconds(CLOCK_PROCESS_CPUTIME_ID);
  double thread = ClockSeconds(CLOCK_THREAD_CPUTIME_ID);
  double children = ChildrenSeconds();
};

struct Machine {
  std::unique_ptr<host::LoadedModule> module;
  orv::intrusive_ptr<host::CapturingTracer> tracer;
  host::HostServices services;
  orv::intrusive_ptr<ICertificateManager> manager;
  orv::intrusive_ptr<crypto::ITrustedCertificateProvider> lookups;
};

// Until the provider delivered nothing for half a second: the events of the last write are done.
void WaitQuiet(Machine& machine) {
  uint64_t last = machine.services.fileEvents->delivered();
  for (;;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    const uint64_t now = machine.services.fileEvents->delivered();
    if (now == last) {
      return;
    }
    last = now;
  }
}

// N homes, each with a copy of one certutil-made database; the module with the host's services.
void Build(Machine& machine, int homes) {
  std::vector<host::sandbox::Account> accounts;
  for (int i = 0; i < homes; ++i) {
    accounts.push_back({"user" + std::to_string(i), static_cast<uint32_t>(1000 + i),
                        "/home/user" + std::to_string(i)});
  }
  host::sandbox::BuildMachine(tti::test::StoreLayout::kDebian, accounts);
  const std::string model = "/root/.model";
  host::sandbox::MakeNssDatabase(model);
  for (const host::sandbox::Account& account : accounts) {
    const std::filesystem::path directory = account.home + "/.pki/nssdb";
    std::filesystem::create_directories(directory);
    for (const char* name : {"cert9.db", "key4.db", "pkcs11.txt"}) {
      std::filesystem::copy_file(model + "/" + name, directory / name);
    }
  }
  std::filesystem::remove_all(model);
  machine.module = std::make_unique<host::LoadedModule>(std::string(std::getenv("TTI_BINARY_DIR")) +
                                                        "/bin/libtcp_traffic_interceptor.so");
  machine.tracer = host::MakeObject<host::CapturingTracer>();
  machine.tracer->KeepLines(false);
  for (const std::string& prefix : {kNssRead, kAdd, kCacheSize}) {
    machine.tracer->CountFragment(prefix);
  }
  machine.services = host::HostServices::Create(machine.tracer.get());
  orv::intrusive_ptr<orv::IObjectFactory> factory;
  if (machine.module->GetObjectFactory(machine.services.locator.get(),
                                       qel::tcp_traffic_interceptor::CLSID_CertificateManager,
                                       factory.Ref()) != 0 ||
      factory->CreateInstance(machine.services.locator.get(), ICertificateManager::kIid,
                              reinterpret_cast<void**>(machine.manager.Ref())) != 0 ||
      machine.manager->QueryInterface(crypto::ITrustedCertificateProvider::kIid,
                                      reinterpret_cast<void**>(machine.lookups.Ref())) != 0) {
    throw std::runtime_error("the certificate manager cannot be made");
  }
}

qel::RawCert ToRaw(const Der& der) {
  qel::RawCert raw;
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

uint64_t DatabaseReads(const Machine& machine) {
  return machine.tracer->Counted(kAdd) + machine.tracer->Counted(kNssRead);
}

rusage ThreadUsage() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage;
}

// The longest of a kind of call, sorted by what the kernel says happened in each: it gave the
// processor up itself (it waited: a lock, a page fault on a busy memory map, a disk read), the
// scheduler took the processor from it (a time slice of the others), or neither.
class Longest {
 public:
  template <class Call>
  void Time(Call&& call) {
    const rusage before = ThreadUsage();
    const auto start = Clock::now();
    call();
    const auto took = Clock::now() - start;
    const rusage after = ThreadUsage();
    m_longest = std::max(m_longest, took);
    m_total += took;
    if (after.ru_nvcsw != before.ru_nvcsw) {
      m_longestWaiting = std::max(m_longestWaiting, took);
      ++m_waits;
    } else if (after.ru_nivcsw == before.ru_nivcsw) {
      m_longestUnswitched = std::max(m_longestUnswitched, took);
      m_overGoal += took > std::chrono::milliseconds(1);
    }
    ++m_calls;
  }
  std::chrono::nanoseconds unswitched() const { return m_longestUnswitched; }
  std::string Describe() const {
    char text[240];
    std::snprintf(text, sizeof(text),
                  "%.3f ms of %ld (mean %.2f us); %ld waited, longest %.3f ms; never switched out "
                  "%.3f ms, %ld "
                  "of them over 1 ms",
                  Ms(m_longest), m_calls, m_total.count() / 1e3 / std::max(m_calls, 1L), m_waits,
                  Ms(m_longestWaiting), Ms(m_longestUnswitched), m_overGoal);
    return text;
  }

 private:
  static double Ms(std::chrono::nanoseconds time) { return time.count() / 1e6; }

  long m_calls = 0;
  long m_waits = 0;
  long m_overGoal = 0;
  std::chrono::nanoseconds m_total{0};
  std::chrono::nanoseconds m_longest{0};
  std::chrono::nanoseconds m_longestWaiting{0};
  std::chrono::nanoseconds m_longestUnswitched{0};
};

// Looks up `leaf` on its own thread until stopped, each lookup followed by an empty step of about
// the same length: what the empty steps meet (the hypervisor taking the virtual processor while
// the host writes our disk, interrupts) is the machine's, not the lookup's.
class Looker {
 public:
  Looker(Machine& machine, const Der& leaf)
      : m_thread([this, &machine, leaf] {
          const const_blob_range_t blob{leaf.data(), leaf.data() + leaf.size()};
          orv::types::vector_t<orv::types::vector_t<unsigned char>> parents;
          pthread_setname_np(pthread_self(), "looker");  // for perf's eyes
          const auto lookup = [&] {
            m_failures += machine.lookups->FindParentCertificates(nullptr, blob, parents) != 0;
          };
          const auto step = [](long spins) {
            for (volatile long i = 0; i < spins; i = i + 1) {
            }
          };
          // Empty steps as long as a lookup, so that both meet the machine as often.
          constexpr int kCalibration = 20000;
          constexpr long kSpins = 1000;
          const auto start = Clock::now();
          for (int i = 0; i < kCalibration; ++i) {
            lookup();
          }
          const auto middle = Clock::now();
          for (int i = 0; i < kCalibration; ++i) {
            step(kSpins);
          }
          const long spins = std::max<long>(1, kSpins * (middle - start) / (Clock::now() - middle));
          while (!m_stop) {
            m_lookups.Time(lookup);
            m_steps.Time([&] { step(spins); });
          }
        }) {}
  void Stop() {
    m_stop = true;
    m_thread.join();
  }
  // Read after Stop.
  std::string Describe() const {
    return "lookups " + m_lookups.Describe() + "\n      empty steps " + m_steps.Describe();
  }
  int failures() const { return m_failures; }

 private:
  std::atomic<bool> m_stop{false};
  int m_failures = 0;
  Longest m_lookups;
  Longest m_steps;
  std::thread m_thread;
};

void RunRow(int homes) {
  Machine machine;
  Build(machine, homes);
  const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Bench Root");
  const tti::test::TestCertificate packaged = tti::test::MakeRootCertificate("Packaged Root");
  const tti::test::TestCertificate leaf = tti::test::MakeServerCertificate(packaged, "leaf");
  tti::test::WriteTextFile(kBundle, tti::test::ReadTextFile(kBundle) + packaged.Pem());
  WaitQuiet(machine);

  // The install, watched.
  const uint64_t readsBefore = DatabaseReads(machine);
  const uint64_t eventsBefore = machine.services.fileEvents->delivered();
  const Cpu before;
  machine.manager->Install(ToRaw(root.Der()));
  const Cpu installed;
  const uint64_t readsByInstall = DatabaseReads(machine) - readsBefore;
  WaitQuiet(machine);
  const Cpu after;
  const uint64_t reads = DatabaseReads(machine) - readsBefore;
  const uint64_t events = machine.services.fileEvents->delivered() - eventsBefore;
  const double own = installed.thread - before.thread + after.children - before.children;
  const double watcher = (after.process - before.process) - (after.thread - before.thread);

  // One change of the bundle: the watcher's CPU, five times.
  constexpr int kChanges = 5;
  const uint64_t loadsBefore = machine.tracer->Counted(kCacheSize);
  const Cpu changeStart;
  for (int i = 0; i < kChanges; ++i) {
    tti::test::WriteTextFile(kBundle, tti::test::ReadTextFile(kBundle) + "\n");
    WaitQuiet(machine);
  }
  const Cpu changeEnd;
  const double bundleEvent =
      ((changeEnd.process - changeStart.process) - (changeEnd.thread - changeStart.thread)) /
      kChanges;
  const bool reloaded = machine.tracer->Counted(kCacheSize) - loadsBefore >= kChanges;

  // The longest lookup with nothing else running, as the anchor of the same machine and load.
  Looker idle(machine, leaf.Der());
  std::this_thread::sleep_for(std::chrono::seconds(3));
  idle.Stop();

  // The longest lookup while an uninstall and an install run (helpers started), then while the
  // bundle is read again (no helper).
  Looker looker(machine, leaf.Der());
  machine.manager->Uninstall(ToRaw(root.Der()));
  machine.manager->Install(ToRaw(root.Der()));
  WaitQuiet(machine);
  looker.Stop();
  Looker reload(machine, leaf.Der());
  tti::test::WriteTextFile(kBundle, tti::test::ReadTextFile(kBundle) + "\n");
  WaitQuiet(machine);
  reload.Stop();

  std::printf(
      "N=%-5d reads per install %6llu (goal <= %d; %llu by Install itself), reads per event "
      "%.2f over %llu events; watcher CPU %.3f s against the install's %.3f s (goal <= 2x: "
      "%.2fx); bundle event %.2f ms CPU%s; %d lookups failed\n"
      "  longest lookup (goal <= 1 ms at N=1000)\n    while an uninstall and an install run:\n"
      "      %s\n    while the bundle is read again:\n      %s\n    with nothing running:\n"
      "      %s\n",
      homes, static_cast<unsigned long long>(reads), 2 * homes,
      static_cast<unsigned long long>(readsByInstall),
      events == 0 ? 0.0 : static_cast<double>(reads - readsByInstall) / events,
      static_cast<unsigned long long>(events), watcher, own, own > 0 ? watcher / own : 0.0,
      bundleEvent * 1e3, reloaded ? "" : " (NOT re-read)",
      looker.failures() + reload.failures() + idle.failures(), looker.Describe().c_str(),
      reload.Describe().c_str(), idle.Describe().c_str());
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
  std::vector<int> rows;
  for (int i = 1; i < argc; ++i) {
    if (const int homes = std::atoi(argv[i]); homes > 0) {
      rows.push_back(homes);
    }
  }
  if (rows.empty()) {
    rows = {10, 100, 1000};
  }
  std::printf("watching manager during Install (goal for the bundle event: N=1000 <= 2x N=10)\n");
  std::fflush(stdout);
  int failed = 0;
  for (const int homes : rows) {
    // Each row in a child of its own: a fresh namespace and machine, and CPU counted apart.
    const pid_t child = fork();
    if (child == 0) {
      try {
        tti::test::EnterPrivateMountNamespace();
        RunRow(homes);
      } catch (const std::exception& error) {
        std::fprintf(stderr, "N=%d: %s\n", homes, error.what());
        _exit(1);
      }
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    failed += !(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  return failed == 0 ? 0 : 1;
}
