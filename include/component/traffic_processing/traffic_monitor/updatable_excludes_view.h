#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"
#include "orv/vector.h"

namespace traffic_processing::traffic_monitor {

// One exclusion of the traffic monitor: the host, then five texts that narrow it.
struct TrafmonSslExclude {
  orv::types::string16_t host;
  orv::types::string16_t extra1;
  orv::types::string16_t extra2;
  orv::types::string16_t extra3;
  orv::types::string16_t extra4;
  orv::types::string16_t extra5;
};

static_assert(sizeof(TrafmonSslExclude) == 288 && offsetof(TrafmonSslExclude, extra5) == 240);

// The traffic monitor's exclusions, a sibling service.
struct IUpdatableExcludesView : orv::IObject {
  static constexpr uint32_t kIid = 0xfabcb340;
  // Slot 3: replaces the contents of `sslExcludes`.
  virtual result_t GetSslExcludes(orv::types::vector_t<TrafmonSslExclude>& sslExcludes) = 0;

 protected:
  ~IUpdatableExcludesView() = default;
};

}  // namespace traffic_processing::traffic_monitor
