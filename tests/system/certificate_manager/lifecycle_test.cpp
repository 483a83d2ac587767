#include <openssl/x509.h>

#include <string>
#include <vector>

#include "cert_manager/trace_texts.h"
#include "orv/string.h"
#include "support/machine.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

namespace texts = qel::tcp_traffic_interceptor::cert_manager_texts;

const std::vector<Account> kTwoUsers = {{"alice", 1000, "/home/alice"}, {"bob", 1001, "/home/bob"}};
TEST_F(CertManagerTest, FinalConstruct_SubscribesLoginsWatchDirectoriesAndStoresInOrder) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, kTwoUsers);
    const std::string aliceStore = MakeNssDatabase("/home/alice/.pki/nssdb");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    const auto subscriptions = inotify->Subscriptions();
    ASSERT_FALSE(subscriptions.empty());
    EXPECT_EQ(subscriptions[0].path, "/var/run/utmp");
    EXPECT_EQ(subscriptions[0].flags, 0x00000002u);
    // Accounts in name order; directories that do not exist are subscribed all the same.
    EXPECT_EQ(inotify->Paths(0x00000100),
              tti::test::WatchedPlaces({"/home/alice", "/home/bob", "/root"}));
    EXPECT_EQ(inotify->Paths(0x00000782),
              (std::vector<std::string>{aliceStore, "/usr/lib/ssl/cert.pem",
                                        "/etc/ssl/certs/ca-certificates.crt"}));
    EXPECT_EQ(subscriptions.size(), 1u + 27u + 3u);

    // The receiver is the worker, not the object the host holds.
    qel::IInotifyEventsReceiver* receiver = inotify->Receiver();
    ASSERT_NE(receiver, nullptr);
    void* first = nullptr;
    void* asked = nullptr;
    ASSERT_EQ(receiver->QueryInterface(0, &first), 0);
    ASSERT_EQ(receiver->QueryInterface(qel::IInotifyEventsReceiver::kIid, &asked), 0);
    EXPECT_EQ(first, asked);
    void* notThere = nullptr;
    EXPECT_EQ(receiver->QueryInterface(ICertificateManager::kIid, &notThere), 0x80000001);
    receiver->Release();
    receiver->Release();
    orv::types::string8_t name("a name longer than the inline buffer");
    EXPECT_EQ(receiver->GetName(name), 0);
    EXPECT_EQ(std::string(name.view()), "CertificateManager");
    EXPECT_EQ(name.size(), 18u);

    manager.reset();
    EXPECT_EQ(inotify->unsubscribes(), 1u);
    EXPECT_EQ(inotify->Receiver(), nullptr);
    EXPECT_EQ(module().CanUnloadModule(), 0);
  });
}

// The whole detail and warning lines of a small machine's life: construction, one install, one
// removal, the release. Golden: the expected lines stay literal, an independent witness that the
// named fixed texts hold the right bytes.
TEST_F(CertManagerTest, Lines_SmallMachine_Golden) {
  RecordInotify();
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, {{"alice", 1000, "/home/alice"}});
    const TestCertificate root = tti::test::MakeRootCertificate("Golden Root");
    const std::string bundle = "/etc/pki/tls/certs/ca-bundle.crt";
    tti::test::WriteText(bundle, root.Pem());
    const std::string added =
        "add subject: /O=tti tests/CN=Golden Root, issuer: /O=tti tests/CN=Golden Root with hash " +
        std::to_string(X509_subject_name_hash(root.x509.get()));
    {
      orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
      ASSERT_TRUE(manager);
      EXPECT_EQ(manager->Install(Raw(root.Der())), 0);
      EXPECT_EQ(manager->Uninstall(Raw(root.Der())), 0);
    }
    std::vector<std::string> expected = {
        "result_t qel::tcp_traffic_interceptor::CertificateManager::FinalConstruct()",
        "try to find all nss3 storages",
        "found 0 nss3 storages",
        "try to find all openssl storages",
        "found 1 openssl storages",
        "result_t qel::tcp_traffic_interceptor::CertificateManagerImpl::LoadCertificates()",
        "Loaded 1 from '" + bundle + "' openssl storage",
        "certificate list size: 1",
        added,
        "cache size 1"};
    for (const std::string& directory : tti::test::WatchedPlaces({"/home/alice", "/root"})) {
      expected.push_back("watch " + directory);
    }
    const std::string manager = "qel::tcp_traffic_interceptor::CertificateManager::";
    expected.insert(
        expected.end(),
        {"watch " + bundle, "virtual result_t " + manager + "Install(const RawCert&)",
         "virtual result_t " + manager + "Uninstall(const RawCert&)",
         // Its own rewrite of the bundle is read once, not at each of its events.
         "Loaded 0 from '" + bundle + "' openssl storage", "void " + manager + "FinalRelease()"});
    EXPECT_EQ(tracer->Texts(800), expected);
    // The bundle held the root already: the install wrote the anchor file only, and the removal
    // took both away; nothing failed.
    EXPECT_TRUE(tracer->Texts(500).empty());
    EXPECT_TRUE(tracer->Texts(300).empty());
  });
}

struct SubscribeFailure {
  const char* path;
  const char* expression;
  size_t subscribedBefore;
};

TEST_F(CertManagerTest, FinalConstruct_SubscribeFails_CheckLineFailureAndAllUnsubscribed) {
  const SubscribeFailure cases[] = {
      {"/var/run/utmp", texts::kSubscribeLoginsExpression, 0},
      {"/home/bob/.mozilla", texts::kSubscribeDirectoryExpression, 10},
      {"/etc/ssl/certs/ca-certificates.crt", texts::kSubscribeStoreExpression, 29},
  };
  for (const SubscribeFailure& failure : cases) {
    SCOPED_TRACE(failure.path);
    tracer->Clear();
    RecordInotify();
    inotify->FailPath(failure.path, 0x80000041);
    RunInMountNamespace([&] {
      BuildMachine(StoreLayout::kDebian, kTwoUsers);
      orv::intrusive_ptr<ICertificateManager> manager;
      EXPECT_EQ(TryCreate(manager), static_cast<result_t>(0x80000041));
      EXPECT_FALSE(manager);
      // Nothing after the failing step was asked for; FinalRelease ended what was subscribed.
      EXPECT_EQ(inotify->Subscriptions().size(), failure.subscribedBefore);
      EXPECT_EQ(inotify->unsubscribes(), 1u);
      EXPECT_EQ(inotify->Receiver(), nullptr);
      EXPECT_TRUE(tracer->Contains("(" + std::string(failure.expression) +
                                   "),(ORV_SUCCEEDED(_result)) failed: result = 0x80000041"));
      EXPECT_TRUE(tracer->Contains(
          "(m_impl->SubscribeToEvents()),(ORV_SUCCEEDED(_result)) failed: result = 0x80000041"));
      EXPECT_EQ(module().CanUnloadModule(), 0);
    });
  }
}

TEST_F(CertManagerTest, Construct_ProviderMissing_FailsWithItsLiteral) {
  const std::pair<uint32_t, const char*> cases[] = {
      {qel::ITrustedCertificatesProvider::kIid, texts::kNoTrustedCertificatesProvider},
      {qel::IInotifyEventsProvider::kIid, texts::kNoInotifyEventsProvider},
  };
  for (const auto& [iid, literal] : cases) {
    SCOPED_TRACE(literal);
    SetUp();
    RecordInotify();
    services.locator->Remove(iid);
    RunInMountNamespace([&] {
      BuildMachine(StoreLayout::kFedora, kTwoUsers);
      orv::intrusive_ptr<ICertificateManager> manager;
      EXPECT_LT(TryCreate(manager), 0);
      EXPECT_FALSE(manager);
      EXPECT_TRUE(tracer->Contains(literal));
      EXPECT_TRUE(inotify->Subscriptions().empty());
      EXPECT_EQ(module().CanUnloadModule(), 0);
    });
  }
}

}  // namespace
}  // namespace tti::test
