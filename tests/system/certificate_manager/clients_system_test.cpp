// curl, run with a clean environment, judges the system store the module writes on the
// Debian-like layout: it accepts a local server issued by the root exactly while it is installed.
#include <string>

#include "abi/cert_manager/machine.h"
#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/local_https_server.h"
#include "support/namespace_sandbox.h"
#include "system/certificate_manager/system_fixture.h"

namespace certificate_manager_system {
namespace {

// curl exits 60 when the issuer is unknown.
tti::test::CommandResult Fetch(int port) {
  return tti::test::RunClean(
      {"curl", "-sS", "--max-time", "60", "https://127.0.0.1:" + std::to_string(port) + "/"});
}

TEST_F(CertificateManagerSystemTest, Curl_SystemStore_AcceptsOnlyWhileInstalled) {
  tti::test::RunInMountNamespace([&] {
    cert_manager_test::BuildMachine(tti::test::StoreLayout::kDebian,
                                    {{"alice", 1000, "/home/alice"}});
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Curl Test Root");
    const tti::test::TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    const tti::test::LocalHttpsServer https(server);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    tti::test::CommandResult fetched = Fetch(https.Port());
    EXPECT_EQ(fetched.exitCode, 60) << fetched.output;

    ASSERT_EQ(Install(manager.get(), root.Der()), 0);
    fetched = Fetch(https.Port());
    EXPECT_EQ(fetched.exitCode, 0) << fetched.output;
    EXPECT_EQ(fetched.output, "ok\n");

    ASSERT_EQ(Uninstall(manager.get(), root.Der()), 0);
    fetched = Fetch(https.Port());
    EXPECT_EQ(fetched.exitCode, 60) << fetched.output;
  });
}

}  // namespace
}  // namespace certificate_manager_system
