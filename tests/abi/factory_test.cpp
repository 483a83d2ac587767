#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "orv/meta_info.h"
#include "support/module_fixture.h"

namespace {

using tti_test::ModuleTest;

constexpr uint32_t kRegistry = 0xdaa3b669;

class FactoryTest : public ModuleTest {};

TEST_F(FactoryTest, GetObjectFactory_KnownClassGivesANewFactoryEachTime_AnsweringOnlyForItself) {
  orv::intrusive_ptr<orv::IObjectFactory> first = Factory(kRegistry);
  orv::intrusive_ptr<orv::IObjectFactory> second = Factory(kRegistry);
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(module().CanUnloadModule(), 1);
  first.reset();
  EXPECT_EQ(module().CanUnloadModule(), 1);
  second.reset();
  EXPECT_EQ(module().CanUnloadModule(), 0);
  // The locator is not touched while a factory is made.
  EXPECT_EQ(services.locator->Requests(orv::IAllocator::kIid), 0u);

  // The factory answers for itself only.
  orv::intrusive_ptr<orv::IObjectFactory> factory = Factory(kRegistry);
  for (uint32_t iid : {0u, orv::IObjectFactory::kIid}) {
    void* object = nullptr;
    ASSERT_EQ(factory->QueryInterface(iid, &object), 0);
    EXPECT_EQ(object, factory.get());
    EXPECT_EQ(factory->Release(), 1u);  // the query added exactly one reference
  }
  void* object = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(factory->QueryInterface(orv::IStructMetaInfoRegistry::kIid, &object),
            orv::MakeResult(0x80000001));
  EXPECT_EQ(object, nullptr);
}

// Classes whose code is not in the module yet are unknown, never stubs.
TEST_F(FactoryTest, GetObjectFactory_UnknownClassIsNotImplemented) {
  for (uint32_t classId : {0u, 1u, 0xbad1bad0u, 0xffffffffu}) {
    orv::IObjectFactory* factory = reinterpret_cast<orv::IObjectFactory*>(0x1);
    EXPECT_EQ(module().GetObjectFactory(services.locator.get(), classId, &factory),
              orv::MakeResult(0x80000043))
        << classId;
    EXPECT_EQ(factory, nullptr);
  }
  EXPECT_TRUE(tracer->Lines().empty());
}

TEST_F(FactoryTest, ReservedClassEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        orv::IObjectFactory* factory = nullptr;
        module().GetObjectFactory(services.locator.get(), 0xbad1bad1, &factory);
      },
      "");
}

TEST_F(FactoryTest, ManyThreads_CountsReturnToZero) {
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        orv::intrusive_ptr<orv::IObjectFactory> factory;
        if (module().GetObjectFactory(services.locator.get(), kRegistry, factory.Ref()) != 0) {
          ++failures;
          continue;
        }
        orv::intrusive_ptr<orv::IMetaInfoProvider> provider;
        if (factory->CreateInstance(services.locator.get(), orv::IMetaInfoProvider::kIid,
                                    reinterpret_cast<void**>(provider.Ref())) != 0) {
          ++failures;
        }
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(module().CanUnloadModule(), 0);
  EXPECT_EQ(services.allocator->outstanding(), 0);
}

}  // namespace
