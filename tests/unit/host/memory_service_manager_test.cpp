// What the module's tests cannot see of the settings store: refusals that leave everything as it
// was, and which allocator the copies of a record use.
#include "host/memory_service_manager.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "host/host_object.h"
#include "host/malloc_allocator.h"
#include "orv/string.h"
#include "orv/vector.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace host {
namespace {

using Settings = qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings;
constexpr uint32_t kKey = 0xb10fd857;
constexpr uint32_t kOtherKey = 0x12345678;

// A record with containers, to see whose allocator the copies use.
struct ListRecord {
  static constexpr uint32_t kTypeId = 0x7e570001;
  orv::types::string8_t name;
  orv::types::vector_t<uint32_t> values;
};

constexpr Settings kBlocked{qel::UntrustedCertificateAction::Block, false};
constexpr char kLongName[] = "a name longer than the inline buffer";

class MemoryServiceManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    store->Seed<Settings>(kKey);
    store->RegisterType<ListRecord>();
  }

  result_t Get(uint32_t key, void* record, uint32_t typeId, uint32_t& revision) {
    orv::IObject* descriptor = nullptr;
    return store->GetServiceSettings2(key, {record, typeId, &descriptor}, revision);
  }
  result_t Update(uint32_t key, void* record, uint32_t typeId, uint32_t revision) {
    orv::IObject* descriptor = nullptr;
    return store->UpdateServiceSettings2(key, 1, {record, typeId, &descriptor}, revision);
  }

  orv::intrusive_ptr<MemoryServiceManager> store = MakeObject<MemoryServiceManager>();
};

struct RefusalCase {
  const char* name;
  bool update;
  uint32_t key;
  uint32_t typeId;
  uint32_t revision;  // asked to update at; a get must leave its out-value alone
  result_t expected;
};

class RefusalTest : public MemoryServiceManagerTest,
                    public ::testing::WithParamInterface<RefusalCase> {};

TEST_P(RefusalTest, Refused_WritesNothingAnywhere) {
  const RefusalCase& row = GetParam();
  ListRecord list;
  Settings settings = kBlocked;
  void* record = row.typeId == Settings::kTypeId ? static_cast<void*>(&settings) : &list;
  uint32_t revision = row.revision;
  EXPECT_EQ(row.update ? Update(row.key, record, row.typeId, revision)
                       : Get(row.key, record, row.typeId, revision),
            row.expected);
  EXPECT_EQ(settings, kBlocked);
  EXPECT_EQ(revision, row.revision);
  Settings stored{};
  ASSERT_TRUE(store->Read(kKey, stored));
  EXPECT_EQ(stored, Settings{});
  EXPECT_EQ(store->Revision(kKey, Settings::kTypeId), 1u);
  EXPECT_EQ(store->writes(), 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Store, RefusalTest,
    ::testing::Values(RefusalCase{"GetNoRecord", false, kOtherKey, Settings::kTypeId, 77,
                                  orv::errors::kSettingsNotFound},
                      RefusalCase{"GetOtherTypeId", false, kKey, ListRecord::kTypeId, 77,
                                  orv::errors::kWrongSettingsType},
                      RefusalCase{"UpdateStale", true, kKey, Settings::kTypeId, 0,
                                  orv::errors::kRevisionMovedOn},
                      RefusalCase{"UpdateFuture", true, kKey, Settings::kTypeId, 2,
                                  orv::errors::kRevisionMovedOn},
                      RefusalCase{"UpdateAbsentAtNonZero", true, kOtherKey, Settings::kTypeId, 3,
                                  orv::errors::kRevisionMovedOn},
                      RefusalCase{"UpdateOtherTypeId", true, kKey, ListRecord::kTypeId, 1,
                                  orv::errors::kWrongSettingsType}),
    [](const auto& info) { return std::string(info.param.name); });

// A sticky injected failure lasts until cleared (the module's tests use the one-shot kind).
TEST_F(MemoryServiceManagerTest, InjectedFailure_StickyUntilCleared) {
  store->InjectFailure(MemoryServiceManager::Operation::kFlush, orv::errors::kAccessDenied, true);
  EXPECT_EQ(store->FlushSettings(), orv::errors::kAccessDenied);
  EXPECT_EQ(store->FlushSettings(), orv::errors::kAccessDenied);
  store->ClearInjections();
  EXPECT_EQ(store->FlushSettings(), 0);
}

// The store outlives the module that wrote and the module that reads: it keeps nothing of the
// writer's allocator, and what a reader gets is built with the reader's.
TEST_F(MemoryServiceManagerTest, RecordWithContainers_CopiesUseTheCallersAllocator) {
  auto writers = MakeObject<MallocAllocator>();
  const uint32_t writerReferences = writers->references();
  {
    ListRecord record;
    record.name = orv::types::string8_t(kLongName, writers.get());
    record.values = orv::types::vector_t<uint32_t>({1, 2, 3}, writers.get());
    ASSERT_EQ(Update(kOtherKey, &record, ListRecord::kTypeId, 0), 0);
  }
  EXPECT_EQ(writers->references(), writerReferences);
  EXPECT_EQ(writers->outstanding(), 0);

  auto readers = MakeObject<MallocAllocator>();
  {
    ListRecord record;
    record.name = orv::types::string8_t(readers.get());
    record.values = orv::types::vector_t<uint32_t>(readers.get());
    uint32_t revision = 0;
    ASSERT_EQ(Get(kOtherKey, &record, ListRecord::kTypeId, revision), 0);
    EXPECT_EQ(revision, 1u);
    EXPECT_EQ(record.name.view(), kLongName);
    EXPECT_EQ(record.values.size(), 3u);
    EXPECT_EQ(record.name.get_allocator(), readers.get());
    EXPECT_EQ(record.values.get_allocator(), readers.get());
    EXPECT_EQ(readers->allocations(), 2u);
  }
  EXPECT_EQ(readers->outstanding(), 0);
}

}  // namespace
}  // namespace host
