#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "host/capturing_tracer.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "orv/intrusive_ptr.h"
#include "orv/object.h"

namespace tti::test {

// The built module: $TTI_BINARY_DIR/bin/libtcp_traffic_interceptor.so, or next to the test binary.
std::string ModulePath();

// Loads the real module once per test binary and gives each test fresh host services with a
// capturing tracer. Every test must leave no object of the module alive.
class ModuleTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite();
  void SetUp() override;
  void TearDown() override;

  // A factory for `classId`; fails the test when the module refuses.
  orv::intrusive_ptr<orv::IObjectFactory> Factory(uint32_t classId);
  // CreateInstance through a fresh factory, asking for T.
  template <class T>
  orv::intrusive_ptr<T> Create(uint32_t classId) {
    orv::intrusive_ptr<T> object;
    const result_t result = Factory(classId)->CreateInstance(
        services.locator.get(), T::kIid, reinterpret_cast<void**>(object.Ref()));
    EXPECT_EQ(result, 0);
    return object;
  }
  // QueryInterface for I; fails the test when `object` does not answer it.
  template <class I>
  static orv::intrusive_ptr<I> As(orv::IObject* object) {
    orv::intrusive_ptr<I> found;
    EXPECT_EQ(object->QueryInterface(I::kIid, reinterpret_cast<void**>(found.Ref())), 0);
    return found;
  }

  static host::LoadedModule& module() { return *s_module; }

  orv::intrusive_ptr<host::CapturingTracer> tracer;
  host::HostServices services;

 private:
  static std::unique_ptr<host::LoadedModule> s_module;
};

}  // namespace tti::test
