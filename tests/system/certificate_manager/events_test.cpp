#include <string>
#include <vector>

#include "system/certificate_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

const std::vector<Account> kAlice = {{"alice", 1000, "/home/alice"}};
const std::string kOnEvent =
    "virtual result_t "
    "qel::tcp_traffic_interceptor::CertificateManagerImpl::OnEvent(const qel::InotifyEvent&)";
const std::string kLoad =
    "result_t qel::tcp_traffic_interceptor::CertificateManagerImpl::LoadCertificates()";

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

    const std::vector<std::string> watched = inotify->Paths(0x00000100);
    EXPECT_EQ(
        std::vector<std::string>(watched.begin() + watchedBefore, watched.end()),
        (std::vector<std::string>{"/home/carol/.mozilla", "/home/carol/snap", "/home/carol/Snap",
                                  "/home/carol/.snap", "/home/carol/.local/share/pki",
                                  "/home/carol/.config/mozilla", "/home/carol/.thunderbird",
                                  "/home/carol/.var/app"}));
    EXPECT_EQ(LineCount(800,
                        "qel::tcp_traffic_interceptor::CertificateManagerImpl::OnEvent(const "
                        "qel::InotifyEvent&)::<lambda(const auto:7&)> [with auto:7 = "
                        "qel::QelUser]: user home directory '/home/carol' is added"),
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

TEST_F(CertManagerTest, OnEvent_StorePaths_AddOnlyCreatedDatabasesReloadOnlyKnownStores) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, kAlice);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);
    // Uninstall keeps the last installed certificate for stores that turn up later.
    const TestCertificate first = tti::test::MakeRootCertificate("First Root");
    const TestCertificate last = tti::test::MakeRootCertificate("Last Root");
    EXPECT_EQ(Install(manager.get(), first.Der()), 0);
    EXPECT_EQ(Install(manager.get(), last.Der()), 0);
    EXPECT_EQ(Uninstall(manager.get(), last.Der()), 0);
    const std::string bundle = "/etc/pki/tls/certs/ca-bundle.crt";
    const std::string database = "/home/alice/.mozilla/firefox/p1/cert9.db";

    // Not a database, another type, an unknown path: nothing is added, nothing reloaded.
    tracer->Clear();
    EXPECT_EQ(inotify->Deliver(database, 7), 0);
    MakeNssDatabase("/home/alice/.mozilla/firefox/p1");
    EXPECT_EQ(inotify->Deliver(database, 6), 0);
    EXPECT_EQ(inotify->Deliver("/home/alice/.mozilla/firefox/p1/key4.db", 7), 0);
    EXPECT_TRUE(tracer->Texts(800).empty());

    // A created database becomes a store; its path is the event's, so the cache reloads too.
    EXPECT_EQ(inotify->Deliver(database, 7), 0);
    EXPECT_EQ(LineCount(800, "Add cert to " + database), 1u);
    EXPECT_EQ(LineCount(800, kOnEvent + " event.name: " + database + ", event.type: 7"), 1u);
    EXPECT_EQ(LineCount(800, kLoad), 1u);
    const std::vector<Der> held = NssCertificates("/home/alice/.mozilla/firefox/p1");
    EXPECT_EQ(held, std::vector<Der>{last.Der()});
    // From now on a change of it reloads.
    EXPECT_EQ(inotify->Deliver(database, 6), 0);
    EXPECT_EQ(LineCount(800, kLoad), 2u);

    // A certificate that reaches the bundle behind the module's back is found after the event.
    const TestCertificate root = tti::test::MakeRootCertificate("Bundle Root");
    std::vector<Der> parents;
    tti::test::WriteText(bundle, tti::test::ReadText(bundle) + root.Pem());
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 1);
    EXPECT_EQ(inotify->Deliver(bundle, 6), 0);
    EXPECT_EQ(LineCount(800, kOnEvent + " event.name: " + bundle + ", event.type: 6"), 1u);
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});
  });
}

}  // namespace
}  // namespace cert_manager_test
