// Install and Uninstall through the real module and the host's own services over a whole
// synthetic machine: the system store of each layout and the NSS databases of several users, one
// of which refuses writes.
#include <map>
#include <string>
#include <vector>

#include "abi/cert_manager/machine.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "system/certificate_manager/system_fixture.h"

namespace certificate_manager_system {
namespace {

using cert_manager_test::Account;
using cert_manager_test::BundleCertificates;
using cert_manager_test::CountOf;
using cert_manager_test::MakeNssDatabase;
using cert_manager_test::NssCertificates;
using tti::test::StoreLayout;

const std::vector<Account> kUsers = {
    {"alice", 1000, "/home/alice"}, {"bob", 1001, "/home/bob"}, {"carol", 1002, "/home/carol"}};
// Firefox, Chromium and a snap's Chromium profile; carol's is made read-only.
const std::vector<std::string> kDatabases = {"/home/alice/.mozilla/firefox/abcd.default-release",
                                             "/home/alice/.pki/nssdb", "/home/bob/.pki/nssdb",
                                             "/home/bob/snap/chromium/current/.pki/nssdb"};
const char kRefusingDatabase[] = "/home/carol/.mozilla/firefox/efgh.default";

struct Layout {
  StoreLayout layout;
  std::vector<std::string> storeTrees;  // every place the OpenSSL step may write
  std::vector<std::string> bundles;
};

class InstallSystemTest : public CertificateManagerSystemTest,
                          public ::testing::WithParamInterface<Layout> {};

TEST_P(InstallSystemTest, WholeMachine_RootEverywhereThenNothingLeft_RefusingStoreSkipped) {
  const Layout& layout = GetParam();
  tti::test::RunInMountNamespace([&] {
    cert_manager_test::BuildMachine(layout.layout, kUsers);
    for (const std::string& directory : kDatabases) {
      MakeNssDatabase(directory);
    }
    const std::string refusing = MakeNssDatabase(kRefusingDatabase);
    tti::test::MakeReadOnly(kRefusingDatabase);
    const std::map<std::string, std::string> before = Snapshot(layout.storeTrees);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("System Test Root");
    const tti::test::TestCertificate leaf = tti::test::MakeServerCertificate(root, "127.0.0.1");

    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(Install(manager.get(), root.Der()), 0);

    for (const std::string& bundle : layout.bundles) {
      EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 1u) << bundle;
    }
    EXPECT_FALSE(ProductEntries(Snapshot(layout.storeTrees)).empty());
    for (const std::string& directory : kDatabases) {
      EXPECT_EQ(CountOf(NssCertificates(directory), root.Der()), 1u) << directory;
    }
    EXPECT_EQ(CountOf(NssCertificates(kRefusingDatabase), root.Der()), 0u);
    const std::vector<std::string> warnings = tracer->Texts(500);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].rfind("Cannot add certificate to " + refusing + ": ", 0), 0u)
        << warnings[0];
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 0);
    EXPECT_EQ(CountOf(parents, root.Der()), 1u);

    ASSERT_EQ(Uninstall(manager.get(), root.Der()), 0);
    // The store trees are byte for byte as they were: no anchor, link or bundle entry is left.
    const std::map<std::string, std::string> after = Snapshot(layout.storeTrees);
    EXPECT_TRUE(ProductEntries(after).empty());
    EXPECT_TRUE(after == before);
    for (const std::string& bundle : layout.bundles) {
      EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 0u) << bundle;
    }
    for (const std::string& directory : kDatabases) {
      EXPECT_TRUE(NssCertificates(directory).empty()) << directory;
    }
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 1);
  });
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, InstallSystemTest,
    ::testing::Values(
        Layout{StoreLayout::kDebian,
               {"/etc/ssl", "/usr/lib/ssl", "/usr/local/share/ca-certificates"},
               {"/etc/ssl/certs/ca-certificates.crt", "/usr/lib/ssl/cert.pem"}},
        Layout{StoreLayout::kFedora, {"/etc/pki"}, {"/etc/pki/tls/certs/ca-bundle.crt"}}),
    [](const ::testing::TestParamInfo<Layout>& info) {
      return info.param.layout == StoreLayout::kDebian ? "Debian" : "Fedora";
    });

}  // namespace
}  // namespace certificate_manager_system
