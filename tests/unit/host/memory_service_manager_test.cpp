#include "host/memory_service_manager.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>

#include "host/host_object.h"
#include "host/malloc_allocator.h"
#include "orv/string.h"
#include "orv/vector.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace host {
namespace {

using Settings = qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings;
using Operation = MemoryServiceManager::Operation;
constexpr uint32_t kKey = 0xb10fd857;
constexpr uint32_t kOtherKey = 0x12345678;

// A record with containers, to see whose allocator the copies use.
struct ListRecord {
  static constexpr uint32_t kTypeId = 0x7e570001;
  orv::types::string8_t name;
  orv::types::vector_t<uint32_t> values;
};

constexpr Settings kBlocked{qel::UntrustedCertificateAction::Block, false};

class MemoryServiceManagerTest : public ::testing::Test {
 protected:
  void SetUp() override { store->Seed<Settings>(kKey); }

  result_t Get(uint32_t key, void* record, uint32_t typeId, uint32_t& revision) {
    orv::IObject* descriptor = nullptr;
    return store->GetServiceSettings2(key, {record, typeId, &descriptor}, revision);
  }
  result_t Update(uint32_t key, void* record, uint32_t typeId, uint32_t revision) {
    orv::IObject* descriptor = nullptr;
    return store->UpdateServiceSettings2(key, 1, {record, typeId, &descriptor}, revision);
  }
  Settings Stored() {
    Settings out{};
    EXPECT_TRUE(store->Read(kKey, out));
    return out;
  }

  orv::intrusive_ptr<MemoryServiceManager> store = MakeObject<MemoryServiceManager>();
};

struct GetFailureCase {
  const char* name;
  uint32_t key;
  uint32_t typeId;
  result_t expected;
};
void PrintTo(const GetFailureCase& value, std::ostream* out) { *out << value.name; }

class GetFailureTest : public MemoryServiceManagerTest,
                       public ::testing::WithParamInterface<GetFailureCase> {};

TEST_P(GetFailureTest, Get_Fails_WritesNothing) {
  Settings record = kBlocked;
  uint32_t revision = 77;
  EXPECT_EQ(Get(GetParam().key, &record, GetParam().typeId, revision), GetParam().expected);
  EXPECT_EQ(record, kBlocked);
  EXPECT_EQ(revision, 77u);
}

INSTANTIATE_TEST_SUITE_P(Store, GetFailureTest,
                         ::testing::Values(GetFailureCase{"NoRecord", kOtherKey, Settings::kTypeId,
                                                          orv::errors::kSettingsNotFound},
                                           GetFailureCase{"OtherTypeId", kKey, ListRecord::kTypeId,
                                                          orv::errors::kWrongSettingsType}),
                         [](const auto& info) { return std::string(info.param.name); });

struct UpdateFailureCase {
  const char* name;
  uint32_t typeId;
  uint32_t revision;
  result_t expected;
};
void PrintTo(const UpdateFailureCase& value, std::ostream* out) { *out << value.name; }

class UpdateFailureTest : public MemoryServiceManagerTest,
                          public ::testing::WithParamInterface<UpdateFailureCase> {};

TEST_P(UpdateFailureTest, Update_Fails_StoresNothingAndKeepsRevision) {
  store->RegisterType<ListRecord>();
  ListRecord list;
  Settings settings = kBlocked;
  void* record = GetParam().typeId == Settings::kTypeId ? static_cast<void*>(&settings) : &list;
  EXPECT_EQ(Update(kKey, record, GetParam().typeId, GetParam().revision), GetParam().expected);
  EXPECT_EQ(Stored(), Settings{});
  EXPECT_EQ(store->Revision(kKey, Settings::kTypeId), 1u);
  EXPECT_EQ(store->writes(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Store, UpdateFailureTest,
                         ::testing::Values(UpdateFailureCase{"StaleRevision", Settings::kTypeId, 0,
                                                             orv::errors::kRevisionMovedOn},
                                           UpdateFailureCase{"FutureRevision", Settings::kTypeId, 2,
                                                             orv::errors::kRevisionMovedOn},
                                           UpdateFailureCase{"OtherTypeId", ListRecord::kTypeId, 1,
                                                             orv::errors::kWrongSettingsType}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(MemoryServiceManagerTest, Update_AbsentRecordAtRevisionZero_CreatesAtOne) {
  Settings record = kBlocked;
  EXPECT_EQ(Update(kOtherKey, &record, Settings::kTypeId, 3), orv::errors::kRevisionMovedOn);
  ASSERT_EQ(Update(kOtherKey, &record, Settings::kTypeId, 0), 0);
  Settings out{};
  ASSERT_TRUE(store->Read(kOtherKey, out));
  EXPECT_EQ(out, kBlocked);
  EXPECT_EQ(store->Revision(kOtherKey, Settings::kTypeId), 1u);
}

TEST_F(MemoryServiceManagerTest, Get_RecordWithContainers_KeepsCallersAllocator) {
  ListRecord seeded;
  seeded.name = "a name longer than the inline buffer";
  seeded.values = {1, 2, 3};
  store->Seed<ListRecord>(kOtherKey, seeded);

  auto callers = MakeObject<MallocAllocator>();
  {
    ListRecord record;
    record.name = orv::types::string8_t(callers.get());
    record.values = orv::types::vector_t<uint32_t>(callers.get());
    uint32_t revision = 0;
    ASSERT_EQ(Get(kOtherKey, &record, ListRecord::kTypeId, revision), 0);
    EXPECT_EQ(record.name.view(), "a name longer than the inline buffer");
    EXPECT_EQ(record.values.size(), 3u);
    EXPECT_EQ(record.name.get_allocator(), callers.get());
    EXPECT_EQ(record.values.get_allocator(), callers.get());
    EXPECT_EQ(callers->allocations(), 2u);
  }
  EXPECT_EQ(callers->outstanding(), 0);
}

TEST_F(MemoryServiceManagerTest, Update_RecordWithContainers_StoreKeepsNothingOfWriters) {
  // The store outlives the module that wrote; it must not hold the writer's allocator.
  store->RegisterType<ListRecord>();
  auto writers = MakeObject<MallocAllocator>();
  const uint32_t referencesBefore = writers->references();
  {
    ListRecord record;
    record.name = orv::types::string8_t("a name longer than the inline buffer", writers.get());
    ASSERT_EQ(Update(kOtherKey, &record, ListRecord::kTypeId, 0), 0);
  }
  EXPECT_EQ(writers->references(), referencesBefore);
  EXPECT_EQ(writers->outstanding(), 0);
  ListRecord out;
  ASSERT_TRUE(store->Read(kOtherKey, out));
  EXPECT_EQ(out.name.view(), "a name longer than the inline buffer");
}

struct InjectedFailureCase {
  const char* name;
  Operation operation;
  bool sticky;
};
void PrintTo(const InjectedFailureCase& value, std::ostream* out) { *out << value.name; }

class InjectedFailureTest : public MemoryServiceManagerTest,
                            public ::testing::WithParamInterface<InjectedFailureCase> {
 protected:
  result_t Call() {
    Settings record = kBlocked;
    uint32_t revision = 0;
    switch (GetParam().operation) {
      case Operation::kGet:
        return Get(kKey, &record, Settings::kTypeId, revision);
      case Operation::kUpdate:
        return Update(kKey, &record, Settings::kTypeId, store->Revision(kKey, Settings::kTypeId));
      case Operation::kFlush:
        return store->FlushSettings();
    }
    return orv::errors::kUnexpected;
  }
};

TEST_P(InjectedFailureTest, Call_InjectedFailure_FailsOnceOrUntilCleared) {
  constexpr result_t kInjected = orv::errors::kAccessDenied;
  store->InjectFailure(GetParam().operation, kInjected, GetParam().sticky);
  EXPECT_EQ(Call(), kInjected);
  EXPECT_EQ(Stored(), Settings{});
  EXPECT_EQ(store->Revision(kKey, Settings::kTypeId), 1u);
  EXPECT_EQ(Call(), GetParam().sticky ? kInjected : 0);
  store->ClearInjections();
  EXPECT_EQ(Call(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Store, InjectedFailureTest,
    ::testing::Values(InjectedFailureCase{"GetOnce", Operation::kGet, false},
                      InjectedFailureCase{"UpdateSticky", Operation::kUpdate, true},
                      InjectedFailureCase{"FlushOnce", Operation::kFlush, false}),
    [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace host
