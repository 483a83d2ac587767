#include <sys/stat.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "cert_manager/trace_texts.h"
#include "crypto/trusted_certificate_provider.h"
#include "sandbox/mount_namespace.h"
#include "support/machine.h"
#include "support/nss_test_db.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

const std::vector<Account> kAlice = {{"alice", 1000, "/home/alice"}};
namespace texts = qel::tcp_traffic_interceptor::cert_manager_texts;
const std::string kOnEvent = texts::kOnEvent;

TEST_F(CertManagerTest, OnEvent_LoginOfNewUser_StoresFoundDirectoriesSubscribedOnce) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, kAlice);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    const size_t watchedBefore = inotify->Paths(0x00000100).size();
    ASSERT_EQ(watchedBefore, 18u);

    // A login with no new account: only the entry line.
    tracer->Clear();
    EXPECT_EQ(inotify->Deliver("/var/run/utmp", 6), 0);
    EXPECT_EQ(tracer->Texts(800),
              std::vector<std::string>{kOnEvent + " event.name: /var/run/utmp, event.type: 6"});

    WriteAccounts({kAlice[0], {"carol", 1002, "/home/carol"}});
    const std::string carolStore = MakeNssDatabase("/home/carol/.mozilla/firefox/p1");
    inotify->FailPath("/home/carol/.pki", 0x80000041);
    tracer->Clear();
    EXPECT_EQ(inotify->Deliver("/var/run/utmp", 6), 0);

    // Every watched place of the new home but the one that failed.
    std::vector<std::string> carolPlaces = tti::test::WatchedPlaces({"/home/carol"});
    carolPlaces.erase(carolPlaces.begin() + 1);
    const std::vector<std::string> watched = inotify->Paths(0x00000100);
    EXPECT_EQ(std::vector<std::string>(watched.begin() + watchedBefore, watched.end()),
              carolPlaces);
    EXPECT_EQ(LineCount(800, std::string(texts::kNewHomeLambda) +
                                 ": user home directory '/home/carol' is added"),
              1u);
    EXPECT_EQ(LineCount(800, "Add cert to " + carolStore), 1u);
    EXPECT_EQ(LineCount(500, "Cannot subscribe to /home/carol/.pki events"), 1u);
    // Written after a failed subscription as well.
    EXPECT_EQ(LineCount(800, kOnEvent + ": path '/home/carol/.pki' is subscribed"), 1u);
    EXPECT_EQ(LineCount(800, kOnEvent + ": path '/home/carol/.var/app' is subscribed"), 1u);
    // The new store is not subscribed by itself: its directory covers it.
    EXPECT_EQ(inotify->Paths(0x00000782).size(), 2u);

    // The home is done, failed subscription and all.
    tracer->Clear();
    EXPECT_EQ(inotify->Deliver("/var/run/utmp", 6), 0);
    EXPECT_EQ(inotify->Paths(0x00000100).size(), watched.size());
    EXPECT_EQ(tracer->Texts(800).size(), 1u);
  });
}

TEST_F(CertManagerTest, OnEvent_StorePaths_AddOnlyCreatedDatabasesReadOnlyChangedStore) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kAlice);
    MakeNssDatabase("/home/alice/.pki/nssdb");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    // Uninstall keeps the last installed certificate for stores that turn up later.
    const TestCertificate first = tti::test::MakeRootCertificate("First Root");
    const TestCertificate last = tti::test::MakeRootCertificate("Last Root");
    EXPECT_EQ(manager->Install(Raw(first.Der())), 0);
    EXPECT_EQ(manager->Install(Raw(last.Der())), 0);
    EXPECT_EQ(manager->Uninstall(Raw(last.Der())), 0);
    const std::string directory = "/home/alice/.mozilla/firefox/p1";
    const std::string database = directory + "/cert9.db";
    const auto reads = [&] { return CountStartingWith(800, "Loaded "); };

    // Not a database, another type, an unknown path: nothing is added, nothing read.
    tracer->Clear();
    EXPECT_EQ(inotify->Deliver(database, 7), 0);
    MakeNssDatabase(directory);
    EXPECT_EQ(inotify->Deliver(database, 6), 0);
    EXPECT_EQ(inotify->Deliver(directory + "/key4.db", 7), 0);
    EXPECT_TRUE(tracer->Texts(800).empty());

    // A created database becomes a store, given the root and read: no other store is read.
    EXPECT_EQ(inotify->Deliver(database, 7), 0);
    EXPECT_EQ(LineCount(800, "Add cert to " + database), 1u);
    EXPECT_EQ(LineCount(800, kOnEvent + " event.name: " + database + ", event.type: 7"), 1u);
    EXPECT_EQ(tracer->Texts(800)[1], "Loaded 1 from '" + database + "' NSS3 storage");
    EXPECT_EQ(reads(), 1u);
    EXPECT_EQ(NssCertificates(directory), std::vector<Der>{last.Der()});
    // Its creation reported again, our own write's events, a known store's events: while the
    // files are the same as at the last read or write, a stat each and nothing read or added.
    for (const auto& [path, type] :
         std::vector<std::pair<std::string, uint32_t>>{{database, 7},
                                                       {database, 6},
                                                       {"/home/alice/.pki/nssdb/cert9.db", 6},
                                                       {"/etc/pki/tls/certs/ca-bundle.crt", 6}}) {
      EXPECT_EQ(inotify->Deliver(path, type), 0);
    }
    EXPECT_EQ(reads(), 1u);
    EXPECT_EQ(LineCount(800, "Add cert to " + database), 1u);
    // Changed by someone else: that store alone is read again, and the lookups see it.
    const TestCertificate other = tti::test::MakeRootCertificate("Other Root");
    tti::test::AddWithCertutil(directory, other, "other", "C,,");
    EXPECT_EQ(inotify->Deliver(database, 6), 0);
    EXPECT_EQ(reads(), 2u);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), other.Der(), parents), 0);
    // Gone: forgotten, no store read, no warning; made again at the same path, it is new.
    std::filesystem::remove_all(directory);
    EXPECT_EQ(inotify->Deliver(database, 8), 0);
    EXPECT_EQ(LineCount(800, "Forget " + database), 1u);
    MakeNssDatabase(directory);
    EXPECT_EQ(inotify->Deliver(database, 7), 0);
    EXPECT_EQ(LineCount(800, "Add cert to " + database), 2u);
    EXPECT_EQ(reads(), 3u);
    EXPECT_TRUE(tracer->Texts(500).empty());
    // Held once: an install runs the helper for it once.
    tracer->Clear();
    EXPECT_EQ(manager->Install(Raw(last.Der())), 0);
    EXPECT_EQ(LineCount(800, "Add cert to " + database), 1u);
  });
}

// The host's trusted certificates provider serves the PEM files of `trustedFolder`.
TEST_F(CertManagerTest, FindParentCertificates_ProviderThenCache_ResultsAndOutput) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kAlice);
    const TestCertificate root = tti::test::MakeRootCertificate("Lookup Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(root, "leaf");
    // Another root under the same name: only the provider has it.
    const TestCertificate twin = tti::test::MakeRootCertificate("Lookup Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    const auto provider = As<crypto::ITrustedCertificateProvider>(manager.get());

    // Not DER: 0x80000046 and the output untouched, the provider not asked.
    orv::types::vector_t<orv::types::vector_t<unsigned char>> output;
    output.emplace_back().push_back(0x42);
    const unsigned char junk[] = {0x01, 0x02};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {junk, junk + 2}, output), 0x80000046);
    EXPECT_EQ(provider->FindParentCertificates(nullptr, {}, output), 0x80000046);
    ASSERT_EQ(output.size(), 1u);
    EXPECT_EQ(services.trusted->lookups(), 0u);

    // Nothing anywhere: 1, the output emptied.
    const Der leafDer = leaf.Der();
    const const_blob_range_t leafBlob{leafDer.data(), leafDer.data() + leafDer.size()};
    EXPECT_EQ(provider->FindParentCertificates(nullptr, leafBlob, output), 1);
    EXPECT_EQ(output.size(), 0u);
    EXPECT_EQ(services.trusted->lookups(), 1u);
    EXPECT_EQ(LineCount(800, "parent cert was not found"), 1u);
    EXPECT_EQ(LineCount(800, texts::kFindParentCertificates), 3u);

    // The provider's candidates (asked by the issuer's name) come first, the cache's after them;
    // duplicates stay.
    tti::test::WriteText(trustedFolder / "roots.pem", twin.Pem() + root.Pem());
    services.trusted->Reload();
    EXPECT_EQ(manager->Install(Raw(root.Der())), 0);
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, (std::vector<Der>{twin.Der(), root.Der(), root.Der()}));

    // A provider that cannot answer: a check line, and the cache still answers.
    services.trusted->FailWith(0x8000004b);
    tracer->Clear();
    EXPECT_EQ(FindParents(manager.get(), leafDer, parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});
    ASSERT_EQ(tracer->Texts(300).size(), 1u);
    EXPECT_TRUE(tracer->Contains(
        "result = 0x8000004b (Unspecified error) Cannot get product trusted certificates"));
    EXPECT_TRUE(tracer->Contains(
        "try to find parent for subject: /O=tti tests/CN=leaf, issuer: /O=tti tests/CN=Lookup Root "
        "with hash "));
  });
}

// A helper held on purpose inside an install: a lookup on another thread answers from the cache
// published before, without waiting for the store work.
TEST_F(CertManagerTest, FindParentCertificates_HelperHeldInsideInstall_AnswersBeforeItEnds) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kAlice);
    MakeNssDatabase("/home/alice/.pki/nssdb");
    const TestCertificate packaged = tti::test::MakeRootCertificate("Packaged Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(packaged, "leaf");
    tti::test::WriteText("/etc/pki/tls/certs/ca-bundle.crt", packaged.Pem());
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    const std::string gate = "/home/.gate";
    const std::string started = "/home/.started";
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    host::sandbox::WriteTextFile(
        "/home/.helper", "#!/bin/sh\n: > " + started + "\nread line < " + gate + "\n", 0755);
    host::sandbox::BindReadOnly("/home/.helper", "/opt/morvane/tolm/libexec/cert-manager");

    std::thread install([&] { manager->Install(Raw(tti::test::MakeRootCertificate("R").Der())); });
    ASSERT_TRUE(tti::test::Eventually([&] { return std::filesystem::exists(started); }));
    std::atomic<bool> answered{false};
    std::vector<Der> parents;
    std::thread lookup([&] {
      EXPECT_EQ(FindParents(manager.get(), leaf.Der(), parents), 0);
      answered = true;
    });
    EXPECT_TRUE(tti::test::Eventually([&] { return answered.load(); }));
    tti::test::WriteText(gate, "go\n");
    install.join();
    lookup.join();
    EXPECT_EQ(parents, std::vector<Der>{packaged.Der()});
  });
}

// Installs, removals, lookups and events from several threads at once: every call answers as it
// would alone, and the stores end as the last operations left them.
TEST_F(CertManagerTest, ParallelCalls_SerialiseAndLeaveStoresConsistent) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, kAlice);
    const TestCertificate moving = tti::test::MakeRootCertificate("Moving Root");
    const TestCertificate steady = tti::test::MakeRootCertificate("Steady Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(steady, "leaf");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    ASSERT_EQ(manager->Install(Raw(steady.Der())), 0);

    constexpr int kRounds = 4;
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int installer = 0; installer < 2; ++installer) {
      threads.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
          failures += manager->Install(Raw(moving.Der())) != 0;
          failures += manager->Uninstall(Raw(moving.Der())) != 0;
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

    ASSERT_EQ(manager->Install(Raw(moving.Der())), 0);
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
}  // namespace tti::test
