#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "system/certificate_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

// Installs, removals, lookups and events from several threads at once: every call answers as it
// would alone, and the stores end as the last operations left them.
TEST_F(CertManagerTest, ParallelCalls_SerialiseAndLeaveStoresConsistent) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {{"alice", 1000, "/home/alice"}});
    const TestCertificate moving = tti::test::MakeRootCertificate("Moving Root");
    const TestCertificate steady = tti::test::MakeRootCertificate("Steady Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(steady, "leaf");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(Install(manager.get(), steady.Der()), 0);

    constexpr int kRounds = 4;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int installer = 0; installer < 2; ++installer) {
      threads.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
          failures += Install(manager.get(), moving.Der()) != 0;
          failures += Uninstall(manager.get(), moving.Der()) != 0;
        }
      });
    }
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds * 4; ++round) {
        std::vector<Der> parents;
        // The steady root is in the stores and the cache all along: reloads keep it.
        failures += FindParents(manager.get(), leaf.Der(), parents) != 0;
        failures += parents != std::vector<Der>{steady.Der()};
      }
    });
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        failures += inotify->Deliver("/etc/ssl/certs/ca-certificates.crt", 6) != 0;
        failures += inotify->Deliver("/var/run/utmp", 6) != 0;
      }
    });
    for (std::thread& thread : threads) {
      thread.join();
    }
    EXPECT_EQ(failures.load(), 0);

    ASSERT_EQ(Install(manager.get(), moving.Der()), 0);
    for (const char* bundle : {"/usr/lib/ssl/cert.pem", "/etc/ssl/certs/ca-certificates.crt"}) {
      const std::vector<Der> held = BundleCertificates(bundle);
      EXPECT_EQ(CountOf(held, moving.Der()), 1u) << bundle;
      EXPECT_EQ(CountOf(held, steady.Der()), 1u) << bundle;
    }
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), moving.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{moving.Der()});
  });
}

}  // namespace
}  // namespace cert_manager_test
