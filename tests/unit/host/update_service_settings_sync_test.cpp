// What only the reference host's store can provoke: a second writer in between, a conflict that
// never ends by itself, a modifier that throws, a missing store and a failing flush. The module's
// own tests drive the ordinary write, the flag and the entry and exit lines through the same store.
#include "qel/tools/update_service_settings_sync.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "host/capturing_tracer.h"
#include "host/host_object.h"
#include "host/memory_service_manager.h"
#include "host/service_locator.h"
#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace host {
namespace {

using Settings = qel::tcp_traffic_interceptor::InvalidCertificateHandlerSettings;
using Operation = MemoryServiceManager::Operation;
using qel::UntrustedCertificateAction::Block;
constexpr uint32_t kKey = 0xb10fd857;

result_t SetBlock(Settings& settings) {
  settings.action = Block;
  return 0;
}

class UpdateServiceSettingsSyncTest : public ::testing::Test {
 protected:
  void SetUp() override {
    store->Seed<Settings>(kKey);
    locator->Add<qel::IServiceManager>(store.get());
  }

  template <class Modifier>
  result_t Run(Modifier&& modifier) {
    return qel::tools::UpdateServiceSettingsSync<Settings>(tracer.get(), locator.get(), kKey,
                                                           std::forward<Modifier>(modifier), true);
  }

  orv::intrusive_ptr<CapturingTracer> tracer = MakeObject<CapturingTracer>();
  orv::intrusive_ptr<MemoryServiceManager> store = MakeObject<MemoryServiceManager>();
  orv::intrusive_ptr<ServiceLocator> locator = MakeObject<ServiceLocator>();
};

// A real second writer (not an injected conflict) changes the record between the read and the
// write: the modifier runs again on what that writer stored.
TEST_F(UpdateServiceSettingsSyncTest, Sync_Conflict_RerunsModifierOnFreshRecord) {
  int calls = 0;
  const result_t result = Run([&](Settings& settings) {
    if (++calls == 1) {
      Settings other{};
      EXPECT_TRUE(store->Read(kKey, other));
      other.addToAutoExcludes = false;
      orv::IObject* descriptor = nullptr;
      EXPECT_EQ(store->UpdateServiceSettings2(kKey, 1, {&other, Settings::kTypeId, &descriptor},
                                              store->Revision(kKey, Settings::kTypeId)),
                0);
    }
    return SetBlock(settings);
  });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(calls, 2);
  Settings stored{};
  ASSERT_TRUE(store->Read(kKey, stored));
  EXPECT_EQ(stored, (Settings{Block, false}));
  EXPECT_EQ(store->Revision(kKey, Settings::kTypeId), 3u);
}

TEST_F(UpdateServiceSettingsSyncTest, Sync_EndlessConflict_CompletesOnceClearedFromOutside) {
  store->InjectConflicts(UINT64_MAX);
  std::thread clearer([this] {
    while (store->conflicts() <= 1000) {
      std::this_thread::yield();
    }
    store->ClearInjections();
  });
  const result_t result = Run(SetBlock);
  clearer.join();
  EXPECT_EQ(result, 0);
  EXPECT_GT(store->conflicts(), 1000u);
  EXPECT_EQ(store->writes(), 1u);
  EXPECT_EQ(tracer->Texts(orv::trace_level::kDetail).back(),
            "UpdateServiceSettingsSync() <- 0x00000000 (No error) ");
  Settings stored{};
  ASSERT_TRUE(store->Read(kKey, stored));
  EXPECT_EQ(stored.action, Block);
}

TEST_F(UpdateServiceSettingsSyncTest, Sync_ModifierThrows_PassesThroughWritesNothing) {
  const uint32_t storeReferences = store->references();
  EXPECT_THROW(Run([](Settings&) -> result_t { throw std::runtime_error("modifier"); }),
               std::runtime_error);
  EXPECT_EQ(store->updates(), 0u);
  EXPECT_EQ(store->Revision(kKey, Settings::kTypeId), 1u);
  EXPECT_EQ(store->references(), storeReferences);
  EXPECT_EQ(tracer->openRecords(), 0u);
}

TEST_F(UpdateServiceSettingsSyncTest, Sync_NoServiceManager_ReturnsLocatorsCodeAndTraces) {
  locator->Remove(qel::IServiceManager::kIid);
  int calls = 0;
  EXPECT_EQ(Run([&](Settings&) { return ++calls, 0; }), orv::errors::kNotFound);
  EXPECT_EQ(calls, 0);
  const std::vector<std::string> errors = tracer->Texts(orv::trace_level::kError);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_THAT(errors[0], testing::EndsWith("(GetInterface(sl, esm.Ref())),(ORV_SUCCEEDED(_result)) "
                                           "failed: result = 0x8000004c (Not found) Cannot get "
                                           "IServiceManager interface"));
}

struct StoreFailureCase {
  const char* name;
  Operation operation;
  const char* message;
  uint64_t writes;
};

class StoreFailureTest : public UpdateServiceSettingsSyncTest,
                         public ::testing::WithParamInterface<StoreFailureCase> {};

TEST_P(StoreFailureTest, Sync_StoreFails_ReturnsCodeAndTracesOnce) {
  constexpr result_t kInjected = orv::errors::kAccessDenied;
  store->InjectFailure(GetParam().operation, kInjected);
  EXPECT_EQ(Run(SetBlock), kInjected);
  EXPECT_EQ(store->writes(), GetParam().writes);
  const std::vector<std::string> errors = tracer->Texts(orv::trace_level::kError);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_THAT(errors[0], testing::AllOf(testing::HasSubstr("result = 0x80000045 (Access denied)"),
                                        testing::EndsWith(GetParam().message)));
  // No exit line on a failure.
  EXPECT_EQ(tracer->Texts(orv::trace_level::kDetail).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Store, StoreFailureTest,
                         ::testing::Values(StoreFailureCase{"Read", Operation::kGet,
                                                            " UpdateServiceSettings2 failed", 0},
                                           StoreFailureCase{"Flush", Operation::kFlush,
                                                            " FlushSettings failed", 1}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace host
