#include <sys/wait.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/module_loader.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "support/module_fixture.h"

namespace {

struct Outcome {
  int exitCode;
  std::string output;
};

// Runs `module-host arguments` and collects its standard output.
Outcome RunModuleHost(const std::string& arguments) {
  const char* binaryDir = std::getenv("TTI_BINARY_DIR");
  EXPECT_NE(binaryDir, nullptr);
  const std::string command =
      "'" + std::string(binaryDir ? binaryDir : ".") + "/bin/module-host' " + arguments;
  FILE* child = popen(command.c_str(), "re");
  EXPECT_NE(child, nullptr);
  Outcome outcome{-1, {}};
  if (!child) {
    return outcome;
  }
  char buffer[4096];
  size_t got;
  while ((got = fread(buffer, 1, sizeof(buffer), child)) > 0) {
    outcome.output.append(buffer, got);
  }
  const int status = pclose(child);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return outcome;
}

TEST(ModuleHostTest, InfoJson_RealModule_ReportsClassesDescriptorAndUnload) {
  const Outcome outcome = RunModuleHost("info --json");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.output;
  const nlohmann::json report = nlohmann::json::parse(outcome.output);

  // Every class the host knows of is served by the module now.
  for (const nlohmann::json& answer : report.at("classes")) {
    EXPECT_EQ(answer.at("served"), true) << answer.dump();
    EXPECT_EQ(answer.at("result"), "0x00000000") << answer.dump();
  }
  EXPECT_EQ(report.at("classes").size(), 5u);

  const nlohmann::json& descriptor = report.at("descriptor");
  EXPECT_EQ(descriptor.at("id"), "0x070de61f");
  EXPECT_EQ(descriptor.at("size"), 8);
  std::vector<std::tuple<std::string, int, int, int>> fields;
  for (const nlohmann::json& field : descriptor.at("fields")) {
    fields.emplace_back(field.at("name"), field.at("kind"), field.at("offset"), field.at("size"));
  }
  EXPECT_EQ(fields, (std::vector<std::tuple<std::string, int, int, int>>{
                        {"action", 18, 0, 4}, {"addToAutoExcludes", 38, 4, 1}}));

  EXPECT_EQ(report.at("canUnloadModule").at("whileRegistryHeld"), 1);
  EXPECT_EQ(report.at("canUnloadModule").at("afterRelease"), 0);
  EXPECT_EQ(report.at("unloaded"), true);
}

TEST(ModuleHostTest, Info_MissingModule_FailsWithoutOutput) {
  const Outcome outcome = RunModuleHost("--module /nonexistent/module.so info --json 2>/dev/null");
  EXPECT_NE(outcome.exitCode, 0);
  EXPECT_EQ(outcome.output, "");
}

TEST(LoadedModuleTest, Unload_ObjectAlive_KeepsModuleLoaded) {
  host::LoadedModule module(tti_test::ModulePath());
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
