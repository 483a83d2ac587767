#pragma once

#include <cstdint>

#include "orv/object.h"
#include "orv/type_descriptor.h"
#include "orv/vector.h"

namespace orv {

// The registry of record descriptions that the host's serialiser reads.
struct IStructMetaInfoRegistry : IObject {
  static constexpr uint32_t kIid = 0xa53230cb;
  // Slot 3: appends the served identifiers through ids' own allocator; 0 or 0x80000041.
  virtual result_t GetTypeIds(types::vector_t<uint32_t>& ids) = 0;
  // Slot 4: 0 and the static descriptor, or 0x8000004c with nothing stored.
  virtual result_t GetDescriptor(uint32_t id, const TypeDescriptor** descriptor) = 0;
  // Slot 5: reserved, 0x80000043.
  virtual result_t Reserved5() = 0;
  // Slot 6: reserved, 0x80000043.
  virtual result_t Reserved6() = 0;

 protected:
  ~IStructMetaInfoRegistry() = default;
};

struct IMetaInfoProvider : IObject {
  static constexpr uint32_t kIid = 0xfe7da4e6;
  // Slot 3: as IStructMetaInfoRegistry::GetDescriptor.
  virtual result_t GetDescriptor(uint32_t id, const TypeDescriptor** descriptor) = 0;
  // Slot 4: reserved, 0x80000043.
  virtual result_t Reserved4() = 0;
  // Slot 5: reserved, 0x80000043.
  virtual result_t Reserved5() = 0;

 protected:
  ~IMetaInfoProvider() = default;
};

}  // namespace orv
