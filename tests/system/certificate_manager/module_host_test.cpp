#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/clean_command.h"
#include "system/certificate_manager/cert_manager_fixture.h"

namespace cert_manager_test {
namespace {

using nlohmann::json;
// `module-host` with `arguments` in this namespace: what it printed, as JSON.
json Report(std::vector<std::string> arguments) {
  return json::parse(tti::test::RunModuleHost(std::move(arguments)).output, nullptr, false);
}

std::vector<json> Rows(const json& report, const std::string& kind) {
  std::vector<json> rows;
  for (const json& row : report.at("stores")) {
    if (row.at("kind") == kind) {
      rows.push_back(row);
    }
  }
  return rows;
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
    const std::vector<json> anchors = Rows(installed, "anchor");
    ASSERT_EQ(anchors.size(), 1u);
    EXPECT_EQ(anchors[0].at("holds"), true);
    ASSERT_EQ(Rows(installed, "link").size(), 1u);
    EXPECT_EQ(Rows(installed, "link")[0].at("target"), anchors[0].at("path"));
    ASSERT_EQ(Rows(installed, "hash link").size(), 1u);
    const std::vector<json> bundles = Rows(installed, "bundle");
    ASSERT_EQ(bundles.size(), 2u);
    for (const json& bundle : bundles) {
      EXPECT_EQ(bundle.at("holds"), true) << bundle.dump();
    }
    const std::vector<json> databases = Rows(installed, "nss");
    ASSERT_EQ(databases.size(), 1u);
    EXPECT_EQ(databases[0].at("path"), database);
    EXPECT_EQ(databases[0].at("holds"),
              CountOf(NssCertificates("/home/alice/.pki/nssdb"), root.Der()) == 1);

    const json found = Report({"find-parent", "/root/leaf.pem"});
    EXPECT_EQ(found.at("result"), "0x00000000");
    EXPECT_EQ(found.at("parents"), json::array({"/O=tti tests/CN=Host Root"}));

    const json removed = Report({"uninstall", "--json", "/root/root.pem"});
    EXPECT_EQ(removed.at("result"), "0x00000000");
    EXPECT_TRUE(Rows(removed, "anchor").empty());
    EXPECT_TRUE(Rows(removed, "link").empty());
    for (const json& bundle : Rows(removed, "bundle")) {
      EXPECT_EQ(bundle.at("holds"), false) << bundle.dump();
    }
    ASSERT_EQ(Rows(removed, "nss").size(), 1u);
    EXPECT_EQ(Rows(removed, "nss")[0].at("holds"), false);
    EXPECT_EQ(Report({"find-parent", "/root/leaf.pem"}).at("result"), "0x00000001");
    EXPECT_EQ(Report({"watch", "--seconds", "1"}).at("stopped by"), "time");
  });
}

}  // namespace
}  // namespace cert_manager_test
