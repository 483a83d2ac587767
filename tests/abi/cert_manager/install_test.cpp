#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "abi/cert_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;

const std::vector<Account> kTwoUsers = {{"alice", 1000, "/home/alice"}, {"bob", 1001, "/home/bob"}};
const char* const kProductPrefix = "Morvane_Shield_Personal_Root_Certificate_";

std::vector<std::string> ProductFiles(const std::string& directory) {
  std::vector<std::string> names;
  if (DIR* listing = ::opendir(directory.c_str())) {
    while (const dirent* entry = ::readdir(listing)) {
      if (std::string(entry->d_name).rfind(kProductPrefix, 0) == 0) {
        names.push_back(entry->d_name);
      }
    }
    ::closedir(listing);
  }
  return names;
}

struct Layout {
  StoreLayout layout;
  const char* anchorDirectory;
  std::vector<std::string> bundles;
};

class CertManagerLayoutTest : public CertManagerTest,
                              public ::testing::WithParamInterface<Layout> {};

TEST_P(CertManagerLayoutTest, InstallThenUninstall_StoresAndCacheFollow) {
  const Layout& layout = GetParam();
  RunInMountNamespace([&] {
    BuildMachine(layout.layout, kTwoUsers);
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Install Root");
    const tti::test::TestCertificate leaf = tti::test::MakeServerCertificate(root, "leaf");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 1);

    // Twice: the second run finds its copies and adds nothing.
    for (int round = 0; round < 2; ++round) {
      EXPECT_EQ(manager->Install(ToRaw(root.Der())), 0);
      for (const std::string& bundle : layout.bundles) {
        EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 1u) << bundle;
      }
      const std::vector<std::string> anchors = ProductFiles(layout.anchorDirectory);
      ASSERT_EQ(anchors.size(), 1u);
      EXPECT_EQ(tti::test::ReadTextFile(std::string(layout.anchorDirectory) + anchors[0]),
                root.Pem());
      // The cache has it at once, without a reload.
      EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 0);
      EXPECT_EQ(parents, std::vector<Der>{root.Der()});
    }
    EXPECT_EQ(
        LineCount(800,
                  "virtual result_t "
                  "qel::tcp_traffic_interceptor::CertificateManager::Install(const RawCert&)"),
        2u);
    if (layout.layout == StoreLayout::kDebian) {
      EXPECT_EQ(ProductFiles("/etc/ssl/certs").size(), 1u);
    }

    EXPECT_EQ(manager->Uninstall(ToRaw(root.Der())), 0);
    for (const std::string& bundle : layout.bundles) {
      EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 0u) << bundle;
    }
    EXPECT_TRUE(ProductFiles(layout.anchorDirectory).empty());
    EXPECT_TRUE(ProductFiles("/etc/ssl/certs").empty());
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 1);
    EXPECT_TRUE(parents.empty());
    EXPECT_EQ(LineCount(800,
                        "virtual result_t "
                        "qel::tcp_traffic_interceptor::CertificateManager::Uninstall(const "
                        "RawCert&)"),
              1u);
    EXPECT_TRUE(tracer->Texts(500).empty());
  });
}

INSTANTIATE_TEST_SUITE_P(Layouts, CertManagerLayoutTest,
                         ::testing::Values(Layout{StoreLayout::kDebian,
                                                  "/usr/local/share/ca-certificates/",
                                                  {"/usr/lib/ssl/cert.pem",
                                                   "/etc/ssl/certs/ca-certificates.crt"}},
                                           Layout{StoreLayout::kFedora,
                                                  "/etc/pki/ca-trust/source/anchors/",
                                                  {"/etc/pki/tls/certs/ca-bundle.crt"}}));

TEST_F(CertManagerTest, Install_OpenSslStoresRefuse_WarnsReturnsZeroAndCaches) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kTwoUsers);
    // The bundle cannot be rewritten: the OpenSSL step fails and takes its anchor file back.
    tti::test::MakeReadOnly("/etc/pki/tls/certs");
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Refused Root");
    const std::string bundleBefore = tti::test::ReadTextFile("/etc/pki/tls/certs/ca-bundle.crt");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    EXPECT_EQ(manager->Install(ToRaw(root.Der())), 0);
    const std::vector<std::string> warnings = tracer->Texts(500);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].rfind("Cannot add certificate to openssl storage: 0x8", 0), 0u)
        << warnings[0];
    EXPECT_TRUE(tti::test::ReadTextFile("/etc/pki/tls/certs/ca-bundle.crt") == bundleBefore);
    EXPECT_TRUE(ProductFiles("/etc/pki/ca-trust/source/anchors/").empty());
    // Cached all the same; a self-signed certificate is its own parent.
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});

    tracer->Clear();
    EXPECT_EQ(manager->Uninstall(ToRaw(root.Der())), 0);
    EXPECT_EQ(
        tracer->Texts(500),
        std::vector<std::string>{
            "Cannot delete certificate from openssl storage: 0x8000004b (Unspecified error)"});
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 1);
  });
}

TEST_F(CertManagerTest, Install_Garbage_ReturnsZeroAndCachesNothing) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kTwoUsers);
    const std::string bundleBefore = tti::test::ReadTextFile("/etc/pki/tls/certs/ca-bundle.crt");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    EXPECT_EQ(manager->Install(ToRaw(Der{0x30, 0x03, 0x01, 0x02, 0x03})), 0);
    EXPECT_EQ(manager->Uninstall(ToRaw(Der{0x30, 0x03, 0x01, 0x02, 0x03})), 0);
    EXPECT_EQ(tti::test::ReadTextFile("/etc/pki/tls/certs/ca-bundle.crt"), bundleBefore);
    EXPECT_TRUE(ProductFiles("/etc/pki/ca-trust/source/anchors/").empty());
  });
}

}  // namespace
}  // namespace cert_manager_test
