// module-host run as a child with the real module: its info report, its interception commands
// and their settings files.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/module_loader.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "support/clean_command.h"
#include "support/module_fixture.h"
#include "support/scratch.h"

namespace {

using nlohmann::json;

// `module-host arguments` as JSON; its exit code must be 0.
json Report(std::vector<std::string> arguments) {
  const auto run = tti::test::RunModuleHost(std::move(arguments));
  EXPECT_EQ(run.exitCode, 0) << run.output;
  return json::parse(run.output, nullptr, false);
}

std::string Example(const char* name) {
  return std::string(TTI_SOURCE_DIR) + "/src/host/module_host/examples/" + name;
}

TEST(ModuleHostTest, InfoJson_RealModule_ReportsClassesDescriptorAndUnload) {
  const json report = Report({"info", "--json"});

  // Every class the host knows of is served by the module now.
  for (const json& answer : report.at("classes")) {
    EXPECT_EQ(answer.at("served"), true) << answer.dump();
    EXPECT_EQ(answer.at("result"), "0x00000000") << answer.dump();
  }
  EXPECT_EQ(report.at("classes").size(), 5u);

  const json& descriptor = report.at("descriptor");
  EXPECT_EQ(descriptor.at("id"), "0x070de61f");
  EXPECT_EQ(descriptor.at("size"), 8);
  std::vector<std::tuple<std::string, int, int, int>> fields;
  for (const json& field : descriptor.at("fields")) {
    fields.emplace_back(field.at("name"), field.at("kind"), field.at("offset"), field.at("size"));
  }
  EXPECT_EQ(fields, (std::vector<std::tuple<std::string, int, int, int>>{
                        {"action", 18, 0, 4}, {"addToAutoExcludes", 38, 4, 1}}));

  EXPECT_EQ(report.at("canUnloadModule").at("whileRegistryHeld"), 1);
  EXPECT_EQ(report.at("canUnloadModule").at("afterRelease"), 0);
  EXPECT_EQ(report.at("unloaded"), true);
}

TEST(ModuleHostTest, MissingModuleOrFile_FailsWithoutOutput) {
  for (const auto& run :
       {tti::test::RunModuleHost({"--module", "/nonexistent/module.so", "info", "--json"}),
        tti::test::RunModuleHost({"net-settings", "set"})}) {
    EXPECT_NE(run.exitCode, 0);
    EXPECT_EQ(run.output.find('{'), std::string::npos) << run.output;  // no report
  }
}

TEST(ModuleHostInterceptionTest, Interception_SecondApplicationWritesNothing) {
  const json report = Report({"interception", Example("net_settings.json")});
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
  const json report = Report({"net-settings", "set", Example("net_settings.json")});
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
  const json ports = Report({"ports", "set", Example("ports.json")});
  EXPECT_EQ(ports.at("result"), "0x00000000");
  EXPECT_EQ(ports.at("engine").at("ports"),
            (json{{{"enabled", true}, {"name", "HTTP"}, {"port", 8080}},
                  {{"enabled", true}, {"name", "HTTPS"}, {"port", 443}}}));  // 65979 & 0xffff

  const json trusted = Report({"trusted", "set", Example("trusted.json")});
  EXPECT_EQ(trusted.at("trusted"), (json{{"addresses", {"https://intranet.example/", "192.0.2.44"}},
                                         {"UseTrustedAddresses", true}}));
}

struct WrongType {
  const char* command;
  const char* json;
  const char* message;  // after "FILE: "
};

class SettingsWrongTypeTest : public ::testing::TestWithParam<WrongType> {};

// A value of the wrong type is named by its path with the type expected; the command fails
// before the module is asked.
TEST_P(SettingsWrongTypeTest, Set_NamesTheFieldAndTheExpectedType) {
  const tti::test::TempDir scratch;
  const std::string file = scratch / "settings.json";
  tti::test::WriteText(file, GetParam().json);
  const auto run = tti::test::RunModuleHost({GetParam().command, "set", file});
  EXPECT_NE(run.exitCode, 0);
  EXPECT_NE(run.output.find(file + ": " + GetParam().message), std::string::npos) << run.output;
}

INSTANTIATE_TEST_SUITE_P(
    Table, SettingsWrongTypeTest,
    ::testing::Values(
        WrongType{"ports", R"({"ports": "x"})", "ports: expected an array, found string"},
        WrongType{"net-settings", R"({"NetworkPorts": {"ports": [{}, {"port": "443"}]}})",
                  "NetworkPorts.ports[1].port: expected an integer from 0 to 4294967295, found "
                  "string"},
        WrongType{"net-settings", R"({"endpointExcludes": [{"port": 65536}]})",
                  "endpointExcludes[0].port: expected an integer from 0 to 65535, found number"},
        WrongType{"trusted", R"({"UseTrustedAddresses": 1})",
                  "UseTrustedAddresses: expected a boolean, found number"},
        WrongType{"trusted", "[]", "the document: expected an object, found array"}));

TEST(LoadedModuleTest, Unload_ObjectAlive_KeepsModuleLoaded) {
  host::LoadedModule module(tti::test::ModulePath());
  orv::intrusive_ptr<orv::IObjectFactory> factory;
  ASSERT_EQ(
      module.GetObjectFactory(
          nullptr, qel::tcp_traffic_interceptor::CLSID_TypeDescriptorStaticRegistry, factory.Ref()),
      0);
  EXPECT_EQ(module.Unload(), 1);
  EXPECT_TRUE(module.loaded());
  factory.reset();
  EXPECT_EQ(module.Unload(), 0);
  EXPECT_FALSE(module.loaded());
}

}  // namespace
