// CertificateManager through the real module, in a private mount namespace over a Debian-like
// machine (the machine's real CA set as the bundle) with 50 users, each with an NSS database that
// holds the product's root:
// - BM_CreateCertificateManager: CreateInstance, whose FinalConstruct finds every store, loads
//   the cache (LoadCertificates) and subscribes;
// - BM_LoadCertificatesThroughEvent: a change of the bundle (its modification time) delivered as
//   an event, which reads that bundle again (and none of the 50 databases);
// - BM_FindParentCertificates: one lookup (DER in, copies out) cycling over the bundle;
// - BM_OpenSslGet1Issuer and BM_OpenSslGet1IssuerFromDer: OpenSSL's own issuer lookup
//   (X509_STORE_CTX_get1_issuer) over an X509_STORE of the same certificates, with the
//   certificate already parsed and parsed from DER each time as the module must.
// Prints the ratios of the lookups by CPU time.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <openssl/x509_vfy.h>

#include "crypto/trusted_certificate_provider.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "host/stderr_tracer.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "ratio_reporter.h"
#include "sandbox/machine.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "system/certificate_manager/recording_inotify_provider.h"

namespace {

using Der = std::vector<uint8_t>;
using qel::tcp_traffic_interceptor::ICertificateManager;
using StorePtr = std::unique_ptr<X509_STORE, decltype(&X509_STORE_free)>;
using StoreCtxPtr = std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)>;

constexpr int kUsers = 50;
constexpr char kBundle[] = "/etc/ssl/certs/ca-certificates.crt";

// The module, the host's services with an inotify double (events are delivered by the benchmark),
// and the certificates of the bundle, set up once in main.
struct Setup {
  std::unique_ptr<host::LoadedModule> module;
  host::HostServices services;
  orv::intrusive_ptr<tti::test::RecordingInotifyProvider> inotify;
  orv::intrusive_ptr<ICertificateManager> manager;
  std::vector<Der> bundle;
};
Setup* g_setup = nullptr;

orv::intrusive_ptr<ICertificateManager> CreateManager(Setup& setup) {
  orv::intrusive_ptr<orv::IObjectFactory> factory;
  orv::intrusive_ptr<ICertificateManager> manager;
  if (setup.module->GetObjectFactory(setup.services.locator.get(),
                                     qel::tcp_traffic_interceptor::CLSID_CertificateManager,
                                     factory.Ref()) != 0 ||
      factory->CreateInstance(setup.services.locator.get(), ICertificateManager::kIid,
                              reinterpret_cast<void**>(manager.Ref())) != 0) {
    return nullptr;
  }
  return manager;
}

result_t FindParents(ICertificateManager* manager, const Der& certificate,
                     orv::types::vector_t<orv::types::vector_t<unsigned char>>& parents) {
  orv::intrusive_ptr<crypto::ITrustedCertificateProvider> provider;
  manager->QueryInterface(crypto::ITrustedCertificateProvider::kIid,
                          reinterpret_cast<void**>(provider.Ref()));
  const const_blob_range_t blob{certificate.data(), certificate.data() + certificate.size()};
  return provider->FindParentCertificates(nullptr, blob, parents);
}

qel::RawCert ToRaw(const Der& der) {
  qel::RawCert raw;
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

void BM_CreateCertificateManager(benchmark::State& state) {
  for (auto _ : state) {
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager(*g_setup);
    if (!manager) {
      state.SkipWithError("CreateInstance failed");
      break;
    }
  }
  state.counters["databases"] = kUsers;
}
BENCHMARK(BM_CreateCertificateManager)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LoadCertificatesThroughEvent(benchmark::State& state) {
  for (auto _ : state) {
    utimensat(AT_FDCWD, kBundle, nullptr, 0);
    if (g_setup->inotify->Deliver(kBundle, 2) != 0) {
      state.SkipWithError("OnEvent failed");
      break;
    }
  }
  state.counters["bundle"] = static_cast<double>(g_setup->bundle.size());
  state.counters["databases"] = kUsers;
}
BENCHMARK(BM_LoadCertificatesThroughEvent)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FindParentCertificates(benchmark::State& state) {
  ICertificateManager* manager = g_setup->manager.get();
  const std::vector<Der>& bundle = g_setup->bundle;
  orv::types::vector_t<orv::types::vector_t<unsigned char>> parents;
  size_t next = 0;
  for (auto _ : state) {
    if (FindParents(manager, bundle[next], parents) != 0) {
      state.SkipWithError("a root of the bundle did not find itself");
      break;
    }
    next = (next + 1) % bundle.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FindParentCertificates);

// An X509_STORE of the bundle's certificates and the installed root, and a context over it.
struct OpenSslLookup {
  StorePtr store{X509_STORE_new(), X509_STORE_free};
  StoreCtxPtr context{X509_STORE_CTX_new(), X509_STORE_CTX_free};
  std::vector<qel::tcp_traffic_interceptor::cert_stores::X509Ptr> parsed;

  OpenSslLookup() {
    for (const Der& der : g_setup->bundle) {
      const unsigned char* bytes = der.data();
      parsed.emplace_back(d2i_X509(nullptr, &bytes, static_cast<long>(der.size())));
      X509_STORE_add_cert(store.get(), parsed.back().get());
    }
    X509_STORE_CTX_init(context.get(), store.get(), parsed.front().get(), nullptr);
  }
};

void BM_OpenSslGet1Issuer(benchmark::State& state) {
  OpenSslLookup lookup;
  size_t next = 0;
  for (auto _ : state) {
    X509* issuer = nullptr;
    if (X509_STORE_CTX_get1_issuer(&issuer, lookup.context.get(), lookup.parsed[next].get()) != 1) {
      state.SkipWithError("a root of the bundle did not find itself");
      break;
    }
    X509_free(issuer);
    next = (next + 1) % lookup.parsed.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OpenSslGet1Issuer);

void BM_OpenSslGet1IssuerFromDer(benchmark::State& state) {
  OpenSslLookup lookup;
  const std::vector<Der>& bundle = g_setup->bundle;
  size_t next = 0;
  for (auto _ : state) {
    const unsigned char* bytes = bundle[next].data();
    qel::tcp_traffic_interceptor::cert_stores::X509Ptr certificate(
        d2i_X509(nullptr, &bytes, static_cast<long>(bundle[next].size())));
    X509* issuer = nullptr;
    if (X509_STORE_CTX_get1_issuer(&issuer, lookup.context.get(), certificate.get()) != 1) {
      state.SkipWithError("a root of the bundle did not find itself");
      break;
    }
    X509_free(issuer);
    next = (next + 1) % bundle.size();
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_OpenSslGet1IssuerFromDer);

// The machine, the module and a manager that installed a root into every store; a bundle change
// delivered as an event must reach the lookup before anything is timed.
void BuildSetup(Setup& setup) {
  std::vector<host::sandbox::Account> accounts;
  for (int i = 0; i < kUsers; ++i) {
    accounts.push_back({"user" + std::to_string(i), static_cast<uint32_t>(1000 + i),
                        "/home/user" + std::to_string(i)});
  }
  host::sandbox::BuildMachine(tti::test::StoreLayout::kDebian, accounts);
  for (const host::sandbox::Account& account : accounts) {
    host::sandbox::MakeNssDatabase(account.home + "/.pki/nssdb");
  }
  setup.module = std::make_unique<host::LoadedModule>(std::string(std::getenv("TTI_BINARY_DIR")) +
                                                      "/bin/libtcp_traffic_interceptor.so");
  auto tracer = host::MakeObject<host::StderrTracer>(300);
  setup.services = host::HostServices::Create(tracer.get());
  setup.inotify = host::MakeObject<tti::test::RecordingInotifyProvider>();
  setup.services.locator->Add<qel::IInotifyEventsProvider>(setup.inotify.get());
  setup.manager = CreateManager(setup);
  if (!setup.manager) {
    throw std::runtime_error("the certificate manager cannot be made");
  }
  const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Bench Root");
  if (setup.manager->Install(ToRaw(root.Der())) != 0) {
    throw std::runtime_error("Install failed");
  }
  if (host::sandbox::NssCertificates("/home/user49/.pki/nssdb").size() != 1) {
    throw std::runtime_error("the root did not reach the databases");
  }
  const tti::test::TestCertificate added = tti::test::MakeRootCertificate("Bench Added Root");
  tti::test::WriteTextFile(kBundle, tti::test::ReadTextFile(kBundle) + added.Pem());
  orv::types::vector_t<orv::types::vector_t<unsigned char>> parents;
  const auto addedRaw = added.Der();
  const Der addedDer(addedRaw.begin(), addedRaw.end());
  if (setup.inotify->Deliver(kBundle, 2) != 0 ||
      FindParents(setup.manager.get(), addedDer, parents) != 0) {
    throw std::runtime_error("a bundle change did not reload the cache");
  }
  setup.bundle = host::sandbox::BundleCertificates(kBundle);
  std::printf("%zu certificates in the bundle, %d NSS databases\n", setup.bundle.size(), kUsers);
}

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
  Setup setup;
  try {
    tti::test::EnterPrivateMountNamespace();
    BuildSetup(setup);
  } catch (const std::exception& error) {
    std::cerr << "setup: " << error.what() << "\n";
    return 1;
  }
  g_setup = &setup;
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double module = reporter.m_times["BM_FindParentCertificates"];
  const double parsed = reporter.m_times["BM_OpenSslGet1Issuer"];
  const double fromDer = reporter.m_times["BM_OpenSslGet1IssuerFromDer"];
  if (module > 0 && parsed > 0 && fromDer > 0) {
    std::printf(
        "FindParentCertificates / X509_STORE_CTX_get1_issuer: %.2f (%.0f ns against %.0f ns)\n",
        module / parsed, module, parsed);
    std::printf(
        "FindParentCertificates / d2i_X509 + X509_STORE_CTX_get1_issuer: %.2f (%.0f ns "
        "against %.0f ns)\n",
        module / fromDer, module, fromDer);
    std::printf("lookups per second: FindParentCertificates %.0f, get1_issuer %.0f\n", 1e9 / module,
                1e9 / parsed);
  }
  g_setup = nullptr;
  setup.manager.reset();
  benchmark::Shutdown();
  return 0;
}
