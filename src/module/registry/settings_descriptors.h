#pragma once

#include "orv/type_descriptor.h"

namespace qel::tcp_traffic_interceptor {

// "InvalidCertificateHandlerSettings", serial identifier 0x070de61f.
const orv::TypeDescriptor& InvalidCertificateHandlerSettingsDescriptor() noexcept;

}  // namespace qel::tcp_traffic_interceptor
