#include <gtest/gtest.h>

#include <set>
#include <string>

#include "support/clean_command.h"
#include "support/exports.h"
#include "support/module_fixture.h"

namespace {

TEST(ModuleExports, NmShowsExactlyTheTwoEntryPoints_NoUniqueSymbol) {
  EXPECT_EQ(tti::test::ExportedFunctions(tti::test::ModulePath()),
            (std::set<std::string>{"orvCanUnloadModule", "orvGetObjectFactory"}));
  // No unique symbol, which would keep the module mapped after its unload.
  const auto run = tti::test::RunClean({"readelf", "--dyn-syms", "-W", tti::test::ModulePath()});
  ASSERT_NE(run.output.find("orvGetObjectFactory"), std::string::npos);
  EXPECT_EQ(run.output.find("UNIQUE"), std::string::npos) << run.output;
}

}  // namespace
