#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "host/host_object.h"
#include "orv/meta_info.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"
#include "support/module_fixture.h"

namespace {

using qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings;
using tti::test::ModuleTest;

constexpr uint32_t kRegistry = 0xdaa3b669;
constexpr uint32_t kSettingsId = 0x070de61f;
const result_t kNotImplemented = orv::MakeResult(0x80000043);

class RegistryTest : public ModuleTest {
 protected:
  orv::intrusive_ptr<orv::IStructMetaInfoRegistry> Registry() {
    return Create<orv::IStructMetaInfoRegistry>(kRegistry);
  }
};

// The test's TearDown checks that no object of the module is left.
TEST_F(RegistryTest, CreateInstance_UnknownInterfaceGivesNothing_TwoInterfacesShareOneCount) {
  orv::intrusive_ptr<orv::IObjectFactory> factory = Factory(kRegistry);
  void* first = reinterpret_cast<void*>(0x1);
  EXPECT_EQ(factory->CreateInstance(services.locator.get(), orv::IObjectFactory::kIid, &first),
            orv::MakeResult(0x80000001));
  EXPECT_EQ(first, nullptr);
  EXPECT_EQ(services.allocator->outstanding(), 0);

  ASSERT_EQ(factory->CreateInstance(services.locator.get(), 0, &first), 0);
  auto* registry = static_cast<orv::IStructMetaInfoRegistry*>(first);
  void* again = nullptr;
  ASSERT_EQ(registry->QueryInterface(orv::IStructMetaInfoRegistry::kIid, &again), 0);
  EXPECT_EQ(again, first);
  void* provider = nullptr;
  ASSERT_EQ(registry->QueryInterface(orv::IMetaInfoProvider::kIid, &provider), 0);
  EXPECT_NE(provider, first);
  // Three references on one count: the object lives until the last goes, through any interface.
  EXPECT_EQ(registry->Release(), 2u);
  EXPECT_EQ(static_cast<orv::IMetaInfoProvider*>(provider)->Release(), 1u);
  factory.reset();
  EXPECT_EQ(module().CanUnloadModule(), 1);
  EXPECT_EQ(registry->Release(), 0u);
  EXPECT_EQ(services.allocator->outstanding(), 0);
}

TEST_F(RegistryTest, GetDescriptor_HandlerSettingsRecord) {
  auto registry = Registry();
  const orv::TypeDescriptor* descriptor = nullptr;
  ASSERT_EQ(registry->GetDescriptor(kSettingsId, &descriptor), 0);
  ASSERT_NE(descriptor, nullptr);
  EXPECT_EQ(descriptor->id, kSettingsId);
  EXPECT_STREQ(descriptor->name, "InvalidCertificateHandlerSettings");
  EXPECT_EQ(descriptor->size, 8u);

  struct Field {
    uint32_t kind;
    std::string name;
    uint32_t offset;
    uint64_t size;
  };
  const Field expected[] = {{18, "action", 0, 4}, {38, "addToAutoExcludes", 4, 1}};
  const orv::FieldDescriptor* field = descriptor->fields;
  for (const Field& want : expected) {
    ASSERT_NE(field->name, nullptr);
    EXPECT_EQ(field->kind, want.kind);
    EXPECT_EQ(field->name, want.name);
    EXPECT_EQ(field->marker, 0u);
    EXPECT_EQ(field->offset, want.offset);
    EXPECT_EQ(field->size, want.size);
    EXPECT_EQ(field->nested, nullptr);
    ++field;
  }
  EXPECT_EQ(field->name, nullptr);
  EXPECT_EQ(field->marker, 0xffffffffu);

  // The provider interface gives the same static record.
  const auto provider = As<orv::IMetaInfoProvider>(registry.get());
  const orv::TypeDescriptor* same = nullptr;
  ASSERT_EQ(provider->GetDescriptor(kSettingsId, &same), 0);
  EXPECT_EQ(same, descriptor);
}

TEST_F(RegistryTest, GetDescriptor_OtherIdsNotFoundStoreNothing_ReservedSlotsNotImplemented) {
  auto registry = Registry();
  // "RuntimeField" and "AdditionalField" are described in the module but not served here.
  for (uint32_t id : {0u, 0xd1345cf5u, 0x0efa8e30u, 0x6a1845b2u}) {
    const orv::TypeDescriptor* descriptor = reinterpret_cast<const orv::TypeDescriptor*>(0x1);
    EXPECT_EQ(registry->GetDescriptor(id, &descriptor), orv::MakeResult(0x8000004c)) << id;
    EXPECT_EQ(descriptor, reinterpret_cast<const orv::TypeDescriptor*>(0x1));
  }
  // The reserved slots are not implemented.
  EXPECT_EQ(registry->Reserved5(), kNotImplemented);
  EXPECT_EQ(registry->Reserved6(), kNotImplemented);
  const auto provider = As<orv::IMetaInfoProvider>(registry.get());
  EXPECT_EQ(provider->Reserved4(), kNotImplemented);
  EXPECT_EQ(provider->Reserved5(), kNotImplemented);
}

TEST_F(RegistryTest, GetTypeIds_GrowsThroughTheVectorsOwnAllocator_OutOfMemoryIsACode) {
  auto registry = Registry();
  const uint64_t before = services.allocator->allocations();
  orv::types::vector_t<uint32_t> ids(services.allocator.get());
  ASSERT_EQ(registry->GetTypeIds(ids), 0);
  ASSERT_EQ(ids.size(), 1u);
  EXPECT_EQ(ids[0], kSettingsId);
  EXPECT_EQ(ids.capacity(), 1u);
  EXPECT_EQ(services.allocator->allocations(), before + 1);

  orv::types::vector_t<uint32_t> full({0, 1, 2, 3});
  ASSERT_EQ(full.capacity(), 4u);
  ASSERT_EQ(registry->GetTypeIds(full), 0);
  EXPECT_EQ(full.size(), 5u);
  EXPECT_EQ(full.capacity(), 8u);
  EXPECT_EQ(full[4], kSettingsId);

  // Out of memory is a code.
  orv::types::vector_t<uint32_t> none(services.allocator.get());
  services.allocator->FailAll(true);
  EXPECT_EQ(registry->GetTypeIds(none), orv::MakeResult(0x80000041));
  services.allocator->FailAll(false);
  EXPECT_TRUE(none.empty());
}

TEST_F(RegistryTest, DescriptorOperations_DefaultCopyMove) {
  auto registry = Registry();
  const orv::TypeDescriptor* descriptor = nullptr;
  ASSERT_EQ(registry->GetDescriptor(kSettingsId, &descriptor), 0);
  const orv::SerObjDescriptorHelper& operations = **descriptor->helper;

  alignas(InvalidCertificateHandlerSettings) unsigned char memory[8];
  std::memset(memory, 0xab, sizeof(memory));
  operations.ConstructInPlace(memory, nullptr);
  auto* settings = reinterpret_cast<InvalidCertificateHandlerSettings*>(memory);
  EXPECT_EQ(settings->action, 0u);
  EXPECT_TRUE(settings->addToAutoExcludes);

  InvalidCertificateHandlerSettings source;
  source.action = qel::UntrustedCertificateAction::Block;
  source.addToAutoExcludes = false;
  operations.Copy(&source, settings);
  EXPECT_EQ(*settings, source);
  InvalidCertificateHandlerSettings moved;
  EXPECT_TRUE(operations.Move(settings, &moved));
  EXPECT_EQ(moved, source);
  operations.Destroy(settings);

  void* allocated = operations.AllocateAndConstruct(&source, services.allocator.get());
  ASSERT_NE(allocated, nullptr);
  EXPECT_EQ(*static_cast<InvalidCertificateHandlerSettings*>(allocated), source);
  operations.Destroy(allocated);
  services.allocator->Free(allocated);

  services.allocator->FailAll(true);
  EXPECT_EQ(operations.AllocateAndConstruct(nullptr, services.allocator.get()), nullptr);
  services.allocator->FailAll(false);
}

}  // namespace
