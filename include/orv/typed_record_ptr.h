#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/object.h"

namespace orv {

// A record handed to the service manager for one call: the record, its type id, and a holder for a
// type description that the callee may fill (the caller releases it afterwards).
struct TypedRecordPtr {
  void* record;
  uint32_t typeId;
  IObject** descriptor;
};

static_assert(sizeof(TypedRecordPtr) == 24 && offsetof(TypedRecordPtr, descriptor) == 16);

}  // namespace orv
