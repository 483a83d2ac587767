// Install and Uninstall through the real module and the host's own services over a whole
// synthetic machine: the system store of each layout, judged by openssl and curl run with a clean
// environment, and the NSS databases of several users, one of which refuses writes.
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "support/clean_command.h"
#include "support/local_https_server.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

const std::vector<Account> kUsers = {
    {"alice", 1000, "/home/alice"}, {"bob", 1001, "/home/bob"}, {"carol", 1002, "/home/carol"}};
// Firefox, Chromium and a snap's Chromium profile; carol's is made read-only.
const std::vector<std::string> kDatabases = {"/home/alice/.mozilla/firefox/abcd.default-release",
                                             "/home/alice/.pki/nssdb", "/home/bob/.pki/nssdb",
                                             "/home/bob/snap/chromium/current/.pki/nssdb"};
const char kRefusingDatabase[] = "/home/carol/.mozilla/firefox/efgh.default";
const char kServerFile[] = "/root/server.pem";

struct Layout {
  StoreLayout layout;
  std::vector<std::string> storeTrees;  // every place the OpenSSL step may write
  std::vector<std::string> bundles;
  std::string anchors;
  // The anchor and, where the update tool's layout has them, its name and hash links (the folder
  // of links is seen under /usr/lib/ssl too).
  size_t productEntries;
};

// The entries whose name or link target holds the product's prefix.
Tree ProductEntries(const Tree& snapshot) {
  Tree products;
  for (const auto& [path, content] : snapshot) {
    if ((path + content).find("Morvane_Shield_Personal_Root_Certificate_") != std::string::npos) {
      products.emplace(path, content);
    }
  }
  return products;
}

// For each client, whether it trusts the server: openssl with each bundle and, where the layout
// has them, with the hash links; curl, whose built-in trust is the Debian-like bundle.
std::vector<bool> Trust(const Layout& layout, int port) {
  std::vector<std::vector<std::string>> clients;
  for (const std::string& bundle : layout.bundles) {
    clients.push_back({"openssl", "verify", "-no-CApath", "-CAfile", bundle, kServerFile});
  }
  if (layout.layout == StoreLayout::kDebian) {
    clients.push_back(
        {"openssl", "verify", "-no-CAfile", "-CApath", "/etc/ssl/certs", kServerFile});
    clients.push_back(
        {"curl", "-sS", "--max-time", "30", "https://127.0.0.1:" + std::to_string(port) + "/"});
  }
  std::vector<bool> trust;
  for (const std::vector<std::string>& client : clients) {
    trust.push_back(tti::test::RunClean(client).exitCode == 0);
  }
  return trust;
}

class InstallTest : public CertManagerTest, public ::testing::WithParamInterface<Layout> {};

TEST_P(InstallTest, WholeMachine_RootEverywhereThenNothingLeft_RefusingStoreSkipped) {
  const Layout& layout = GetParam();
  RunInMountNamespace([&] {
    BuildMachine(layout.layout, kUsers);
    for (const std::string& directory : kDatabases) {
      MakeNssDatabase(directory);
    }
    const std::string refusing = MakeNssDatabase(kRefusingDatabase);
    tti::test::MakeReadOnly(kRefusingDatabase);
    const TestCertificate root = tti::test::MakeRootCertificate("System Test Root");
    const TestCertificate server = tti::test::MakeServerCertificate(root, "127.0.0.1");
    tti::test::WriteText(kServerFile, server.Pem());
    const tti::test::LocalHttpsServer https(server);
    const size_t clients = Trust(layout, https.Port()).size();
    EXPECT_EQ(Trust(layout, https.Port()), std::vector<bool>(clients, false));
    const Tree before = Snapshot(layout.storeTrees);
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), server.Der(), parents), 1);
    tracer->Clear();

    // Twice: the second run finds its copies and adds nothing.
    for (int round = 0; round < 2; ++round) {
      ASSERT_EQ(manager->Install(Raw(root.Der())), 0);
      // The cache has it at once, without a reload, and once only.
      EXPECT_EQ(FindParents(manager.get(), server.Der(), parents), 0);
      EXPECT_EQ(parents, std::vector<Der>{root.Der()});
    }
    for (const std::string& bundle : layout.bundles) {
      EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 1u) << bundle;
    }
    const Tree products = ProductEntries(Snapshot(layout.storeTrees));
    EXPECT_EQ(products.size(), layout.productEntries) << ::testing::PrintToString(products);
    const auto anchor = products.lower_bound(layout.anchors);
    ASSERT_NE(anchor, products.end());
    EXPECT_EQ(anchor->second, root.Pem()) << anchor->first;
    EXPECT_EQ(Trust(layout, https.Port()), std::vector<bool>(clients, true));
    for (const std::string& directory : kDatabases) {
      EXPECT_EQ(CountOf(NssCertificates(directory), root.Der()), 1u) << directory;
    }
    EXPECT_TRUE(NssCertificates(kRefusingDatabase).empty());
    EXPECT_EQ(tracer->Texts(500),
              std::vector<std::string>(
                  2, "Cannot add certificate to " + refusing + ": 0x8000004b (Unspecified error)"));

    tracer->Clear();
    ASSERT_EQ(manager->Uninstall(Raw(root.Der())), 0);
    // The store trees are byte for byte as they were: no anchor, link or bundle entry is left.
    EXPECT_TRUE(Snapshot(layout.storeTrees) == before);
    EXPECT_EQ(Trust(layout, https.Port()), std::vector<bool>(clients, false));
    for (const std::string& directory : kDatabases) {
      EXPECT_TRUE(NssCertificates(directory).empty()) << directory;
    }
    // The removal's failure line carries the OpenSSL step's code.
    EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{"Cannot delete certificate from: " +
                                                           refusing + ": 0x00000000 (No error)"});
    EXPECT_EQ(FindParents(manager.get(), server.Der(), parents), 1);
  });
}

INSTANTIATE_TEST_SUITE_P(
    Layouts, InstallTest,
    ::testing::Values(Layout{StoreLayout::kDebian,
                             {"/etc/ssl", "/usr/lib/ssl", "/usr/local/share/ca-certificates"},
                             {"/etc/ssl/certs/ca-certificates.crt", "/usr/lib/ssl/cert.pem"},
                             "/usr/local/share/ca-certificates/",
                             5},
                      // No update tool: nothing may appear under /etc/ssl.
                      Layout{StoreLayout::kFedora,
                             {"/etc/pki", "/etc/ssl"},
                             {"/etc/pki/tls/certs/ca-bundle.crt"},
                             "/etc/pki/ca-trust/source/anchors/",
                             1}),
    [](const ::testing::TestParamInfo<Layout>& info) {
      return info.param.layout == StoreLayout::kDebian ? "Debian" : "Fedora";
    });

TEST_F(CertManagerTest, Install_OpenSslStoresRefuse_WarnsReturnsZeroAndCaches) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kFedora, {{"alice", 1000, "/home/alice"}});
    // The bundle cannot be rewritten: the OpenSSL step fails and takes its anchor file back.
    tti::test::MakeReadOnly("/etc/pki/tls/certs");
    const TestCertificate root = tti::test::MakeRootCertificate("Refused Root");
    const Tree before = Snapshot({"/etc/pki"});
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    EXPECT_EQ(manager->Install(Raw(root.Der())), 0);
    const std::vector<std::string> warnings = tracer->Texts(500);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings[0].rfind("Cannot add certificate to openssl storage: 0x8", 0), 0u)
        << warnings[0];
    EXPECT_TRUE(Snapshot({"/etc/pki"}) == before);
    // Cached all the same; a self-signed certificate is its own parent.
    std::vector<Der> parents;
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 0);
    EXPECT_EQ(parents, std::vector<Der>{root.Der()});

    tracer->Clear();
    EXPECT_EQ(manager->Uninstall(Raw(root.Der())), 0);
    EXPECT_EQ(
        tracer->Texts(500),
        std::vector<std::string>{
            "Cannot delete certificate from openssl storage: 0x8000004b (Unspecified error)"});
    EXPECT_EQ(FindParents(manager.get(), root.Der(), parents), 1);
  });
}

// A helper that never ends on one database (and ignores SIGTERM, with a child of its own): Install
// stops it at the time limit with the kill ladder, names that store, and every other store holds
// the root; nothing of the helper is left.
TEST_F(CertManagerTest, Install_HelperNeverEndsOnOneDatabase_StoppedOtherStoresHoldTheRoot) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {kUsers.front()});
    const std::string stuck = MakeNssDatabase("/home/alice/.pki/nssdb");
    MakeNssDatabase("/home/alice/.mozilla/firefox/abcd.default-release");
    const std::string helper = "/opt/morvane/tolm/libexec/cert-manager";
    std::filesystem::copy_file(helper, "/home/.real-helper");
    host::sandbox::WriteTextFile("/home/.helper",
                                 "#!/bin/sh\n"
                                 "case \"$*\" in *" +
                                     stuck +
                                     "*)\n"
                                     "  trap '' TERM\n"
                                     "  sleep 600 &\n"
                                     "  echo $$ $! > /home/.pids\n"
                                     "  while :; do sleep 1; done;;\n"
                                     "esac\n"
                                     "exec /home/.real-helper \"$@\"\n",
                                 0755);
    host::sandbox::BindReadOnly("/home/.helper", helper);
    const TestCertificate root = tti::test::MakeRootCertificate("Stuck Helper Root");
    orv::intrusive_ptr<ICertificateManager> manager = CreateManager();
    ASSERT_TRUE(manager);

    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(manager->Install(Raw(root.Der())), 0);
    // The limit, the grace after SIGTERM and the reaping; far from "never".
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(60));
    EXPECT_EQ(tracer->Texts(500), std::vector<std::string>{"Cannot add certificate to " + stuck +
                                                           ": 0x8000004b (Unspecified error)"});
    EXPECT_EQ(
        CountOf(NssCertificates("/home/alice/.mozilla/firefox/abcd.default-release"), root.Der()),
        1u);
    EXPECT_EQ(CountOf(BundleCertificates("/etc/ssl/certs/ca-certificates.crt"), root.Der()), 1u);
    EXPECT_TRUE(tti::test::ListedProcessesEnd("/home/.pids"))
        << tti::test::ReadTextFile("/home/.pids");
  });
}

}  // namespace
}  // namespace tti::test
