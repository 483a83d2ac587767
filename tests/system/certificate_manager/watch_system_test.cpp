// Store watching with the host's real inotify provider: a login recorded with the utmp calls, a
// database made later in a watched directory and a rewritten bundle each reach the module, and
// files that are no store change nothing.
#include <string>
#include <vector>

#include "abi/cert_manager/machine.h"
#include "support/cert_factory.h"
#include "support/namespace_sandbox.h"
#include "system/certificate_manager/login_record.h"
#include "system/certificate_manager/system_fixture.h"

namespace certificate_manager_system {
namespace {

using cert_manager_test::Account;
using cert_manager_test::CountOf;
using cert_manager_test::MakeNssDatabase;
using cert_manager_test::NssCertificates;
using tti::test::StoreLayout;

const Account kAlice = {"alice", 1000, "/home/alice"};
const Account kDave = {"dave", 1003, "/home/dave"};

size_t CountStartingWith(const std::vector<std::string>& texts, const std::string& prefix) {
  size_t count = 0;
  for (const std::string& text : texts) {
    count += text.rfind(prefix, 0) == 0 ? 1 : 0;
  }
  return count;
}

TEST_F(CertificateManagerSystemTest, RealInotify_LoginNewDatabaseBundle_FollowedOthersIgnored) {
  tti::test::RunInMountNamespace([&] {
    cert_manager_test::BuildMachine(StoreLayout::kDebian, {kAlice});
    MakeNssDatabase("/home/alice/.mozilla/firefox/known.default");
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Watched Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(Install(manager.get(), root.Der()), 0);

    // A new account logs in; its home already holds a Chromium profile.
    cert_manager_test::WriteAccounts({kAlice, kDave});
    const std::string daveProfile = "/home/dave/.pki/nssdb";
    MakeNssDatabase(daveProfile);
    LogIn("dave", 1);
    EXPECT_TRUE(Eventually([&] { return CountOf(NssCertificates(daveProfile), root.Der()) == 1; }));
    EXPECT_TRUE(tracer->Contains("user home directory '/home/dave' is added"));

    // A browser makes a new profile in a watched directory, for a user known from the start and
    // for the user who just logged in.
    for (const std::string profile :
         {"/home/alice/.mozilla/firefox/late.default", "/home/dave/snap/chromium/.pki/nssdb"}) {
      MakeNssDatabase(profile);
      EXPECT_TRUE(Eventually([&] { return CountOf(NssCertificates(profile), root.Der()) == 1; }))
          << profile;
    }

    // A package rewrites the bundle: the cache is loaded again and the lookup sees the newcomer.
    const tti::test::TestCertificate packaged = tti::test::MakeRootCertificate("Packaged Root");
    const tti::test::TestCertificate leaf = tti::test::MakeServerCertificate(packaged, "leaf");
    const std::string bundle = "/etc/ssl/certs/ca-certificates.crt";
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 1);
    tti::test::WriteTextFile(bundle, tti::test::ReadTextFile(bundle) + packaged.Pem());
    EXPECT_TRUE(Eventually([&] { return FindParents(manager.get(), leaf.Der(), parents) == 0; }));
    EXPECT_EQ(parents, std::vector<Der>{packaged.Der()});

    // Files that are no store, in watched directories: delivered, and nothing reloads or gets
    // the root.
    const size_t loads = CountStartingWith(tracer->Texts(800), "cache size ");
    const size_t adds = CountStartingWith(tracer->Texts(800), "Add cert to ");
    const uint64_t delivered = services.fileEvents->delivered();
    tti::test::WriteTextFile("/home/alice/.mozilla/firefox/profiles.ini", "[General]\n");
    tti::test::WriteTextFile("/home/dave/.pki/key4.db", "not a database");
    EXPECT_TRUE(Eventually([&] { return services.fileEvents->delivered() >= delivered + 2; }));
    EXPECT_EQ(CountStartingWith(tracer->Texts(800), "cache size "), loads);
    EXPECT_EQ(CountStartingWith(tracer->Texts(800), "Add cert to "), adds);
    EXPECT_TRUE(tracer->Texts(500).empty());

    manager.reset();
    EXPECT_EQ(services.fileEvents->subscriptions(), 0u);
  });
}

}  // namespace
}  // namespace certificate_manager_system
