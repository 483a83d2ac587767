#pragma once

#include <unistd.h>

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "component/traffic_processing/protocollers/ssl/auto_excludes/auto_exclude_request.h"
#include "component/traffic_processing/protocollers/ssl/invalid_certificate.h"
#include "engine/connections.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler.h"
#include "support/cert_factory.h"
#include "support/module_fixture.h"
#include "support/scratch.h"

namespace tti::test {

namespace ssl = ::traffic_processing::protocollers::ssl;
namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;

constexpr uint32_t kHandlerClass = 0xb10fd857;

// Puts the build's staged product tree (the page template among it) at its fixed path for this
// whole test process. The process enters its own mount namespace first (before any thread
// exists); nothing reaches the real /opt.
void MountHandlerTemplate();

// The real module's handler with the host's services: events go to a file through the host's
// EventPublisher and are read back as JSON objects in the order of their fields.
class HandlerTest : public ModuleTest {
 protected:
  static void SetUpTestSuite();
  void SetUp() override;

  // A fresh handler through the module's factory (all seven interfaces answer one object).
  orv::intrusive_ptr<ssl::IInvalidCertificateResolver> CreateHandler();
  void SetAction(orv::IObject* handler, uint32_t action, bool addToAutoExcludes = true);

  // Resolve, or OnInvalidCertificateDetected, of `handler` for a fresh connection of `data` from
  // process `pid`, whose engine object fails with `clientFailure` unless it is 0; the result.
  result_t Resolve(orv::IObject* handler, const engine::SslConnectionData& data,
                   ssl::InvalidCertificateVerdict& verdict, uint32_t pid = ::getpid(),
                   result_t clientFailure = 0);
  result_t Detect(orv::IObject* handler, const engine::SslConnectionData& data,
                  uint32_t pid = ::getpid(), result_t clientFailure = 0);
  // A connection to `domain` whose certificates are real: server, intermediate, root.
  engine::SslConnectionData Connection(const std::string& domain) const;
  // The events written so far, each one JSON object with its keys in the written order.
  std::vector<nlohmann::ordered_json> Events() const;
  // The running web threat protection task (id 41) and a web control task (id 42) in `control`.
  void ConfigureTasks(qel::TaskState::Type threat, qel::TaskState::Type control);

  tti::test::TestCertificate root = tti::test::MakeRootCertificate("Handler Test Root");
  tti::test::TestCertificate intermediate =
      tti::test::MakeServerCertificate(root, "Handler Test Intermediate");
  tti::test::TestCertificate server = tti::test::MakeServerCertificate(root, "bad.example");
  tti::test::TempDir eventsFolder;
  std::string eventsPath;
};

}  // namespace tti::test
