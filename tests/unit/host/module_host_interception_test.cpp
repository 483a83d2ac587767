// module-host's interception commands, run as a child with the real module.
#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;

// Runs `module-host arguments`; its standard output as JSON, or a test failure.
json RunModuleHost(const std::string& arguments, int* exitCode = nullptr) {
  const char* binaryDir = std::getenv("TTI_BINARY_DIR");
  EXPECT_NE(binaryDir, nullptr);
  const std::string command =
      "'" + std::string(binaryDir ? binaryDir : ".") + "/bin/module-host' " + arguments;
  FILE* child = popen(command.c_str(), "re");
  EXPECT_NE(child, nullptr);
  std::string output;
  char buffer[4096];
  size_t got;
  while (child && (got = fread(buffer, 1, sizeof(buffer), child)) > 0) {
    output.append(buffer, got);
  }
  const int status = child ? pclose(child) : -1;
  if (exitCode) {
    *exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  } else {
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << output;
  }
  return json::parse(output, nullptr, false);
}

std::string Example(const char* name) {
  return std::string("'") + TTI_SOURCE_DIR + "/src/host/module_host/examples/" + name + "'";
}

TEST(ModuleHostInterceptionTest, Interception_SecondApplicationWritesNothing) {
  const json report = RunModuleHost("interception " + Example("net_settings.json"));
  const json& steps = report.at("steps");
  ASSERT_EQ(steps.size(), 4u);
  EXPECT_EQ(steps[0].at("enginePorts"), 15);
  EXPECT_EQ(steps[1].at("result"), "0x00000000");
  EXPECT_EQ(steps[1].at("cost").at("writes"), 3);
  EXPECT_EQ(steps[2].at("result"), "0x00000001");
  EXPECT_EQ(steps[2].at("cost"), (json{{"reads", 4}, {"writes", 0}, {"flushes", 0}}));
  EXPECT_EQ(steps[3].at("enginePorts"), 0);
}

TEST(ModuleHostInterceptionTest, NetSettingsSet_ReadsBackConvertedForm) {
  const json report = RunModuleHost("net-settings set " + Example("net_settings.json"));
  EXPECT_EQ(report.at("applied").at(0).at("result"), "0x00000000");
  const json& settings = report.at("settings");
  EXPECT_EQ(settings.at("sslExcludes"), (json{"*.bank.example", "intranet.example"}));
  EXPECT_EQ(settings.at("UntrustedCertificateAction"), 1);
  // The port inside the address is gone; the empty address is one entry a family.
  EXPECT_EQ(settings.at("endpointExcludes"), (json{{{"address", "192.0.2.10"}, {"port", 443}},
                                                   {{"address", "0.0.0.0"}, {"port", 25}},
                                                   {{"address", "::"}, {"port", 25}}}));
  EXPECT_EQ(settings.at("NetworkPorts").at("ports").size(), 2u);
}

TEST(ModuleHostInterceptionTest, PortsSetAndTrustedSet_ReportWhatTheModuleWrote) {
  const json ports = RunModuleHost("ports set " + Example("ports.json"));
  EXPECT_EQ(ports.at("result"), "0x00000000");
  EXPECT_EQ(ports.at("engine").at("ports"),
            (json{{{"enabled", true}, {"name", "HTTP"}, {"port", 8080}},
                  {{"enabled", true}, {"name", "HTTPS"}, {"port", 443}}}));  // 65979 & 0xffff

  const json trusted = RunModuleHost("trusted set " + Example("trusted.json"));
  EXPECT_EQ(trusted.at("trusted"), (json{{"addresses", {"https://intranet.example/", "192.0.2.44"}},
                                         {"UseTrustedAddresses", true}}));
}

TEST(ModuleHostInterceptionTest, NetSettingsSetWithoutFile_Fails) {
  int exitCode = 0;
  RunModuleHost("net-settings set 2>/dev/null", &exitCode);
  EXPECT_NE(exitCode, 0);
}

}  // namespace
