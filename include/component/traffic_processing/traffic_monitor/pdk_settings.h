#pragma once

#include <cstddef>
#include <cstdint>

#include "component/traffic_processing/traffic_monitor/ip_endpoint.h"
#include "orv/string.h"
#include "orv/vector.h"

namespace traffic_processing::traffic_monitor {

// Service key of the TCP interceptor's settings (the name is the engine's, spelling included).
constexpr uint32_t CLDIS_TcpInterceptor = 0xe750e572;

struct InterceptedPort {
  bool enabled = false;
  orv::types::string16_t name;
  uint16_t port = 0;
};

// Copied and compared, never looked into.
struct InterceptRule {
  bool flag = false;
  orv::types::string16_t text1;
  orv::types::string16_t text2;
  orv::types::vector_t<uint32_t> numbers;
};

struct SslExcludeRule {
  bool enabled = false;
  orv::types::string16_t name;  // always empty here
  orv::types::string16_t mask;
};

// The scan of encrypted connections. Fields named by position are the engine's; this module
// compares mode, number32, flag2, number16, interceptRules and excludes, and resets the rest.
struct PdkSslSection {
  uint32_t mode = 1;  // 0 off; 1 and 2 on
  bool flag1 = true;
  uint32_t number32 = 0;
  bool flag2 = false;
  uint16_t number16 = 0x0300;
  bool flag3 = true;
  orv::types::vector_t<InterceptRule> interceptRules;
  orv::types::vector_t<SslExcludeRule> excludes;
  orv::types::vector_t<uint32_t> numbers;
  uint64_t number64 = 0xfa000;
};

// The TCP interceptor's settings, exchanged by value with the engine. Fields marked kept are passed
// on as read.
struct pdkSettings {
  static constexpr uint32_t kTypeId = 0x35a4cef6;

  bool monitorAllPorts = false;
  bool flag1 = false;  // kept
  orv::types::vector_t<InterceptedPort> ports;
  bool flag2 = true;                                     // kept
  orv::types::vector_t<InterceptRule> interceptRules;    // kept
  orv::types::vector_t<SslExcludeRule> sslExcludeRules;  // kept
  orv::types::vector_t<EndpointRule> endpointExcludes;
  orv::types::vector_t<EndpointRule> outgoingExcludes;
  uint64_t number1 = 0x2000000;  // kept
  uint64_t number2 = 500;        // kept
  bool flag3 = true;             // kept
  PdkSslSection ssl;
};

static_assert(sizeof(InterceptedPort) == 64 && offsetof(InterceptedPort, name) == 8 &&
              offsetof(InterceptedPort, port) == 56);
static_assert(sizeof(InterceptRule) == 136 && offsetof(InterceptRule, text1) == 8 &&
              offsetof(InterceptRule, text2) == 56 && offsetof(InterceptRule, numbers) == 104);
static_assert(sizeof(SslExcludeRule) == 104 && offsetof(SslExcludeRule, name) == 8 &&
              offsetof(SslExcludeRule, mask) == 56);
static_assert(sizeof(PdkSslSection) == 128);
static_assert(offsetof(PdkSslSection, flag1) == 4 && offsetof(PdkSslSection, number32) == 8 &&
              offsetof(PdkSslSection, flag2) == 12 && offsetof(PdkSslSection, number16) == 14 &&
              offsetof(PdkSslSection, flag3) == 16 &&
              offsetof(PdkSslSection, interceptRules) == 24 &&
              offsetof(PdkSslSection, excludes) == 56 && offsetof(PdkSslSection, numbers) == 88 &&
              offsetof(PdkSslSection, number64) == 120);
static_assert(sizeof(pdkSettings) == 328);
static_assert(offsetof(pdkSettings, flag1) == 1 && offsetof(pdkSettings, ports) == 8 &&
              offsetof(pdkSettings, flag2) == 40 && offsetof(pdkSettings, interceptRules) == 48 &&
              offsetof(pdkSettings, sslExcludeRules) == 80 &&
              offsetof(pdkSettings, endpointExcludes) == 112 &&
              offsetof(pdkSettings, outgoingExcludes) == 144 &&
              offsetof(pdkSettings, number1) == 176 && offsetof(pdkSettings, number2) == 184 &&
              offsetof(pdkSettings, flag3) == 192 && offsetof(pdkSettings, ssl) == 200);

}  // namespace traffic_processing::traffic_monitor
