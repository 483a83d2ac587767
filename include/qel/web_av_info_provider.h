#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/string.h"
#include "orv/vector.h"

namespace qel {

namespace ssl {
// Host masks, one an entry.
using Excludes = orv::types::vector_t<orv::types::string16_t>;
}  // namespace ssl

// Questions on the exclusions from the scan of encrypted connections (configurator).
struct IWebAvInfoProvider : orv::IObject {
  static constexpr uint32_t kIid = 0xf14b93b7;
  // Slot 3: the automatic exclusions, as the auto excludes view gives them.
  virtual result_t GetAutoSslExcludes(qel::ssl::Excludes& excludes) const = 0;
  // Slot 4: appends the traffic monitor's plain host exclusions; `excludes` is not emptied.
  virtual result_t GetTrafmonSslExcludes(qel::ssl::Excludes& excludes) const = 0;
  // Slot 5: appends the user's exclusions when they are in force.
  virtual result_t GetUserSslExcludes(qel::ssl::Excludes& excludes) const = 0;
  // Slot 6: empties the automatic exclusions.
  virtual result_t ClearAutoSslExcludes() = 0;

 protected:
  ~IWebAvInfoProvider() = default;
};

}  // namespace qel
