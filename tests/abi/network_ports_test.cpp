// NetworkPorts through the real module: start and stop as writes of the engine's record.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <typeinfo>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "orv/intrusive_ptr.h"
#include "qel/settings/network_ports.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor.h"
#include "support/module_fixture.h"

namespace {

namespace tti = qel::tcp_traffic_interceptor;
namespace tm = ::traffic_processing::traffic_monitor;

class NetworkPortsTest : public ::tti::test::ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    interceptor = Create<tti::ITcpInterceptor>(tti::CLSID_NetworkPorts);
    ASSERT_TRUE(interceptor);
    settings = As<tti::INetworkPortsSettings>(interceptor.get());
  }
  void TearDown() override {
    settings.reset();
    interceptor.reset();
    ModuleTest::TearDown();
  }

  tm::pdkSettings Engine() {
    tm::pdkSettings record;
    EXPECT_TRUE(services.settings->Read(tm::CLDIS_TcpInterceptor, record));
    return record;
  }
  uint32_t EngineRevision() {
    return services.settings->Revision(tm::CLDIS_TcpInterceptor, tm::pdkSettings::kTypeId);
  }
  static qel::settings::NetworkPorts Ports(std::initializer_list<uint32_t> numbers) {
    qel::settings::NetworkPorts ports = qel::settings::NetworkPorts::Empty();
    for (uint32_t number : numbers) {
      ports.ports.push_back({orv::types::string8_t("P"), number});
    }
    return ports;
  }

  orv::intrusive_ptr<tti::ITcpInterceptor> interceptor;
  orv::intrusive_ptr<tti::INetworkPortsSettings> settings;
};

TEST_F(NetworkPortsTest, StartTwiceStopTwice_DefaultFifteenPortsFirstStartLastStopWrite) {
  ASSERT_EQ(interceptor->StartInterception(), 0);
  const tm::pdkSettings engine = Engine();
  EXPECT_FALSE(engine.monitorAllPorts);
  ASSERT_EQ(engine.ports.size(), 15u);
  EXPECT_TRUE(engine.ports[7].enabled);
  EXPECT_EQ(engine.ports[7].name.view(), u"Default proxy server port");
  EXPECT_EQ(engine.ports[7].port, 3128);
  EXPECT_EQ(engine.ports[14].port, 11523);
  EXPECT_EQ(services.settings->writes(), 1u);
  EXPECT_EQ(services.settings->flushes(), 1u);
  EXPECT_EQ(services.settings->lastMode(), 1u);

  // Only the first start and the last stop write.
  ASSERT_EQ(interceptor->StartInterception(), 0);
  EXPECT_EQ(services.settings->writes(), 1u);
  ASSERT_EQ(interceptor->StopInterception(), 0);
  EXPECT_EQ(Engine().ports.size(), 15u);  // still on: one start outstanding
  ASSERT_EQ(interceptor->StopInterception(), 0);
  EXPECT_TRUE(Engine().ports.empty());
  EXPECT_FALSE(Engine().monitorAllPorts);
  EXPECT_EQ(services.settings->writes(), 2u);
}

TEST_F(NetworkPortsTest, StopWithoutStart_WritesEmptyAndStaysOff_SignaturesAtDetail) {
  ASSERT_EQ(interceptor->StopInterception(), 0);
  std::vector<std::string> lines = tracer->Texts(800);
  lines.resize(3);
  // Golden: the expected lines stay literal, an independent witness that the named fixed texts
  // hold the right bytes.
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "virtual result_t qel::tcp_traffic_interceptor::NetworkPorts::"
                       "StopInterception()",
                       "result_t qel::tcp_traffic_interceptor::NetworkPorts::"
                       "UpdateServiceSettings(const qel::settings::NetworkPorts&)",
                       "UpdateServiceSettingsSync() serviceKey=0xe750e572, sync=1"}));
  EXPECT_EQ(services.settings->writes(), 1u);
  EXPECT_TRUE(Engine().ports.empty());
  // The count stayed 0: the next start writes the list again.
  ASSERT_EQ(interceptor->StartInterception(), 0);
  EXPECT_EQ(Engine().ports.size(), 15u);
}

TEST_F(NetworkPortsTest, SetSettings_WhileOffStoresOnly_WhileOnWritesLowSixteenBits) {
  const qel::settings::NetworkPorts first = Ports({65616});
  ASSERT_EQ(settings->SetSettings(&first), 0);
  EXPECT_EQ(services.settings->writes(), 0u);
  ASSERT_EQ(interceptor->StartInterception(), 0);  // the stored list goes out
  ASSERT_EQ(Engine().ports.size(), 1u);
  EXPECT_EQ(Engine().ports[0].port, 80);

  qel::settings::NetworkPorts all = Ports({443, 8443});
  all.mode = qel::MonitorNetworkPorts::All;
  ASSERT_EQ(settings->SetSettings(&all), 0);
  EXPECT_TRUE(Engine().monitorAllPorts);
  EXPECT_TRUE(Engine().ports.empty());
  qel::settings::NetworkPorts stored = Ports({1});
  ASSERT_EQ(settings->GetSettings(&stored), 0);
  EXPECT_EQ(stored.mode, qel::MonitorNetworkPorts::All);
  ASSERT_EQ(stored.ports.size(), 2u);  // the stored record keeps its ports
  EXPECT_EQ(stored.ports[1].port, 8443u);
}

TEST_F(NetworkPortsTest, Construct_DecidesTheFirstStartsList) {
  const auto construct = As<tti::INetworkPortsConstruct>(interceptor.get());
  const qel::settings::NetworkPorts ports = Ports({8080, 3128});
  ASSERT_EQ(construct->Construct(&ports), 0);
  EXPECT_EQ(services.settings->writes(), 0u);
  ASSERT_EQ(interceptor->StartInterception(), 0);
  ASSERT_EQ(Engine().ports.size(), 2u);
  EXPECT_EQ(Engine().ports[1].port, 3128);
}

TEST_F(NetworkPortsTest, UpdateFails_StartRetriesOnNextStartStopKeepsTheCount) {
  const result_t failure = orv::MakeResult(0x80000045);
  services.settings->InjectFailure(host::MemoryServiceManager::Operation::kUpdate, failure);
  EXPECT_EQ(interceptor->StartInterception(), failure);
  EXPECT_TRUE(tracer->Contains("(UpdateServiceSettings(GetPorts()))"));
  EXPECT_TRUE(tracer->Contains("Cannot set service settings"));
  EXPECT_TRUE(Engine().ports.empty());
  ASSERT_EQ(interceptor->StartInterception(), 0);  // the count stayed 0
  EXPECT_EQ(Engine().ports.size(), 15u);

  // A failed stop leaves the count as it was.
  services.settings->InjectFailure(host::MemoryServiceManager::Operation::kUpdate,
                                   orv::MakeResult(0x80000045));
  EXPECT_LT(interceptor->StopInterception(), 0);
  EXPECT_TRUE(tracer->Contains("(UpdateServiceSettings(empty))"));
  // Still counted as on: a second start does not write.
  const uint64_t writes = services.settings->writes();
  ASSERT_EQ(interceptor->StartInterception(), 0);
  EXPECT_EQ(services.settings->writes(), writes);
}

TEST_F(NetworkPortsTest, SetSettings_UndecodableNameWhileOn_ThrowsAndKeepsEverything) {
  ASSERT_EQ(interceptor->StartInterception(), 0);
  const uint32_t revision = EngineRevision();
  qel::settings::NetworkPorts bad = Ports({1});
  bad.ports[0].name = "\xff";
  EXPECT_THROW(settings->SetSettings(&bad), std::bad_cast);
  EXPECT_EQ(EngineRevision(), revision);
  qel::settings::NetworkPorts stored = Ports({});
  ASSERT_EQ(settings->GetSettings(&stored), 0);
  EXPECT_EQ(stored.ports.size(), 15u);
}

}  // namespace
