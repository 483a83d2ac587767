#include <cstddef>

#include "qel/event.h"

namespace qel {
namespace {

template <class Field, class Name>
void Append(Name name, Variant& data, orv::types::vector_t<Field>& fields) noexcept {
  // vector_t grows to twice its capacity (four at first) through its own allocator and moves the
  // elements over one by one; a failed allocation throws, which noexcept turns into the end.
  fields.emplace_back(name, std::move(data));
}

template <class Field>
struct Descriptor {
  // Constant-initialised: valid from load to unload whatever the order of static initialisers.
  static inline orv::SerObjDescriptorImpl<Field> operations;
  static inline orv::SerObjDescriptorHelper* const helper = &operations;
  static constexpr orv::FieldDescriptor fields[] = {
      {orv::field_kind::kNumber32, "name", 0, offsetof(Field, name), sizeof(Field::name), nullptr},
      {orv::field_kind::kVariant, "data", 0, offsetof(Field, data), sizeof(Field::data), nullptr},
      orv::kEndOfFields,
  };
};

const orv::TypeDescriptor kAdditionalField = {
    AdditionalField::kTypeId, "AdditionalField", sizeof(AdditionalField),
    Descriptor<AdditionalField>::fields, &Descriptor<AdditionalField>::helper};
const orv::TypeDescriptor kRuntimeField = {RuntimeField::kTypeId, "RuntimeField",
                                           sizeof(RuntimeField), Descriptor<RuntimeField>::fields,
                                           &Descriptor<RuntimeField>::helper};

}  // namespace

void AppendField(AdditionalName::Type name, Variant& data,
                 orv::types::vector_t<AdditionalField>& fields) noexcept {
  Append(name, data, fields);
}

void AppendField(uint32_t name, Variant& data,
                 orv::types::vector_t<RuntimeField>& fields) noexcept {
  Append(name, data, fields);
}

const orv::TypeDescriptor& AdditionalFieldDescriptor() noexcept { return kAdditionalField; }
const orv::TypeDescriptor& RuntimeFieldDescriptor() noexcept { return kRuntimeField; }

}  // namespace qel
