#include "support/exports.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/clean_command.h"

namespace tti::test {

std::set<std::string> ExportedFunctions(const std::string& library) {
  const CommandResult run = RunClean({"nm", "-D", "--defined-only", library});
  EXPECT_EQ(run.exitCode, 0) << run.output;
  std::istringstream lines(run.output);
  std::set<std::string> symbols;
  std::string address, type, name;
  while (lines >> address >> type >> name) {
    EXPECT_EQ(type, "T") << name;
    symbols.insert(name);
  }
  return symbols;
}

}  // namespace tti::test
