#include <string>
#include <vector>

#include "abi/cert_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;

const std::vector<Account> kTwoUsers = {{"alice", 1000, "/home/alice"}, {"bob", 1001, "/home/bob"}};

// The databases of several users each get the root; a store that refuses is traced and does not
// stop the next one; the removal's failure line carries the OpenSSL step's code.
TEST_F(CertManagerTest, InstallUninstall_NssStoresOfSeveralUsers_OneFailingStoreSkipped) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, kTwoUsers);
    const std::string aliceDirectory = "/home/alice/.mozilla/firefox/p1";
    const std::string aliceStore = MakeNssDatabase(aliceDirectory);
    const std::string bobStore = MakeNssDatabase("/home/bob/.pki/nssdb");
    const std::string bobDirectory = "/home/bob/.pki/nssdb";
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Nss Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    EXPECT_EQ(manager->Install(ToRaw(root.Der())), 0);
    EXPECT_EQ(CountOf(NssCertificates(aliceDirectory), root.Der()), 1u);
    EXPECT_EQ(CountOf(NssCertificates(bobDirectory), root.Der()), 1u);
    EXPECT_EQ(LineCount(800, "Add cert to " + aliceStore), 1u);
    EXPECT_TRUE(tracer->Texts(500).empty());

    tti::test::MakeReadOnly(aliceDirectory);
    EXPECT_EQ(manager->Uninstall(ToRaw(root.Der())), 0);
    EXPECT_EQ(CountOf(NssCertificates(aliceDirectory), root.Der()), 1u);
    EXPECT_EQ(CountOf(NssCertificates(bobDirectory), root.Der()), 0u);
    EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{"Cannot delete certificate from: " +
                                                           aliceStore + ": 0x00000000 (No error)"});

    const tti::test::TestCertificate second = tti::test::MakeRootCertificate("Nss Root 2");
    tracer->Clear();
    EXPECT_EQ(manager->Install(ToRaw(second.Der())), 0);
    EXPECT_EQ(CountOf(NssCertificates(bobDirectory), second.Der()), 1u);
    EXPECT_EQ(tracer->Texts(500),
              std::vector<std::string>{"Cannot add certificate to " + aliceStore +
                                       ": 0x8000004b (Unspecified error)"});
  });
}

// Uninstall keeps the last installed certificate for stores that turn up later.
TEST_F(CertManagerTest, NewDatabase_AfterUninstall_ReceivesLastInstalled) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kTwoUsers);
    const tti::test::TestCertificate first = tti::test::MakeRootCertificate("First Root");
    const tti::test::TestCertificate last = tti::test::MakeRootCertificate("Last Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    EXPECT_EQ(manager->Install(ToRaw(first.Der())), 0);
    EXPECT_EQ(manager->Install(ToRaw(last.Der())), 0);
    EXPECT_EQ(manager->Uninstall(ToRaw(last.Der())), 0);

    const std::string directory = "/home/bob/snap/chromium/current/.pki/nssdb";
    const std::string store = MakeNssDatabase(directory);
    EXPECT_EQ(inotify->Deliver(store, 7), 0);
    const std::vector<Der> held = NssCertificates(directory);
    EXPECT_EQ(CountOf(held, last.Der()), 1u);
    EXPECT_EQ(CountOf(held, first.Der()), 0u);
  });
}

// The cache reads the databases: a certificate in two of them is one candidate.
TEST_F(CertManagerTest, LoadCertificates_SameCertificateInTwoDatabases_OneCandidate) {
  RunInMountNamespace([&] {
    size_t bundleCount = 0;
    tti::test::RealCaBundle(&bundleCount);
    BuildMachine(StoreLayout::kFedora, kTwoUsers);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Shared Root");
    const std::string pemPath = "/home/shared-root.pem";
    tti::test::WriteTextFile(pemPath, root.Pem());
    for (const std::string directory : {"/home/alice/.pki/nssdb", "/home/bob/.pki/nssdb"}) {
      MakeNssDatabase(directory);
      ASSERT_EQ(std::system(("certutil -A -d 'sql:" + directory + "' -n shared -t C,, -a -i " +
                             pemPath + " >/dev/null 2>&1")
                                .c_str()),
                0);
    }
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    EXPECT_EQ(LineCount(800, "certificate list size: " + std::to_string(bundleCount + 2)), 1u);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});
  });
}

}  // namespace
}  // namespace cert_manager_test
