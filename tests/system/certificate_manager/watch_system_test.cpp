// Store watching with the host's real inotify provider: a login recorded with the utmp calls, a
// database made later in a watched directory and a rewritten bundle each reach the module, and
// files that are no store change nothing.
#include <algorithm>
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

// Makes a database in `directory` (under a watched directory) and waits until the module added
// the root and reloaded the cache after it: every event queued before it is handled by then.
bool HandledBy(host::CapturingTracer& tracer, const std::string& directory, const Der& root) {
  cert_manager_test::MakeNssDatabase(directory);
  const std::string added = "Add cert to " + directory + "/cert9.db";
  return Eventually([&] {
    const std::vector<std::string> texts = tracer.Texts(800);
    const auto line = std::find(texts.begin(), texts.end(), added);
    return line != texts.end() &&
           std::find_if(line, texts.end(),
                        [](const std::string& text) {
                          return text.rfind("cache size ", 0) == 0;
                        }) != texts.end() &&
           CountOf(NssCertificates(directory), root) == 1;
  });
}

TEST_F(CertificateManagerSystemTest, RealInotify_LoginNewDatabaseBundle_FollowedOthersIgnored) {
  tti::test::RunInMountNamespace([&] {
    cert_manager_test::BuildMachine(StoreLayout::kDebian, {kAlice});
    MakeNssDatabase("/home/alice/.mozilla/firefox/known.default");
    const tti::test::TestCertificate root = tti::test::MakeRootCertificate("Watched Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(Install(manager.get(), root.Der()), 0);
    const auto Handled = [&](const std::string& directory) {
      return HandledBy(*tracer, directory, root.Der());
    };

    // A new account logs in; its home already holds a Chromium profile.
    cert_manager_test::WriteAccounts({kAlice, kDave});
    const std::string daveProfile = "/home/dave/.pki/nssdb";
    MakeNssDatabase(daveProfile);
    LogIn("dave", 1);
    EXPECT_TRUE(Eventually([&] { return CountOf(NssCertificates(daveProfile), root.Der()) == 1; }));
    EXPECT_TRUE(tracer->Contains("user home directory '/home/dave' is added"));

    // A browser makes a new profile in a watched place that did not exist yet, for a user known
    // from the start and for the user who just logged in.
    for (const std::string profile :
         {"/home/alice/.config/mozilla/firefox/late.default-esr",
          "/home/dave/.var/app/org.chromium.Chromium/.local/share/pki/nssdb"}) {
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

    // Files that are no store, in a watched directory, between two new databases: events come
    // one at a time in order, so once the second database is handled the files were too. Only
    // the databases were given the root and reloaded the cache.
    const std::string directory = "/home/alice/.mozilla/firefox/";
    ASSERT_TRUE(Handled(directory + "first.sentinel"));
    const size_t loads = CountStartingWith(tracer->Texts(800), "cache size ");
    const size_t adds = CountStartingWith(tracer->Texts(800), "Add cert to ");
    const uint64_t delivered = services.fileEvents->delivered();
    tti::test::WriteTextFile(directory + "profiles.ini", "[General]\n");
    tti::test::WriteTextFile("/home/dave/.pki/key4.db", "not a database");
    ASSERT_TRUE(Handled(directory + "second.sentinel"));
    EXPECT_GE(services.fileEvents->delivered(), delivered + 3);
    EXPECT_EQ(CountStartingWith(tracer->Texts(800), "cache size "), loads + 1);
    EXPECT_EQ(CountStartingWith(tracer->Texts(800), "Add cert to "), adds + 1);
    EXPECT_TRUE(tracer->Texts(500).empty());

    manager.reset();
    EXPECT_EQ(services.fileEvents->subscriptions(), 0u);
  });
}

}  // namespace
}  // namespace certificate_manager_system
