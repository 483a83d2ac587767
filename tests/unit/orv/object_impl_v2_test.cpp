#include "orv/object_impl_v2.h"

#include <cstdint>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "orv/module_lock.h"
#include "test_interfaces.h"

namespace {

int g_destroyed = 0;

class Inner : public orv::object::Ifaces<IFirstTest, ISecondTest> {
 public:
  Inner(uint32_t value, bool fail) : m_value(value) {
    if (fail) {
      throw std::runtime_error("constructor");
    }
  }
  uint32_t First() override { return m_value; }
  uint32_t Second() override { return m_value + 1; }

 protected:
  ~Inner() { ++g_destroyed; }

 private:
  uint32_t m_value;
};

using InnerObject =
    orv::detail::ObjectImpl<Inner, orv::abi_v2_allocator, orv::detail::ObjectLifetimeBase>;

TEST(InnerObjectShell, QueryInterface_TableInOrder_SharedCount_ThrowingCreateGivesCountBack) {
  g_destroyed = 0;
  const uint32_t locksBefore = orv::ModuleLockCount.load();
  {
    orv::intrusive_ptr<InnerObject> object = InnerObject::Create(7u, false);
    EXPECT_EQ(orv::ModuleLockCount.load(), locksBefore + 1);

    void* zero = nullptr;
    void* first = nullptr;
    void* second = nullptr;
    void* unknown = reinterpret_cast<void*>(1);
    ASSERT_EQ(object->QueryInterface(0, &zero), 0);
    ASSERT_EQ(object->QueryInterface(IFirstTest::kIid, &first), 0);
    ASSERT_EQ(object->QueryInterface(ISecondTest::kIid, &second), 0);
    EXPECT_EQ(object->QueryInterface(0x12345678, &unknown), orv::errors::kNoInterface);
    EXPECT_EQ(unknown, nullptr);
    EXPECT_EQ(zero, first);
    EXPECT_NE(first, second);
    // The pointers are adjusted to their bases: each answers with its own operation.
    EXPECT_EQ(static_cast<IFirstTest*>(first)->First(), 7u);
    EXPECT_EQ(static_cast<ISecondTest*>(second)->Second(), 8u);

    // Four references now; releasing through either base counts on the one counter.
    EXPECT_EQ(static_cast<ISecondTest*>(second)->Release(), 3u);
    EXPECT_EQ(static_cast<IFirstTest*>(first)->Release(), 2u);
    EXPECT_EQ(static_cast<IFirstTest*>(zero)->Release(), 1u);
    EXPECT_EQ(g_destroyed, 0);
  }
  EXPECT_EQ(g_destroyed, 1);
  EXPECT_EQ(orv::ModuleLockCount.load(), locksBefore);

  // A throwing constructor gives the module count back.
  EXPECT_THROW(InnerObject::Create(1u, true), std::runtime_error);
  EXPECT_EQ(orv::ModuleLockCount.load(), locksBefore);
}

TEST(InnerObjectShell, Release_FromManyThreads_DestroyedOnce) {
  g_destroyed = 0;
  orv::intrusive_ptr<InnerObject> object = InnerObject::Create(1u, false);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([copy = object]() mutable {
      for (int j = 0; j < 1000; ++j) {
        orv::intrusive_ptr<InnerObject> more = copy;
      }
    });
  }
  object.reset();
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(g_destroyed, 1);
}

}  // namespace
