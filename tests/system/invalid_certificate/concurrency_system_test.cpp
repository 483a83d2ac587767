#include <gtest/gtest.h>
#include <unistd.h>

#include <locale>
#include <string>
#include <thread>
#include <vector>

#include "engine/connections.h"
#include "handler_fixture.h"
#include "host/capturing_tracer.h"
#include "host/event_publisher.h"
#include "host/host_object.h"
#include "host/host_services.h"
#include "invalid_certificate_handler.h"
#include "support/cert_factory.h"

namespace {

namespace tci = qel::tcp_traffic_interceptor;
namespace ssl = ::traffic_processing::protocollers::ssl;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;

constexpr int kThreads = 8;
// 1200 distinct domains in all: more than the cache holds, so puts evict while others read.
constexpr int kDomainsPerThread = 150;

// The handler built into this binary (not loaded), so that its cache can be counted. Every
// operation runs on eight threads at once over 1200 domains; run under the tsan preset, this is
// the race test of both locks.
// libstdc++ fills the narrow() cache of std::ctype<char> lazily, one byte per first use, from
// whichever thread asks: a write race that is harmless (every writer stores the same value) but
// that the thread sanitizer reports when the host's publisher formats two events at once. Filling
// it once before the threads start leaves them only reads.
void FillNarrowCache() {
  for (const std::locale& locale : {std::locale::classic(), std::locale()}) {
    const auto& ctype = std::use_facet<std::ctype<char>>(locale);
    for (int c = 0; c < 256; ++c) {
      ctype.narrow(static_cast<char>(c), '\0');
    }
  }
}

TEST(HandlerConcurrencyTest, AllOperationsAtOnce_CacheStaysWithinItsCapacity) {
  tti::test::MountHandlerTemplate();
  FillNarrowCache();
  auto tracer = host::MakeObject<host::CapturingTracer>();
  tracer->RefuseLevel(800);
  host::HostServices services = host::HostServices::Create(tracer.get());
  const tti::test::TempDir directory;
  services.events = host::MakeObject<host::EventPublisher>(directory / "events");
  services.locator->Add<qel::INonRemoteEventPublisher>(services.events.get());

  orv::intrusive_ptr<ssl::IInvalidCertificateResolver> resolver;
  ASSERT_EQ((orv::Object<tci::InvalidCertificateHandler, orv::LocatorObjectFactory>::CreateInstance(
                services.locator.get(), ssl::IInvalidCertificateResolver::kIid,
                reinterpret_cast<void**>(resolver.Ref()))),
            0);
  auto* handler = static_cast<tci::InvalidCertificateHandler*>(resolver.get());

  const auto root = tti::test::MakeRootCertificate("Race Root");
  const auto server = tti::test::MakeServerCertificate(root, "race.example");
  const engine::Der serverDer = server.Der();
  const engine::Der rootDer = root.Der();
  const auto tcp = engine::Make<engine::TcpConnection>(static_cast<uint32_t>(::getpid()));

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kDomainsPerThread; ++i) {
        engine::SslConnectionData data;
        data.domain = "t" + std::to_string(t) + "-" + std::to_string(i) + ".example";
        data.verificationResult = 0x80020004;
        data.serverCertificate = serverDer;
        data.chain.certificates = {serverDer, rootDer};
        const auto connection = engine::Make<engine::SslConnection>(data);
        handler->OnInvalidCertificateDetected(tcp.get(), connection.get());

        tci::InvalidCertificateHandlerSettings settings;
        settings.action = static_cast<qel::UntrustedCertificateAction::Type>(i % 2);
        settings.addToAutoExcludes = (i % 3) != 0;
        handler->SetSettings(&settings);
        handler->GetSettings(&settings);

        auto verdict = ssl::InvalidCertificateVerdict::Allow;
        handler->Resolve(tcp.get(), connection.get(), verdict);

        ssl::InvalidCertificateSecureDesktopRequest request;
        request.clientPid = static_cast<uint32_t>(::getpid());
        request.domain = orv::types::string8_t(data.domain);
        request.certificate = tti::test::BytesAs<decltype(request.certificate)>(serverDer);
        handler->Resolve(request, verdict);

        auto_excludes::AutoExcludeRequest exclude;
        exclude.uniquePid = 1;
        exclude.domain = orv::types::string16_t(u"x.example");
        auto excluded = auto_excludes::AutoExcludeVerdict::NotExcluded;
        handler->Process(exclude, excluded);

        // Reads an older domain of another thread: a use that reorders the cache under the
        // others' puts.
        ssl::InvalidCertificateWebAlertData page;
        page.domain = orv::types::string8_t("t" + std::to_string((t + 1) % kThreads) + "-" +
                                            std::to_string(i / 2) + ".example");
        orv::types::string8_t body;
        handler->GetWebAlertStub(page, body);

        ASSERT_LE(handler->CachedDomains(), 1024u);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(handler->CachedDomains(), 1024u);
  EXPECT_GE(services.events->published(), static_cast<uint64_t>(kThreads * kDomainsPerThread * 3));
}

}  // namespace
