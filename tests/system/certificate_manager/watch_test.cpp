// Store watching with the host's real inotify provider: a login recorded with the utmp calls, a
// database made later in a watched directory and a rewritten bundle each reach the module, and
// files that are no store change nothing.
#include <algorithm>
#include <string>
#include <vector>

#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

const Account kAlice = {"alice", 1000, "/home/alice"};
const Account kDave = {"dave", 1003, "/home/dave"};

// Moves a database in to `directory` (under a watched directory) and waits until the module added
// the root and reloaded the cache after it: every event queued before it is handled by then.
bool HandledBy(host::CapturingTracer& tracer, const std::string& directory, const Der& root) {
  MoveInNssDatabase(directory);
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

TEST_F(CertManagerTest, RealInotify_LoginNewDatabaseBundle_FollowedOthersIgnored) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {kAlice});
    MakeNssDatabase("/home/alice/.mozilla/firefox/known.default");
    const TestCertificate root = tti::test::MakeRootCertificate("Watched Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(root.Der())), 0);
    const auto Handled = [&](const std::string& directory) {
      return HandledBy(*tracer, directory, root.Der());
    };

    // A new account logs in; its home already holds a Chromium profile.
    WriteAccounts({kAlice, kDave});
    const std::string daveProfile = "/home/dave/.pki/nssdb";
    MakeNssDatabase(daveProfile);
    host::sandbox::LogIn("dave", 1);
    // The databases are read only once the module is done with them: certutil reading one while
    // the helper writes it can make the helper's write fail.
    EXPECT_TRUE(
        Eventually([&] { return tracer->Contains("path '/home/dave/.var/app' is subscribed"); }));
    EXPECT_EQ(CountOf(NssCertificates(daveProfile), root.Der()), 1u);
    EXPECT_TRUE(tracer->Contains("user home directory '/home/dave' is added"));

    // A browser makes a new profile in a watched place that did not exist yet, for a user known
    // from the start and for the user who just logged in.
    for (const std::string profile :
         {"/home/alice/.config/mozilla/firefox/late.default-esr",
          "/home/dave/.var/app/org.chromium.Chromium/.local/share/pki/nssdb"}) {
      EXPECT_TRUE(Handled(profile)) << profile;
    }

    // A package rewrites the bundle: the cache is loaded again and the lookup sees the newcomer.
    const TestCertificate packaged = tti::test::MakeRootCertificate("Packaged Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(packaged, "leaf");
    const std::string bundle = "/etc/ssl/certs/ca-certificates.crt";
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 1);
    tti::test::WriteText(bundle, tti::test::ReadText(bundle) + packaged.Pem());
    EXPECT_TRUE(Eventually([&] { return FindParents(manager.get(), leaf.Der(), parents) == 0; }));
    EXPECT_EQ(parents, std::vector<Der>{packaged.Der()});

    // Files that are no store, in a watched directory, between two new databases: events come
    // one at a time in order, so once the second database is handled the files were too. Only
    // the databases were given the root and reloaded the cache.
    const std::string directory = "/home/alice/.mozilla/firefox/";
    ASSERT_TRUE(Handled(directory + "first.sentinel"));
    const size_t loads = CountStartingWith(800, "cache size ");
    const size_t adds = CountStartingWith(800, "Add cert to ");
    const uint64_t delivered = services.fileEvents->delivered();
    tti::test::WriteText(directory + "profiles.ini", "[General]\n");
    tti::test::WriteText("/home/dave/.pki/key4.db", "not a database");
    ASSERT_TRUE(Handled(directory + "second.sentinel"));
    EXPECT_GE(services.fileEvents->delivered(), delivered + 3);
    EXPECT_EQ(CountStartingWith(800, "cache size "), loads + 1);
    EXPECT_EQ(CountStartingWith(800, "Add cert to "), adds + 1);
    EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{});
    // The reloads read the root from the bundles and from every database: one candidate.
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});

    manager.reset();
    EXPECT_EQ(services.fileEvents->subscriptions(), 0u);
  });
}

}  // namespace
}  // namespace tti::test
