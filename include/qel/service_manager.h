#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/typed_record_ptr.h"

namespace qel {

// The host's store of service settings records, one per (service key, type id), with revisions.
struct IServiceManager : orv::IObject {
  static constexpr uint32_t kIid = 0x36d8aa31;
  // Slot 3: copies the stored record into *record.record and sets revision. 0x80000105 when there
  // is none, 0x80000103 for a known key with another type.
  virtual result_t GetServiceSettings2(uint32_t serviceKey, orv::TypedRecordPtr record,
                                       uint32_t& revision) = 0;
  // Slot 4: stores a copy when revision is the stored one; 0xa6430004 when it has moved on.
  virtual result_t UpdateServiceSettings2(uint32_t serviceKey, uint32_t mode,
                                          orv::TypedRecordPtr record, uint32_t revision) = 0;
  // Slot 5: makes written records durable.
  virtual result_t FlushSettings() = 0;

 protected:
  ~IServiceManager() = default;
};

}  // namespace qel
