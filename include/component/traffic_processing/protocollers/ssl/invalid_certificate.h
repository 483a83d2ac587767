#pragma once

#include <cstddef>
#include <cstdint>

#include "component/traffic_processing/protocollers/ssl/connection_info.h"
#include "component/traffic_processing/traffic_monitor/connection_info.h"
#include "orv/object.h"
#include "orv/string.h"
#include "orv/vector.h"

// What the engine asks of the invalid certificate handler, and the records it passes.
namespace traffic_processing::protocollers::ssl {

// The handler's answer for a connection. Any 32-bit value may stand in it: the handler leaves the
// caller's value when its own action is out of range.
enum class InvalidCertificateVerdict : uint32_t { Allow = 0, Block = 1 };

// The engine's request for a page in place of the site's.
struct InvalidCertificateWebAlertData {
  uint32_t verificationResult = 0;
  orv::types::string8_t domain;  // the site, and the key of the handler's cache
  orv::types::string8_t ignoreAndContinueUrl;
  orv::types::string8_t showCertificateUrl;
  uint64_t uniqPid = 0;  // the client process; selects the localiser
};

static_assert(sizeof(InvalidCertificateWebAlertData) == 160);
static_assert(offsetof(InvalidCertificateWebAlertData, domain) == 8);
static_assert(offsetof(InvalidCertificateWebAlertData, ignoreAndContinueUrl) == 56);
static_assert(offsetof(InvalidCertificateWebAlertData, showCertificateUrl) == 104);
static_assert(offsetof(InvalidCertificateWebAlertData, uniqPid) == 152);

// A verdict asked for on the secure desktop, with the certificate itself.
struct InvalidCertificateSecureDesktopRequest {
  uint32_t clientPid = 0;
  orv::types::string8_t domain;
  uint32_t verificationResult = 0;
  orv::types::vector_t<unsigned char> certificate;  // DER
};

static_assert(sizeof(InvalidCertificateSecureDesktopRequest) == 96);
static_assert(offsetof(InvalidCertificateSecureDesktopRequest, domain) == 8);
static_assert(offsetof(InvalidCertificateSecureDesktopRequest, verificationResult) == 56);
static_assert(offsetof(InvalidCertificateSecureDesktopRequest, certificate) == 64);

// Told of every certificate that failed verification.
struct IInvalidCertificateNotification : orv::IObject {
  static constexpr uint32_t kIid = 0x22bc64b0;
  // Slot 3: notes the connection's certificate; no verdict.
  virtual result_t OnInvalidCertificateDetected(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                                                IConnectionInfo* sslConnectionInfo) = 0;
  // Slot 4: 0; the handler keeps this body.
  virtual result_t OnInvalidCertificateResolved(
      traffic_monitor::IConnectionInfo* /*tcpConnectionInfo*/,
      IConnectionInfo* /*sslConnectionInfo*/) {
    return 0;
  }

 protected:
  ~IInvalidCertificateNotification() = default;
};

// The verdict for a connection.
struct IInvalidCertificateResolver : orv::IObject {
  static constexpr uint32_t kIid = 0x10598812;
  // Slot 3: writes `verdict` from the settings' action before anything else.
  virtual result_t Resolve(traffic_monitor::IConnectionInfo* tcpConnectionInfo,
                           IConnectionInfo* sslConnectionInfo,
                           InvalidCertificateVerdict& verdict) = 0;

 protected:
  ~IInvalidCertificateResolver() = default;
};

// The verdict for a request from the secure desktop.
struct IInvalidCertificateSecureDesktopRequest : orv::IObject {
  static constexpr uint32_t kIid = 0x42467a72;
  // Slot 3: always allows.
  virtual result_t Resolve(const InvalidCertificateSecureDesktopRequest& request,
                           InvalidCertificateVerdict& verdict) = 0;

 protected:
  ~IInvalidCertificateSecureDesktopRequest() = default;
};

// The page served in place of a site whose certificate is bad.
struct IInvalidCertificateWebAlertProvider : orv::IObject {
  static constexpr uint32_t kIid = 0xecb44b2c;
  // Slot 3: the finished page in `body`.
  virtual result_t GetWebAlertStub(const InvalidCertificateWebAlertData& data,
                                   orv::types::string8_t& body) = 0;

 protected:
  ~IInvalidCertificateWebAlertProvider() = default;
};

}  // namespace traffic_processing::protocollers::ssl
