#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "orv/optional.h"
#include "orv/type_descriptor.h"
#include "orv/vector.h"
#include "qel/enums/additional_name.h"
#include "qel/enums/danger_level.h"
#include "qel/enums/event_name.h"
#include "qel/enums/initiator.h"
#include "qel/user_info.h"
#include "qel/variant.h"

namespace qel {

// One field of an event's first list: a name of AdditionalName and its value.
struct AdditionalField {
  static constexpr uint32_t kTypeId = 0x0efa8e30;

  AdditionalField() noexcept = default;
  AdditionalField(AdditionalName::Type fieldName, Variant value) noexcept
      : name(fieldName), data(std::move(value)) {}

  AdditionalName::Type name = static_cast<AdditionalName::Type>(0xffffffff);
  Variant data;
};

// One field of an event's second list, which no code of this system fills.
struct RuntimeField {
  static constexpr uint32_t kTypeId = 0xd1345cf5;

  RuntimeField() noexcept = default;
  RuntimeField(uint32_t fieldName, Variant value) noexcept
      : name(fieldName), data(std::move(value)) {}

  uint32_t name = 0xffffffff;
  Variant data;
};

static_assert(sizeof(AdditionalField) == 64 && sizeof(RuntimeField) == 64);

// An event of the product. Fields keep the order of their appends; a name may occur twice.
struct Event {
  uint64_t eventId = 0;  // 0 until the store gives one
  EventName::Type eventType = static_cast<EventName::Type>(0);
  DangerLevel::Type dangerLevel = DangerLevel::Critical;
  Initiator::Type initiator = Initiator::Product;
  orv::optional_t<UserInfo> user;
  int64_t date = -1;  // seconds since the Unix epoch, -1 when unknown
  orv::types::vector_t<AdditionalField> additionalFields;
  orv::types::vector_t<RuntimeField> runtimeFields;
};

static_assert(sizeof(Event) == 160 && offsetof(Event, user) == 24 && offsetof(Event, date) == 88);

// Moves `data` into a new field at the end of `fields`, leaving `data` empty. Growth doubles the
// capacity, at least to four, through the vector's allocator. An exception here ends the process.
void AppendField(AdditionalName::Type name, Variant& data,
                 orv::types::vector_t<AdditionalField>& fields) noexcept;
void AppendField(uint32_t name, Variant& data, orv::types::vector_t<RuntimeField>& fields) noexcept;

// The descriptors of the two field records, constant from load to exit.
const orv::TypeDescriptor& AdditionalFieldDescriptor() noexcept;
const orv::TypeDescriptor& RuntimeFieldDescriptor() noexcept;

}  // namespace qel
