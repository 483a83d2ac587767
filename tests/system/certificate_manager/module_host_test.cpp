#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/clean_command.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace tti::test {
namespace {

using nlohmann::json;
// `module-host` with `arguments` in this namespace: what it printed, as JSON.
json Report(std::vector<std::string> arguments) {
  return json::parse(tti::test::RunModuleHost(std::move(arguments)).output, nullptr, false);
}

// `field` of every row of the store table of that kind, in order.
json Column(const json& report, const std::string& kind, const std::string& field) {
  json column = json::array();
  for (const json& row : report.at("stores")) {
    if (row.at("kind") == kind) {
      column.push_back(row.at(field));
    }
  }
  return column;
}

// The commands' store table is read back from the stores: after install every place holds the
// certificate, after uninstall none does; find-parent finds the installed root for its leaf.
TEST_F(CertManagerTest, ModuleHost_InstallFindParentUninstall_TableFollowsTheStores) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {{"alice", 1000, "/home/alice"}});
    const std::string database = MakeNssDatabase("/home/alice/.pki/nssdb");
    const TestCertificate root = tti::test::MakeRootCertificate("Host Root");
    const TestCertificate leaf = tti::test::MakeServerCertificate(root, "leaf");
    tti::test::WriteText("/root/root.pem", root.Pem());
    tti::test::WriteText("/root/leaf.pem", leaf.Pem());

    const json installed = Report({"install", "--json", "/root/root.pem"});
    ASSERT_TRUE(installed.is_object());
    EXPECT_EQ(installed.at("result"), "0x00000000");
    EXPECT_EQ(Column(installed, "anchor", "holds"), json::array({true}));
    EXPECT_EQ(Column(installed, "link", "target"), Column(installed, "anchor", "path"));
    EXPECT_EQ(Column(installed, "hash link", "path").size(), 1u);
    EXPECT_EQ(Column(installed, "bundle", "holds"), json::array({true, true}));
    EXPECT_EQ(Column(installed, "nss", "path"), json::array({database}));
    EXPECT_EQ(Column(installed, "nss", "holds"),
              json::array({CountOf(NssCertificates("/home/alice/.pki/nssdb"), root.Der()) == 1}));

    const json found = Report({"find-parent", "/root/leaf.pem"});
    EXPECT_EQ(found.at("result"), "0x00000000");
    EXPECT_EQ(found.at("parents"), json::array({"/O=tti tests/CN=Host Root"}));

    const json removed = Report({"uninstall", "--json", "/root/root.pem"});
    EXPECT_EQ(removed.at("result"), "0x00000000");
    EXPECT_TRUE(Column(removed, "anchor", "path").empty());
    EXPECT_TRUE(Column(removed, "link", "path").empty());
    EXPECT_EQ(Column(removed, "bundle", "holds"), json::array({false, false}));
    EXPECT_EQ(Column(removed, "nss", "holds"), json::array({false}));
    EXPECT_EQ(Report({"find-parent", "/root/leaf.pem"}).at("result"), "0x00000001");
    EXPECT_EQ(Report({"watch", "--seconds", "1"}).at("stopped by"), "time");
  });
}

// `watch --install` is what the service does: the root goes in at once, a database made while it
// runs gets it through the watch with a line naming it at the default trace level, and SIGTERM
// ends it with status 0, the manager released and the root left in place.
TEST_F(CertManagerTest, ModuleHost_WatchInstall_NewDatabaseGetsTheRootUntilSigterm) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {{"alice", 1000, "/home/alice"}});
    const TestCertificate root = tti::test::MakeRootCertificate("Watch Root");
    tti::test::WriteText("/root/root.pem", root.Pem());
    const std::string bundle = "/etc/ssl/certs/ca-certificates.crt";
    const std::string database = "/home/alice/.local/share/pki/nssdb";
    bool made = false;
    const tti::test::UntilResult run = tti::test::RunUntil(
        tti::test::ModuleHostCommand({"watch", "--install", "/root/root.pem"}), {},
        "/root/watch.out",
        [&] {
          // Installed means watching: the manager subscribed before its Install.
          if (!made && CountOf(BundleCertificates(bundle), root.Der()) == 1) {
            MoveInNssDatabase(database);
            made = true;
          }
          return made && CountOf(NssCertificates(database), root.Der()) == 1;
        },
        std::chrono::minutes(1));
    const std::string printed = tti::test::ReadText("/root/watch.out");
    EXPECT_TRUE(run.settled) << printed;
    EXPECT_EQ(run.exitCode, 0) << printed;
    EXPECT_NE(printed.find(" DETAIL Add cert to " + database + "/cert9.db\n"), std::string::npos)
        << printed;
    EXPECT_NE(printed.find("\"stopped by\": \"SIGTERM\""), std::string::npos) << printed;
    EXPECT_EQ(CountOf(BundleCertificates(bundle), root.Der()), 1u);
  });
}

// A CERT that is not exactly one certificate is refused before the module is loaded: the message
// names the file and what it holds, the status is not 0 and no store changes.
TEST_F(CertManagerTest, ModuleHost_NotOneCertificate_RefusedNamingTheFileAndWhatItHolds) {
  RunInMountNamespace([&] {
    BuildMachine(StoreLayout::kDebian, {});
    const TestCertificate root = tti::test::MakeRootCertificate("Refused Root");
    const Der der = root.Der();
    const std::vector<std::pair<std::string, std::string>> files = {
        {"", "empty file"},
        {root.KeyPem(), "no certificate"},
        {root.Pem() + tti::test::MakeRootCertificate("Second").Pem(), "2 certificates"},
        {std::string(der.begin(), der.end()) + "\n", "1 certificate followed by 1 byte"},
        {"-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n",
         "a certificate block that does not parse"}};
    const std::vector<std::string> trees = {"/etc/ssl", "/usr/lib/ssl",
                                            "/usr/local/share/ca-certificates"};
    const Tree before = Snapshot(trees);
    for (const auto& [content, found] : files) {
      tti::test::WriteText("/root/cert", content);
      for (const char* command : {"install", "uninstall"}) {
        const auto run = tti::test::RunModuleHost({command, "/root/cert"});
        EXPECT_NE(run.exitCode, 0) << command << " " << found;
        EXPECT_NE(run.output.find("/root/cert: " + found + ", expected one certificate"),
                  std::string::npos)
            << run.output;
      }
    }
    EXPECT_TRUE(Snapshot(trees) == before);
  });
}

}  // namespace
}  // namespace tti::test
