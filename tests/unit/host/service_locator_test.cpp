#include <gtest/gtest.h>

#include <cstdint>

#include "host/host_object.h"
#include "host/service_locator.h"
#include "orv/tracer.h"

namespace host {
namespace {

// An object whose second interface does not sit at the object's address.
class TwoInterfaces final : public HostObject<orv::IAllocator, orv::ITracer> {
 public:
  void* Alloc(size_t) override { return nullptr; }
  void* Realloc(void*, size_t) override { return nullptr; }
  void Free(void*) override {}
  result_t GetRecord(uint32_t, orv::TraceRecord*, size_t) override { return 7; }
  result_t PutRecord(char*, size_t) override { return 0; }
};

TEST(ServiceLocatorTest, GetService_SecondInterface_GivesThatInterfacePointer) {
  auto object = MakeObject<TwoInterfaces>();
  auto locator = MakeObject<ServiceLocator>();
  locator->Add<orv::ITracer>(object.get());

  void* found = nullptr;
  ASSERT_EQ(locator->GetService(orv::ITracer::kIid, 0, &found), 0);
  auto* tracer = static_cast<orv::ITracer*>(found);
  EXPECT_EQ(tracer, static_cast<orv::ITracer*>(object.get()));
  EXPECT_EQ(tracer->GetRecord(0, nullptr, 0), 7);
  EXPECT_EQ(object->references(), 3u);  // ours, the locator's, the caller's
  tracer->Release();

  found = &found;
  EXPECT_EQ(locator->GetService(orv::IAllocator::kIid, 0, &found), orv::errors::kNotFound);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(locator->Requests(orv::ITracer::kIid), 1u);
  EXPECT_EQ(locator->Requests(orv::IAllocator::kIid), 1u);
  locator.reset();
  EXPECT_EQ(object->references(), 1u);
}

}  // namespace
}  // namespace host
