#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/string.h"
#include "orv/vector.h"
#include "qel/enums/certificate_verification_policy.h"
#include "qel/enums/encrypted_connections_scan_error_action.h"
#include "qel/enums/untrusted_certificate_action.h"
#include "qel/settings/endpoint_exclude.h"
#include "qel/settings/network_ports.h"

namespace qel::settings {

// The flat view of the network settings that the settings layer reads and writes; the configurator
// spreads it over four services.
struct NetSettings {
  bool EncryptedConnectionsScan = true;
  ::qel::EncryptedConnectionsScanErrorAction::Type EncryptedConnectionsScanErrorAction =
      ::qel::EncryptedConnectionsScanErrorAction::AddToAutoExclusions;
  bool ManageExclusions = false;
  orv::types::vector_t<orv::types::string8_t> sslExcludes;
  ::qel::UntrustedCertificateAction::Type UntrustedCertificateAction =
      ::qel::UntrustedCertificateAction::Allow;
  ::qel::CertificateVerificationPolicy::Type CertificateVerificationPolicy =
      ::qel::CertificateVerificationPolicy::FullCheck;
  orv::types::vector_t<EndpointExclude> endpointExcludes;
  orv::types::vector_t<EndpointExclude> outgoingExcludes;
  ::qel::settings::NetworkPorts NetworkPorts;
};

static_assert(sizeof(NetSettings) == 160);
static_assert(offsetof(NetSettings, EncryptedConnectionsScanErrorAction) == 4);
static_assert(offsetof(NetSettings, ManageExclusions) == 8);
static_assert(offsetof(NetSettings, sslExcludes) == 16);
static_assert(offsetof(NetSettings, UntrustedCertificateAction) == 48);
static_assert(offsetof(NetSettings, CertificateVerificationPolicy) == 52);
static_assert(offsetof(NetSettings, endpointExcludes) == 56);
static_assert(offsetof(NetSettings, outgoingExcludes) == 88);
static_assert(offsetof(NetSettings, NetworkPorts) == 120);

}  // namespace qel::settings
