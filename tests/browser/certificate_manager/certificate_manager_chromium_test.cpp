// Headless Chromium as the real client of the NSS database the module writes: through a user's
// ~/.pki/nssdb it accepts a local server issued by the root exactly while the root is installed.
#include <gtest/gtest.h>

#include "abi/cert_manager/machine.h"
#include "browser/certificate_manager/chromium_page.h"
#include "support/cert_factory.h"
#include "support/local_https_server.h"
#include "support/namespace_sandbox.h"
#include "system/certificate_manager/system_fixture.h"

namespace certificate_manager_system {
namespace {

using certificate_manager_browser::LoadLocalPage;
using certificate_manager_browser::PageLoad;

TEST_F(CertificateManagerSystemTest, Chromium_UsersNssDatabase_AcceptsOnlyWhileInstalled) {
  tti::test::RunInMountNamespace([&] {
    cert_manager_test::BuildMachine(tti::test::StoreLayout::kDebian,
                                    {{"alice", 1000, "/home/alice"}});
    cert_manager_test::MakeNssDatabase("/home/alice/.pki/nssdb");
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Browser Test Root");
    const tti::test::TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    const tti::test::LocalHttpsServer https(server);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    PageLoad load = LoadLocalPage("/home/alice", https.Port(), 1);
    EXPECT_FALSE(load.loaded) << load.output;
    EXPECT_TRUE(load.authorityInvalid) << load.output;

    ASSERT_EQ(Install(manager.get(), root.Der()), 0);
    load = LoadLocalPage("/home/alice", https.Port(), 2);
    EXPECT_TRUE(load.loaded) << load.output;
    EXPECT_FALSE(load.authorityInvalid) << load.output;

    ASSERT_EQ(Uninstall(manager.get(), root.Der()), 0);
    load = LoadLocalPage("/home/alice", https.Port(), 3);
    EXPECT_FALSE(load.loaded) << load.output;
    EXPECT_TRUE(load.authorityInvalid) << load.output;
  });
}

}  // namespace
}  // namespace certificate_manager_system
