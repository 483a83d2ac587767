#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "abi/cert_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

using tti::test::RunInMountNamespace;
using tti::test::StoreLayout;

// Polls `condition` until it holds or 30 seconds have passed.
bool Eventually(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return true;
}

// With the host's real inotify provider: a browser profile made after the start, in a directory
// that did not exist then, gets the root; a package that rewrites the bundle is seen by the
// lookup; a user that logs in later has their new profile covered too.
TEST_F(CertManagerTest, RealInotify_LateProfileNewUserAndBundleChange_Followed) {
  services.locator->Add<qel::IInotifyEventsProvider>(services.fileEvents.get());
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, {{"alice", 1000, "/home/alice"}});
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Watched Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(ToRaw(root.Der())), 0);

    const std::string profile = "/home/alice/.mozilla/firefox/late.default";
    MakeNssDatabase(profile);
    EXPECT_TRUE(Eventually([&] { return CountOf(NssCertificates(profile), root.Der()) == 1; }));

    const tti::test::TestCertificate packaged = tti::test::MakeRootCertificate("Packaged Root");
    const std::string bundle = "/etc/pki/tls/certs/ca-bundle.crt";
    tti::test::WriteTextFile(bundle, tti::test::ReadTextFile(bundle) + packaged.Pem());
    std::vector<Der> parents;
    EXPECT_TRUE(
        Eventually([&] { return FindParents(manager.get(), packaged.Der(), parents) == 0; }));

    // A login record changes after a new account got its home: its directories are watched.
    WriteAccounts({{"alice", 1000, "/home/alice"}, {"dave", 1003, "/home/dave"}});
    tti::test::WriteTextFile("/var/run/utmp", "changed");
    EXPECT_TRUE(Eventually([&] {
      return tracer->Contains(
          "qel::InotifyEvent&)::<lambda(const auto:7&)> [with auto:7 = qel::QelUser]: user home "
          "directory '/home/dave' is added");
    }));
    const std::string daveProfile = "/home/dave/.pki/nssdb";
    MakeNssDatabase(daveProfile);
    EXPECT_TRUE(Eventually([&] { return CountOf(NssCertificates(daveProfile), root.Der()) == 1; }));

    manager.reset();
    EXPECT_EQ(services.fileEvents->subscriptions(), 0u);
  });
}

}  // namespace
}  // namespace cert_manager_test
