#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"

namespace traffic_processing::protocollers::ssl::auto_excludes {

// The handler's ruling on an exclusion.
enum class AutoExcludeVerdict : uint32_t { NotExcluded = 0, Excluded = 1 };

// The engine's wish to leave a domain out of the scan.
struct AutoExcludeRequest {
  uint64_t uniquePid = 0;         // the client process, by the host's unique id
  orv::types::string16_t domain;  // the domain to exclude
};

static_assert(sizeof(AutoExcludeRequest) == 56);
static_assert(offsetof(AutoExcludeRequest, domain) == 8);

// Rules on a request to put a domain into the automatic exclusions.
struct IAutoExcludeRequest : orv::IObject {
  static constexpr uint32_t kIid = 0xd911a094;
  // Slot 3: `verdict` from the settings' addToAutoExcludes.
  virtual result_t Process(const AutoExcludeRequest& request, AutoExcludeVerdict& verdict) = 0;

 protected:
  ~IAutoExcludeRequest() = default;
};

}  // namespace traffic_processing::protocollers::ssl::auto_excludes
