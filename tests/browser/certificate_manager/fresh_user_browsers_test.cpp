// Debian's Chromium and Firefox ESR as a fresh user meets them: each browser makes its own profile
// and NSS database at its first start (Chromium under ~/.local/share/pki, Firefox under
// ~/.config/mozilla), and trusts a local server issued by a root exactly while the real module has
// that root installed, whether the database was there before Install or appeared after it.
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "support/browsers.h"
#include "support/local_https_server.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

constexpr uint32_t kUid = 1000;
const char kHome[] = "/home/alice";

// The folders of every NSS database below the home, sorted.
std::vector<std::string> DatabaseFolders() {
  std::vector<std::string> folders;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(kHome)) {
    if (entry.path().filename() == "cert9.db") {
      folders.push_back(entry.path().parent_path().string());
    }
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

class FreshUserBrowsersTest : public CertManagerTest {
 protected:
  // Builds the machine with one user whose home is empty and belongs to them.
  void BuildMachine() {
    tti::test::BuildMachine(StoreLayout::kDebian, {{"alice", kUid, kHome}});
    ASSERT_EQ(::chown(kHome, kUid, kUid), 0);
  }

  bool ChromiumLoads(const tti::test::LocalHttpsServer& https) {
    const tti::test::PageLoad load = tti::test::LoadInChromium(kHome, kUid, https.Port());
    EXPECT_NE(load.loaded, load.authorityInvalid) << load.output;
    return load.loaded;
  }

  // Firefox either asks for the page or breaks the handshake off with an alert.
  bool FirefoxLoads(const tti::test::LocalHttpsServer& https) {
    const size_t served = https.Served();
    const size_t refused = https.Refused();
    EXPECT_TRUE(tti::test::RunFirefoxUntil(kHome, kUid, https.Port(), [&] {
      return https.Served() > served || https.Refused() > refused;
    }));
    return https.Served() > served;
  }
};

TEST_F(FreshUserBrowsersTest, FirstStartBeforeInstall_TrustedExactlyWhileInstalled) {
  RunInMountNamespace([&] {
    BuildMachine();
    const TestCertificate root = tti::test::MakeRootCertificate("Fresh User Root");
    const TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    const tti::test::LocalHttpsServer https(server);

    EXPECT_FALSE(ChromiumLoads(https));
    EXPECT_FALSE(FirefoxLoads(https));
    const std::vector<std::string> folders = DatabaseFolders();
    ASSERT_EQ(folders.size(), 2u);
    EXPECT_EQ(folders[0].rfind("/home/alice/.config/mozilla/firefox/", 0), 0u) << folders[0];
    EXPECT_EQ(folders[1], "/home/alice/.local/share/pki/nssdb");

    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(root.Der())), 0);
    EXPECT_TRUE(ChromiumLoads(https));
    EXPECT_TRUE(FirefoxLoads(https));

    ASSERT_EQ(manager->Uninstall(Raw(root.Der())), 0);
    EXPECT_FALSE(ChromiumLoads(https));
    EXPECT_FALSE(FirefoxLoads(https));
    for (const std::string& folder : folders) {
      EXPECT_EQ(CountOf(NssCertificates(folder), root.Der()), 0u) << folder;
    }
  });
}

TEST_F(FreshUserBrowsersTest, FirstStartAfterInstall_TheNewDatabaseGetsTheRootThroughTheEvent) {
  RunInMountNamespace([&] {
    BuildMachine();
    const TestCertificate root = tti::test::MakeRootCertificate("Watched Fresh Root");
    const TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    const tti::test::LocalHttpsServer https(server);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(root.Der())), 0);

    // The first start makes the database and may read it before the module has written it.
    FirefoxLoads(https);
    const std::vector<std::string> folders = DatabaseFolders();
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_TRUE(tti::test::Eventually([&] {
      return CountOf(NssCertificates(folders[0]), root.Der()) == 1;
    })) << folders[0];
    EXPECT_TRUE(FirefoxLoads(https));
  });
}

}  // namespace
}  // namespace tti::test
