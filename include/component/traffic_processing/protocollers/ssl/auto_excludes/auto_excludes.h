#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"
#include "qel/web_av_info_provider.h"

// Code inside `qel::tcp_traffic_interceptor` writes
// `namespace auto_excludes = ::traffic_processing::protocollers::ssl::auto_excludes;`.
namespace traffic_processing::protocollers::ssl::auto_excludes {

// Service key of the automatic exclusions' settings.
constexpr uint32_t CLSID_AutoExcludes = 0x0a9d72c0;

// The automatic exclusions' settings record; the configurator keeps `mode` at 1.
struct AutoExcludesSettings {
  static constexpr uint32_t kTypeId = 0xe6842a73;

  uint32_t mode = 0;
  uint64_t number = 250;
};

static_assert(sizeof(AutoExcludesSettings) == 16 && offsetof(AutoExcludesSettings, number) == 8);

// The automatic exclusions, a sibling service.
struct IAutoExcludesView : orv::IObject {
  static constexpr uint32_t kIid = 0x3a474935;
  // Slot 3: replaces the contents of `excludes` with the automatic exclusions' host masks.
  virtual result_t GetSslExcludes(qel::ssl::Excludes& excludes) = 0;
  // Slot 4: empties the automatic exclusions.
  virtual result_t ClearSslExcludes() = 0;

 protected:
  ~IAutoExcludesView() = default;
};

}  // namespace traffic_processing::protocollers::ssl::auto_excludes
