// module-host resolve, run as a child with the real module. The child binds the build's product
// tree at /opt/morvane/tolm in a mount namespace of its own; this process mounts nothing.
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/cert_factory.h"
#include "support/clean_command.h"
#include "support/scratch.h"

namespace {

using nlohmann::json;

// `arguments` split at blanks; `tree` empty: the build's staged product tree.
tti::test::CommandResult RunModuleHost(const std::string& arguments, const std::string& tree = "") {
  std::vector<std::string> argv = {
      "--product-tree",
      tree.empty() ? std::string(std::getenv("TTI_BINARY_DIR")) + "/opt/morvane/tolm" : tree};
  std::istringstream words(arguments);
  for (std::string word; words >> word;) {
    argv.push_back(word);
  }
  return tti::test::RunModuleHost(argv);
}

class ModuleHostResolveTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto root = tti::test::MakeRootCertificate("Resolve Root");
    const auto server = tti::test::MakeServerCertificate(root, "resolve.example");
    tti::test::WriteText(chain, server.Pem() + root.Pem());
  }

  // The report, or a failure with the child's output.
  json Report(const std::string& arguments) {
    const auto run =
        RunModuleHost("resolve --domain resolve.example --chain " + chain + " " + arguments);
    EXPECT_EQ(run.exitCode, 0) << run.output;
    return json::parse(run.output, nullptr, false);
  }
  static std::vector<std::string> Types(const json& operation) {
    std::vector<std::string> types;
    for (const json& event : operation.at("events")) {
      types.push_back(event.at("EventType"));
    }
    return types;
  }

  const tti::test::TempDir scratch;
  const std::string chain = scratch / "chain.pem";
};

TEST_F(ModuleHostResolveTest, Block_EveryOperationWithItsVerdictAndEvents) {
  const json report = Report(
      "--verification SslResult_CertVerifyInvalidExpirationDate --action block "
      "--operation detect --operation resolve --operation desktop --operation auto-exclude");
  ASSERT_FALSE(report.is_discarded());
  EXPECT_EQ(report.at("certificates"), 2);
  const json& operations = report.at("operations");
  ASSERT_EQ(operations.size(), 4u);
  for (const json& operation : operations) {
    EXPECT_EQ(operation.at("result"), "0x00000000");
  }
  EXPECT_EQ(Types(operations[0]), std::vector<std::string>{"UntrustedCertificateDetected"});
  EXPECT_EQ(operations[1].at("verdict"), "block");
  EXPECT_EQ(Types(operations[1]), (std::vector<std::string>{"UntrustedCertificateDetected",
                                                            "UntrustedCertificateBlocked"}));
  EXPECT_EQ(operations[2].at("verdict"), "allow");
  EXPECT_EQ(Types(operations[2]), std::vector<std::string>{"UntrustedCertificateAllowed"});
  EXPECT_EQ(operations[3].at("verdict"), "excluded");
  EXPECT_EQ(Types(operations[3]), std::vector<std::string>{"DomainAutoExcluded"});
  const json& blocked = operations[1].at("events")[1];
  EXPECT_EQ(blocked.at("CertificateStatus"), "InvalidExpirationDate");
  EXPECT_EQ(blocked.at("Subject"), "resolve.example");
  EXPECT_EQ(blocked.at("Issuer"), "Resolve Root");
  EXPECT_EQ(blocked.at("AccessUser"), "root");
  EXPECT_EQ(blocked.at("TaskType"), "Web_Threat_Protection");
}

TEST_F(ModuleHostResolveTest, OutOfRangeActionAndExclusionsOff) {
  const json report = Report(
      "--verification 0x80120003 --action 7 --auto-excludes off "
      "--operation resolve --operation auto-exclude");
  ASSERT_FALSE(report.is_discarded());
  const json& operations = report.at("operations");
  ASSERT_EQ(operations.size(), 2u);
  // The caller's preset (allow) stands, and decides the second event.
  EXPECT_EQ(operations[0].at("verdict"), "allow");
  EXPECT_EQ(Types(operations[0]), (std::vector<std::string>{"UntrustedCertificateDetected",
                                                            "UntrustedCertificateAllowed"}));
  EXPECT_EQ(operations[0].at("events")[0].at("CertificateStatus"), "UntrustedRoot");
  EXPECT_EQ(operations[1].at("verdict"), "not excluded");
  EXPECT_TRUE(operations[1].at("events").empty());
}

TEST_F(ModuleHostResolveTest, Failures_MissingTreeOrChainAreReported) {
  const auto noTree = RunModuleHost("resolve --domain d --chain " + chain + " --verification 1",
                                    "/nonexistent/tree");
  EXPECT_EQ(noTree.exitCode, 1);
  EXPECT_NE(noTree.output.find("product tree: no directory /nonexistent/tree"), std::string::npos)
      << noTree.output;
  const auto noChain =
      RunModuleHost("resolve --domain d --chain /nonexistent/chain.pem --verification 1");
  EXPECT_EQ(noChain.exitCode, 1);
  EXPECT_NE(noChain.output.find("cannot open /nonexistent/chain.pem"), std::string::npos)
      << noChain.output;
}

}  // namespace
