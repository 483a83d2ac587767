#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "component/traffic_processing/traffic_monitor/pdk_settings.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "qel/tcp_traffic_interceptor/tcp_interceptor_configurator.h"
#include "support/module_fixture.h"

namespace tti::test {

// A TcpInterceptorConfigurator of the real module over fresh host services.
class ConfiguratorTest : public ModuleTest {
 protected:
  void SetUp() override {
    ModuleTest::SetUp();
    configurator = Create<qel::tcp_traffic_interceptor::ITcpInterceptorConfigurator>(
        qel::tcp_traffic_interceptor::CLSID_TcpInterceptorConfigurator);
    ASSERT_TRUE(configurator);
  }
  void TearDown() override {
    configurator.reset();
    ModuleTest::TearDown();
  }

  template <class Record>
  Record Stored(uint32_t serviceKey) {
    Record record;
    EXPECT_TRUE(services.settings->Read(serviceKey, record));
    return record;
  }
  template <class Record>
  uint32_t Revision(uint32_t serviceKey) {
    return services.settings->Revision(serviceKey, Record::kTypeId);
  }
  qel::settings::NetSettings Current() {
    qel::settings::NetSettings settings;
    EXPECT_EQ(configurator->GetNetSettings(settings), 0);
    return settings;
  }

  orv::intrusive_ptr<qel::tcp_traffic_interceptor::ITcpInterceptorConfigurator> configurator;
};

}  // namespace tti::test
