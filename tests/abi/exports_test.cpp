#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "support/module_fixture.h"

namespace {

std::string RunCommand(const std::string& command) {
  std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  EXPECT_TRUE(pipe) << command;
  std::string output;
  char buffer[4096];
  while (pipe && fgets(buffer, sizeof(buffer), pipe.get())) {
    output += buffer;
  }
  return output;
}

TEST(ModuleExports, NmShowsExactlyTheTwoEntryPoints) {
  const std::string output = RunCommand("nm -D --defined-only '" + tti_test::ModulePath() + "'");
  std::istringstream lines(output);
  std::set<std::string> symbols;
  std::string address, type, name;
  while (lines >> address >> type >> name) {
    EXPECT_EQ(type, "T") << name;
    symbols.insert(name);
  }
  EXPECT_EQ(symbols, (std::set<std::string>{"orvCanUnloadModule", "orvGetObjectFactory"}));
}

TEST(ModuleExports, NoUniqueSymbolKeepsTheModuleMapped) {
  const std::string output = RunCommand("readelf --dyn-syms -W '" + tti_test::ModulePath() + "'");
  ASSERT_NE(output.find("orvGetObjectFactory"), std::string::npos);
  EXPECT_EQ(output.find("UNIQUE"), std::string::npos) << output;
}

}  // namespace
