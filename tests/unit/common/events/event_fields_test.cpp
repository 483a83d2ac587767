#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "host/host_object.h"
#include "host/malloc_allocator.h"
#include "qel/event.h"

namespace qel {
namespace {

using orv::types::string16_t;
using orv::types::string8_t;
using orv::types::vector_t;

const std::string kLong(100, 'x');  // past the inline buffer: heap storage

TEST(EventFields, AppendMovesTheValueInAndDoublesThroughTheVectorsAllocator) {
  auto allocator = host::MakeObject<host::MallocAllocator>();
  {
    vector_t<AdditionalField> fields(allocator.get());
    std::vector<size_t> capacities;
    for (uint32_t i = 0; i < 5; ++i) {
      Variant value = Variant::String8(string8_t(kLong + std::to_string(i)));
      AppendField(static_cast<AdditionalName::Type>(i), value, fields);
      EXPECT_EQ(value.tag(), 0u);
      capacities.push_back(fields.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<size_t>{4, 4, 4, 4, 8}));
    for (uint32_t i = 0; i < 5; ++i) {
      EXPECT_EQ(static_cast<uint32_t>(fields[i].name), i);
      EXPECT_EQ(fields[i].data.As<string8_t>(), std::string_view(kLong + std::to_string(i)));
    }
    EXPECT_EQ(allocator->allocations(), 2u);  // the vector's two storages, nothing else
  }
  EXPECT_EQ(allocator->outstanding(), 0);
}

// One owning value per kind, each with storage from the host's allocator.
Variant MakeValue(uint32_t tag, orv::IAllocator* allocator) {
  switch (tag) {
    case Variant::kString8:
      return Variant::String8(string8_t(kLong.c_str(), allocator));
    case Variant::kString16:
      return Variant::String16(string16_t(std::u16string(40, u'\u00e9').c_str(), allocator));
    case Variant::kArrayBit | Variant::kUInt32:
      return Variant::Array(Variant::kUInt32, vector_t<uint32_t>({1, 2, 3, 4, 5}, allocator));
    case Variant::kArrayBit | Variant::kString8: {
      vector_t<string8_t> strings(allocator);
      strings.push_back(string8_t(kLong.c_str(), allocator));
      strings.push_back(string8_t("short", allocator));
      return Variant::Array(Variant::kString8, std::move(strings));
    }
    default: {
      const uint64_t raw[6] = {1, 2, 3, 4, 5, 6};
      return Variant::Raw(tag, raw, sizeof(raw));
    }
  }
}

class VariantKinds : public testing::TestWithParam<uint32_t> {};

TEST_P(VariantKinds, CopiesDeeplyMovesOutAndFreesEverything) {
  auto allocator = host::MakeObject<host::MallocAllocator>();
  {
    Variant original = MakeValue(GetParam(), allocator.get());
    Variant copy(original);
    Variant assigned;
    assigned = copy;
    original.Reset();  // the copies must not share its storage
    EXPECT_EQ(copy.tag(), GetParam());
    EXPECT_EQ(std::memcmp(&assigned, &copy, 8), 0);
    Variant moved(std::move(assigned));
    EXPECT_EQ(assigned.tag(), 0u);
    EXPECT_EQ(moved.tag(), GetParam());
    if (GetParam() == Variant::kString8) {
      EXPECT_EQ(moved.As<string8_t>(), std::string_view(kLong));
    }
  }
  EXPECT_EQ(allocator->outstanding(), 0);
}

INSTANTIATE_TEST_SUITE_P(Tags, VariantKinds,
                         testing::Values(Variant::kString8, Variant::kString16,
                                         Variant::kArrayBit | Variant::kUInt32,
                                         Variant::kArrayBit | Variant::kString8,
                                         // a tag of no known type: raw bytes, nothing owned
                                         77u, Variant::kArrayBit | 77u));

TEST(EventFields, DefaultsAndDescriptorOperationsCopyAndMoveTheVariant) {
  const orv::TypeDescriptor& descriptor = AdditionalFieldDescriptor();
  using Shape = std::tuple<uint32_t, std::string, size_t, std::string, std::string, size_t, bool>;
  EXPECT_EQ(Shape(descriptor.id, descriptor.name, descriptor.size, descriptor.fields[0].name,
                  descriptor.fields[1].name, descriptor.fields[1].offset,
                  descriptor.fields[2].name == nullptr),
            Shape(0x0efa8e30u, "AdditionalField", 64, "name", "data", 8, true));
  EXPECT_EQ(std::make_pair(RuntimeFieldDescriptor().id, std::string(RuntimeFieldDescriptor().name)),
            std::make_pair(0xd1345cf5u, std::string("RuntimeField")));
  // A default field has no name and no value.
  const AdditionalField additional;
  const RuntimeField runtime;
  EXPECT_EQ(std::make_tuple(static_cast<uint32_t>(additional.name), additional.data.tag(),
                            runtime.name, runtime.data.tag()),
            std::make_tuple(0xffffffffu, 0u, 0xffffffffu, 0u));

  const orv::SerObjDescriptorHelper& helper = **descriptor.helper;
  auto allocator = host::MakeObject<host::MallocAllocator>();
  AdditionalField source(AdditionalName::Domain, Variant::String8(string8_t(kLong.c_str())));

  void* fresh = helper.AllocateAndConstruct(nullptr, allocator.get());
  ASSERT_NE(fresh, nullptr);
  EXPECT_EQ(static_cast<AdditionalField*>(fresh)->data.tag(), 0u);
  helper.Copy(&source, fresh);
  EXPECT_EQ(static_cast<AdditionalField*>(fresh)->data.As<string8_t>(), std::string_view(kLong));
  EXPECT_EQ(source.data.tag(), Variant::kString8);

  AdditionalField target;
  EXPECT_TRUE(helper.Move(fresh, &target));
  EXPECT_EQ(target.name, AdditionalName::Domain);
  EXPECT_EQ(static_cast<AdditionalField*>(fresh)->data.tag(), 0u);
  helper.Destroy(fresh);
  allocator->Free(fresh);

  allocator->FailAll(true);
  EXPECT_EQ(helper.AllocateAndConstruct(&source, allocator.get()), nullptr);
}

}  // namespace
}  // namespace qel
