// The module's factories: which classes they make, their references, and a construction that fails.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "host/host_object.h"
#include "orv/meta_info.h"
#include "support/module_fixture.h"

namespace {

using tti::test::ModuleTest;

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

const std::string kPrefix = "Exception during object construction:  ";

// Forwards to the host's locator but refuses the n-th request for one interface.
class RefusingLocator final : public host::HostObject<orv::IServiceLocator> {
 public:
  RefusingLocator(orv::IServiceLocator* inner, uint32_t iid, int refuseRequest)
      : m_inner(inner), m_iid(iid), m_refuseRequest(refuseRequest) {}

  result_t GetService(uint32_t iid, uint32_t serviceKey, void** object) override {
    if (iid == m_iid && ++m_requests == m_refuseRequest) {
      *object = nullptr;
      return orv::MakeResult(0x8000004c);
    }
    return m_inner->GetService(iid, serviceKey, object);
  }

 private:
  orv::intrusive_ptr<orv::IServiceLocator> m_inner;
  uint32_t m_iid;
  int m_refuseRequest;
  std::atomic<int> m_requests{0};
};

class ConstructionFailureTest : public ModuleTest {
 protected:
  result_t CreateWith(orv::IServiceLocator* locator, void** object) {
    return Factory(kRegistry)->CreateInstance(locator, orv::IStructMetaInfoRegistry::kIid, object);
  }
};

TEST_F(ConstructionFailureTest, CreateInstance_WithoutAllocatorReturnsTheLocatorsCode) {
  services.locator->Remove(orv::IAllocator::kIid);
  void* object = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(CreateWith(services.locator.get(), &object), orv::MakeResult(0x8000004c));
  EXPECT_EQ(object, reinterpret_cast<void*>(0x1));  // untouched
  EXPECT_TRUE(tracer->Lines().empty());
}

TEST_F(ConstructionFailureTest, CreateInstance_FailingAllocatorIsOutOfMemory) {
  services.allocator->FailAll(true);
  void* object = nullptr;
  EXPECT_EQ(CreateWith(services.locator.get(), &object), orv::MakeResult(0x80000041));
  services.allocator->FailAll(false);
  const auto errors = tracer->Texts(300);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind(kPrefix, 0), 0u) << errors[0];
  EXPECT_NE(errors[0].find("std::bad_alloc"), std::string::npos) << errors[0];

  // Without a tracer service the code still comes back.
  services.locator->Remove(orv::ITracer::kIid);
  services.allocator->FailAll(true);
  EXPECT_EQ(CreateWith(services.locator.get(), &object), orv::MakeResult(0x80000041));
  services.allocator->FailAll(false);
}

// The constructor asks for the allocator a second time and throws itself when that fails.
TEST_F(ConstructionFailureTest, CreateInstance_ConstructorThrowIsReportedAndUndone) {
  auto locator =
      host::MakeObject<RefusingLocator>(services.locator.get(), orv::IAllocator::kIid, 2);
  void* object = nullptr;
  EXPECT_EQ(CreateWith(locator.get(), &object), orv::MakeResult(0x8000004c));
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(services.allocator->outstanding(), 0);
  const auto errors = tracer->Texts(300);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind(kPrefix, 0), 0u) << errors[0];
  EXPECT_NE(errors[0].find("Can't get interface. Properties:\norv.iid=0x9cca5603\n"
                           "orv.serviceKey=0x00000000\norv.result=0x8000004c\nCall stack:\n"),
            std::string::npos)
      << errors[0];

  // A tracer refusing the level still gives the code, and nothing is written.
  tracer->Clear();
  tracer->RefuseLevel(300);
  locator = host::MakeObject<RefusingLocator>(services.locator.get(), orv::IAllocator::kIid, 2);
  EXPECT_EQ(CreateWith(locator.get(), &object), orv::MakeResult(0x8000004c));
  EXPECT_TRUE(tracer->Lines().empty());
}

}  // namespace
