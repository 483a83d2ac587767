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
  // Each operation as "result verdict: event types".
  static std::vector<std::string> Summary(const json& report) {
    std::vector<std::string> lines;
    for (const json& operation : report.at("operations")) {
      std::string line =
          operation.at("result").get<std::string>() + " " + operation.value("verdict", "") + ":";
      for (const json& event : operation.at("events")) {
        line += " " + event.at("EventType").get<std::string>();
      }
      lines.push_back(line);
    }
    return lines;
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
  EXPECT_EQ(Summary(report),
            (std::vector<std::string>{
                "0x00000000 : UntrustedCertificateDetected",
                "0x00000000 block: UntrustedCertificateDetected UntrustedCertificateBlocked",
                "0x00000000 allow: UntrustedCertificateAllowed",
                "0x00000000 excluded: DomainAutoExcluded"}));
  const json& blocked = report.at("operations")[1].at("events")[1];
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
  // The caller's preset (allow) stands, and decides the second event.
  EXPECT_EQ(Summary(report),
            (std::vector<std::string>{
                "0x00000000 allow: UntrustedCertificateDetected UntrustedCertificateAllowed",
                "0x00000000 not excluded:"}));
  EXPECT_EQ(report.at("operations")[0].at("events")[0].at("CertificateStatus"), "UntrustedRoot");
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
