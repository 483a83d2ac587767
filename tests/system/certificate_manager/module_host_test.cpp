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

}  // namespace
}  // namespace cert_manager_test
