#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/string.h"
#include "orv/vector.h"

namespace traffic_processing::traffic_monitor {

// Service key of the trusted URLs' settings.
constexpr uint32_t CLSID_TrustedUrls = 0x5f12111e;

struct TrustedUrl {
  orv::types::string16_t url;
  bool enabled = false;
};

struct TrustedUrlsSettings {
  static constexpr uint32_t kTypeId = 0x40f68d7a;

  bool flag = false;  // kept
  bool useTrustedUrls = false;
  orv::types::vector_t<TrustedUrl> urls;
};

static_assert(sizeof(TrustedUrl) == 56 && offsetof(TrustedUrl, enabled) == 48);
static_assert(sizeof(TrustedUrlsSettings) == 40 &&
              offsetof(TrustedUrlsSettings, useTrustedUrls) == 1 &&
              offsetof(TrustedUrlsSettings, urls) == 8);

}  // namespace traffic_processing::traffic_monitor
