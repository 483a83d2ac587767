#include "support/module_fixture.h"

#include <climits>
#include <cstdlib>

namespace tti::test {

std::unique_ptr<host::LoadedModule> ModuleTest::s_module;

std::string ModulePath() {
  if (const char* directory = std::getenv("TTI_BINARY_DIR")) {
    return std::string(directory) + "/bin/libtcp_traffic_interceptor.so";
  }
  return host::LoadedModule::DefaultPath();
}

void ModuleTest::SetUpTestSuite() {
  if (!s_module) {
    s_module = std::make_unique<host::LoadedModule>(ModulePath());
  }
}

void ModuleTest::SetUp() {
  tracer = host::MakeObject<host::CapturingTracer>();
  services = host::HostServices::Create(tracer.get());
  ASSERT_EQ(module().CanUnloadModule(), 0) << "an earlier test left an object of the module alive";
}

void ModuleTest::TearDown() {
  EXPECT_EQ(module().CanUnloadModule(), 0) << "the test left an object of the module alive";
}

orv::intrusive_ptr<orv::IObjectFactory> ModuleTest::Factory(uint32_t classId) {
  orv::intrusive_ptr<orv::IObjectFactory> factory;
  EXPECT_EQ(module().GetObjectFactory(services.locator.get(), classId, factory.Ref()), 0);
  EXPECT_TRUE(factory);
  return factory;
}

}  // namespace tti::test
