#include <cstdint>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_object.h"
#include "host/malloc_allocator.h"
#include "orv/string.h"
#include "orv/vector.h"

namespace {

using orv::types::string16_t;
using orv::types::string8_t;
using orv::types::vector_t;

// Records the byte counts asked of it; the host allocator has counters but no sizes.
class SizeRecorder final : public host::HostObject<orv::IAllocator> {
 public:
  void* Alloc(size_t size) override {
    sizes.push_back(size);
    return std::malloc(size);
  }
  void* Realloc(void*, size_t) override { return nullptr; }
  void Free(void* pointer) override { std::free(pointer); }

  std::vector<size_t> sizes;
};

class ContainersTest : public testing::Test {
 protected:
  // Every reference and allocation a container took is given back.
  void TearDown() override {
    for (host::MallocAllocator* allocator : {m_a.get(), m_b.get()}) {
      EXPECT_EQ(allocator->outstanding(), 0);
      EXPECT_EQ(allocator->references(), 1u);
    }
  }

  orv::intrusive_ptr<host::MallocAllocator> m_a = host::MakeObject<host::MallocAllocator>();
  orv::intrusive_ptr<host::MallocAllocator> m_b = host::MakeObject<host::MallocAllocator>();
};

TEST_F(ContainersTest, String_InlineLimitThenStorageFromAllocator) {
  auto recorder = host::MakeObject<SizeRecorder>();
  {
    const string8_t fifteen(std::string(15, 'a'), recorder.get());
    EXPECT_TRUE(fifteen.IsInline());
    EXPECT_EQ(fifteen.capacity(), 15u);
    const string8_t sixteen(std::string(16, 'a'), recorder.get());
    EXPECT_FALSE(sixteen.IsInline());
    EXPECT_EQ(sixteen.capacity(), 30u);  // max(2 * 15, 16)
    EXPECT_EQ(sixteen.data()[16], '\0');
    const string16_t seven(std::u16string(7, u'a'), recorder.get());
    EXPECT_TRUE(seven.IsInline());
    const string16_t eight(std::u16string(8, u'a'), recorder.get());
    EXPECT_EQ(eight.capacity(), 14u);  // max(2 * 7, 8)
    EXPECT_EQ(recorder->sizes, (std::vector<size_t>{31, 30}));
  }
  EXPECT_EQ(recorder->references(), 1u);

  // No allocator: malloc and free, nothing asked of any host allocator.
  string8_t plain(std::string(40, 'x'));
  EXPECT_EQ(plain.get_allocator(), nullptr);
  EXPECT_EQ(plain.view(), std::string(40, 'x'));
}

TEST_F(ContainersTest, String_CopyTakesSourceAllocatorAssignmentKeepsTarget) {
  const string8_t source(std::string(20, 's'), m_a.get());
  string8_t copy(source);
  EXPECT_EQ(copy.get_allocator(), m_a.get());
  EXPECT_EQ(m_a->outstanding(), 2);

  string8_t target(m_b.get());
  target = source;
  EXPECT_EQ(target.get_allocator(), m_b.get());
  EXPECT_EQ(m_b->outstanding(), 1);
  EXPECT_EQ(target, source);

  string8_t shortOne("short", m_b.get());
  string8_t moved(std::move(copy));
  EXPECT_EQ(moved.get_allocator(), m_a.get());
  EXPECT_EQ(copy.get_allocator(), nullptr);
  EXPECT_TRUE(copy.IsInline() && copy.empty());
  moved.swap(shortOne);
  EXPECT_EQ(moved.view(), "short");
  EXPECT_TRUE(moved.IsInline());
  EXPECT_EQ(moved.get_allocator(), m_b.get());
  EXPECT_EQ(shortOne.get_allocator(), m_a.get());
  shortOne = std::move(moved);
  EXPECT_EQ(shortOne.view(), "short");
  EXPECT_EQ(moved.view(), std::string(20, 's'));
  EXPECT_EQ(moved.get_allocator(), m_a.get());
}

TEST_F(ContainersTest, String_SelfAppendAcrossGrowth_FailedGrowthLeavesItUnchanged) {
  string8_t text("0123456789", m_a.get());
  text.append(text.view());
  EXPECT_EQ(text.view(), "01234567890123456789");
  text.append(text.view().substr(5));
  EXPECT_EQ(text.view(), "01234567890123456789567890123456789");

  // A failed growth throws and leaves the string as it was.
  string8_t inlineText("short", m_a.get());
  string8_t heapText(std::string(16, 'h'), m_a.get());
  m_a->FailAll(true);
  EXPECT_THROW(inlineText.append(std::string(20, 'x')), std::bad_alloc);
  EXPECT_THROW(heapText.append(std::string(20, 'x')), std::bad_alloc);
  EXPECT_THROW(heapText.reserve_extra(SIZE_MAX), std::length_error);
  m_a->FailAll(false);
  EXPECT_EQ(inlineText.view(), "short");
  EXPECT_TRUE(inlineText.IsInline());
  EXPECT_EQ(heapText.view(), std::string(16, 'h'));
  EXPECT_EQ(heapText.capacity(), 30u);
  EXPECT_THAT([&] { heapText.reserve_extra(SIZE_MAX / 2); },
              testing::ThrowsMessage<std::length_error>("orv::basic_string_t::reserve_extra()"));
}

TEST_F(ContainersTest, Vector_GrowthFourThenDoublingAndReserveRule) {
  auto recorder = host::MakeObject<SizeRecorder>();
  {
    vector_t<uint32_t> numbers(recorder.get());
    std::vector<size_t> capacities;
    for (uint32_t i = 0; i < 9; ++i) {
      numbers.push_back(i);
      capacities.push_back(numbers.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<size_t>{4, 4, 4, 4, 8, 8, 8, 8, 16}));
    EXPECT_EQ(recorder->sizes, (std::vector<size_t>{16, 32, 64}));
    numbers.reserve(17);  // less than twice the capacity: doubles
    EXPECT_EQ(numbers.capacity(), 32u);
    numbers.reserve(100);  // more than twice: exactly the request
    EXPECT_EQ(numbers.capacity(), 100u);
    EXPECT_EQ(numbers[8], 8u);
  }
  vector_t<uint32_t> one;
  one.reserve(1);
  EXPECT_EQ(one.capacity(), 1u);
}

TEST_F(ContainersTest, Vector_StringElementsSurviveGrowth) {
  vector_t<string8_t> strings(m_a.get());
  for (int i = 0; i < 8; ++i) {
    strings.push_back(string8_t(std::string(static_cast<size_t>(i) * 3, 'a' + i), m_b.get()));
  }
  strings.push_back(strings[7]);  // an argument inside the vector, at a growth
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(strings[i].view(), std::string(static_cast<size_t>(i) * 3, 'a' + i));
    EXPECT_EQ(strings[i].data()[strings[i].size()], '\0');
  }
  EXPECT_EQ(strings[8], strings[7]);
  EXPECT_EQ(m_a->outstanding(), 1);  // old storages went back
}

TEST_F(ContainersTest, Vector_AllocatorRules) {
  vector_t<int> source({1, 2, 3}, m_a.get());
  vector_t<int> copy(source);
  EXPECT_EQ(copy.get_allocator(), m_a.get());
  vector_t<int> target(m_b.get());
  target = source;
  EXPECT_EQ(target.get_allocator(), m_b.get());
  EXPECT_EQ(target, source);
  vector_t<int> moved(std::move(copy));
  EXPECT_EQ(moved.get_allocator(), m_a.get());
  EXPECT_EQ(copy.get_allocator(), nullptr);
  moved.swap(target);
  EXPECT_EQ(moved.get_allocator(), m_b.get());
  EXPECT_EQ(target.get_allocator(), m_a.get());
}

TEST_F(ContainersTest, Vector_FailedConstruction_GivesBackAllocator) {
  EXPECT_THAT([&] { vector_t<int> tooMany(SIZE_MAX, m_a.get()); },
              testing::ThrowsMessage<std::length_error>("construct"));
  m_a->FailAll(true);
  EXPECT_THROW(vector_t<int>(10, m_a.get()), std::bad_alloc);
  const vector_t<int> source({1, 2, 3}, m_b.get());
  m_b->FailAll(true);
  EXPECT_THROW({ vector_t<int> copy(source); }, std::bad_alloc);
  m_a->FailAll(false);
  m_b->FailAll(false);
  // Elements copied before a failure are destroyed and their storage freed.
  vector_t<string8_t> strings(m_b.get());
  strings.push_back(string8_t(std::string(20, 'a'), m_a.get()));
  strings.push_back(string8_t(std::string(20, 'b'), m_b.get()));
  m_b->FailAfter(1);  // the copy's storage; then the second element's copy fails
  EXPECT_THROW({ vector_t<string8_t> copy(strings); }, std::bad_alloc);
  m_b->ResetFailures();
}

}  // namespace
