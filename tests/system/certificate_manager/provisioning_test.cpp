// An administrator's script makes NSS databases with `certutil -N --empty-password`, without a
// terminal and as the home's owner, while the manager watches with the root installed; every
// other round the maker is held between making the files and choosing the password. A database
// handled before its maker is done would get its first password under the maker, which then asks
// for the old one without end; one handled only then and never again would stay without the root.
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/clean_command.h"
#include "support/nss_test_db.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

constexpr int kRounds = 200;
const Account kAlice = {"alice", 1000, "/home/alice"};

// `path` made anew, it and every folder between it and the home owned by alice.
void FreshDirectory(const std::string& path) {
  std::filesystem::remove_all(path);
  std::filesystem::create_directories(path);
  for (std::filesystem::path step = path; step != kAlice.home; step = step.parent_path()) {
    ASSERT_EQ(::chown(step.c_str(), kAlice.uid, kAlice.uid), 0) << step;
  }
}

// The folders are made anew each round, so a database is often deleted and made again at the
// same path before the manager handles the deletion: it must still count as a new database.
TEST_F(CertManagerTest, MakersWithoutTerminal_EndAndEachDatabaseGetsTheRoot) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {kAlice});
    ASSERT_EQ(::chown(kAlice.home.c_str(), kAlice.uid, kAlice.uid), 0);
    const TestCertificate root = tti::test::MakeRootCertificate("Provisioned Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(root.Der())), 0);

    for (int round = 0; round < kRounds; ++round) {
      const std::string places[] = {"/home/alice/.pki/nssdb",
                                    "/home/alice/.mozilla/firefox/p" + std::to_string(round),
                                    "/home/alice/.local/share/pki/nssdb"};
      const std::string& directory = places[round % 3];
      FreshDirectory(directory);
      // Read back only once the module has read it after its write: a reader in the middle of
      // the helper's write could make that write fail.
      const std::string loaded = "Loaded 1 from '" + directory + "/cert9.db' NSS3 storage";
      const size_t before = LineCount(800, loaded);
      if (round % 2 == 1) {
        // The maker stopped between its two steps, as a slow one is: the files made, its token
        // still without a password. The manager must leave it so until the maker is done.
        const std::string waiting = "Wait for the creator of " + directory + "/cert9.db";
        const size_t waits = LineCount(800, waiting);
        tti::test::CreateUnsetNssDatabase(directory);
        for (const char* name : {"/cert9.db", "/key4.db"}) {
          ASSERT_EQ(::chown((directory + name).c_str(), kAlice.uid, kAlice.uid), 0);
        }
        ASSERT_TRUE(tti::test::Eventually([&] { return LineCount(800, waiting) > waits; },
                                          std::chrono::seconds(5)))
            << directory;
      }
      const tti::test::CommandResult made = tti::test::RunCommand(
          {"certutil", "-N", "--empty-password", "-d", "sql:" + directory}, {}, kAlice.uid, 10);
      ASSERT_EQ(made.exitCode, 0) << directory << ": " << made.output.substr(0, 300);
      ASSERT_TRUE(tti::test::Eventually([&] { return LineCount(800, loaded) > before; },
                                        std::chrono::seconds(5)))
          << directory << " in round " << round;
      ASSERT_EQ(CountOf(NssCertificates(directory), root.Der()), 1u) << directory;
    }
    EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{});
  });
}

}  // namespace
}  // namespace tti::test
