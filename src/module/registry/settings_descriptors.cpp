#include "settings_descriptors.h"

#include <cstddef>

#include "qel/tcp_traffic_interceptor/invalid_certificate_handler_settings.h"

namespace qel::tcp_traffic_interceptor {
namespace {

using Settings = InvalidCertificateHandlerSettings;

// Constant-initialised: valid from load to unload whatever the order of static initialisers.
orv::SerObjDescriptorImpl<Settings> g_operations;
orv::SerObjDescriptorHelper* const g_helper = &g_operations;

constexpr orv::FieldDescriptor kFields[] = {
    {orv::field_kind::kNumber32, "action", 0, offsetof(Settings, action), sizeof(Settings::action),
     nullptr},
    {orv::field_kind::kBool8, "addToAutoExcludes", 0, offsetof(Settings, addToAutoExcludes),
     sizeof(Settings::addToAutoExcludes), nullptr},
    orv::kEndOfFields,
};

const orv::TypeDescriptor kDescriptor = {Settings::kTypeId, "InvalidCertificateHandlerSettings",
                                         sizeof(Settings), kFields, &g_helper};

}  // namespace

const orv::TypeDescriptor& InvalidCertificateHandlerSettingsDescriptor() noexcept {
  return kDescriptor;
}

}  // namespace qel::tcp_traffic_interceptor
