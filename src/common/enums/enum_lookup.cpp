#include "qel/enums/enum_names.h"

#include <algorithm>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include "family_tables.h"

namespace qel::enums {
namespace {

// Boolean's index in the family.
constexpr uint32_t kBooleanIndex = 0;

// The lookups by family index, built once; holes stay default (no name).
const std::vector<EnumLookup>& Family() {
  static const std::vector<EnumLookup> family = [] {
    size_t count = 0;
    const FamilyTable* tables = FamilyTables(count);
    uint32_t size = 0;
    for (size_t i = 0; i < count; ++i) {
      size = std::max(size, tables[i].index + 1);
    }
    std::vector<EnumLookup> lookups(size);
    for (size_t i = 0; i < count; ++i) {
      lookups[tables[i].index] = EnumLookup(tables[i].name, tables[i].rows, tables[i].count);
    }
    return lookups;
  }();
  return family;
}

const EnumLookup& Existing(uint32_t index) {
  const EnumLookup* lookup = FindEnumeration(index);
  if (!lookup) {
    throw std::logic_error("no enumeration at this family index");
  }
  return *lookup;
}

}  // namespace

EnumLookup::EnumLookup(const char* name, const EnumRow* rows, size_t count)
    : m_name(name), m_rows(rows), m_count(count) {
  for (size_t i = 0; i < count; ++i) {
    m_byValue.push_back(rows + i);
  }
  m_byName = m_byValue;
  std::stable_sort(m_byValue.begin(), m_byValue.end(),
                   [](const EnumRow* a, const EnumRow* b) { return a->value < b->value; });
  std::stable_sort(m_byName.begin(), m_byName.end(), [](const EnumRow* a, const EnumRow* b) {
    return std::string_view(a->name) < std::string_view(b->name);
  });
}

const char* EnumLookup::FindName(uint32_t value) const noexcept {
  const auto found =
      std::lower_bound(m_byValue.begin(), m_byValue.end(), value,
                       [](const EnumRow* row, uint32_t wanted) { return row->value < wanted; });
  return found != m_byValue.end() && (*found)->value == value ? (*found)->name : nullptr;
}

bool EnumLookup::FindValue(std::string_view name, uint32_t& value) const noexcept {
  const auto found = std::lower_bound(m_byName.begin(), m_byName.end(), name,
                                      [](const EnumRow* row, std::string_view wanted) {
                                        return std::string_view(row->name) < wanted;
                                      });
  if (found == m_byName.end() || std::string_view((*found)->name) != name) {
    return false;
  }
  value = (*found)->value;
  return true;
}

const EnumLookup* FindEnumeration(uint32_t index) noexcept {
  const std::vector<EnumLookup>& family = Family();
  return index < family.size() && family[index].name() ? &family[index] : nullptr;
}

uint32_t FamilySize() noexcept { return static_cast<uint32_t>(Family().size()); }

std::string ValueToName(uint32_t index, uint32_t value) {
  const EnumLookup& lookup = Existing(index);
  if (const char* name = lookup.FindName(value)) {
    return name;
  }
  char number[16];
  std::snprintf(number, sizeof(number), "%u", value);
  throw std::runtime_error(std::string("EnumToString, invalid '") + lookup.name() +
                           "' enum value: " + number);
}

uint32_t NameToValue(uint32_t index, std::string_view name) {
  const EnumLookup& lookup = Existing(index);
  uint32_t value = 0;
  if (!lookup.FindValue(name, value)) {
    throw std::runtime_error(std::string("There is no such '") + lookup.name() +
                             "::Type' value: " + std::string(name));
  }
  return value;
}

bool StringToBoolean(std::string_view name) {
  uint32_t value = 0;
  if (!Existing(kBooleanIndex).FindValue(name, value)) {
    throw std::runtime_error("There is no such 'bool' value: " + std::string(name));
  }
  return value != 0;
}

std::string BooleanToString(bool value) { return ValueToName(kBooleanIndex, value ? 1 : 0); }

}  // namespace qel::enums
