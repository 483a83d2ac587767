#include "field_values.h"

#include <climits>
#include <cstdio>
#include <cwchar>
#include <stdexcept>

#include "qel/enums/enum_names.h"
#include "qel/event_text.h"
#include "qel/tools/date_strings.h"
#include "text_conversion.h"

namespace qel::tools {
namespace {

struct FieldEnumeration {
  uint32_t field;  // AdditionalName
  uint32_t index;  // family index of the enumeration of its values
};

// Fields whose numbers are values of an enumeration of the family.
constexpr FieldEnumeration kFieldEnumerations[] = {
    {AdditionalName::ObjectName, 16},
    {AdditionalName::TaskState, 6},
    {AdditionalName::PrevTaskState, 6},
    {AdditionalName::DetectCertainty, 4},
    {AdditionalName::DetectType, 3},
    {AdditionalName::DetectSource, 5},
    {AdditionalName::ApplicationStopReason, 20},
    {AdditionalName::FileModificationType, 24},
    {AdditionalName::FileObjectType, 29},
    {AdditionalName::FimErrorReason, 32},
    {AdditionalName::DeviceClass, 50},
    {AdditionalName::DetectionMethod, 54},
    {AdditionalName::NetworkAttackAction, 55},
    {AdditionalName::Role, 53},
    {AdditionalName::CertificateStatus, 59},
    {AdditionalName::InternetProtocol, 60},
    {AdditionalName::DetectDanger, 71},
    {AdditionalName::ULKMState, 89},
};

const FieldEnumeration* FindFieldEnumeration(uint32_t field) {
  for (const FieldEnumeration& entry : kFieldEnumerations) {
    if (entry.field == field) {
      return &entry;
    }
  }
  return nullptr;
}

template <class T>
std::string Printf(const char* format, T value) {
  char text[32];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

// Decodes in the process locale and encodes again, so that only characters of the locale
// remain: an undecodable byte and a zero byte become '?'.
std::string ReencodeInLocale(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  std::mbstate_t in{};
  std::mbstate_t out{};
  size_t index = 0;
  while (index < text.size()) {
    wchar_t character = 0;
    const size_t used = std::mbrtowc(&character, text.data() + index, text.size() - index, &in);
    if (used == 0) {
      result += '?';
      ++index;
      continue;
    }
    if (used == static_cast<size_t>(-1) || used == static_cast<size_t>(-2)) {
      result += '?';
      ++index;
      in = std::mbstate_t{};
      continue;
    }
    char encoded[MB_LEN_MAX];
    const size_t length = std::wcrtomb(encoded, character, &out);
    if (length == static_cast<size_t>(-1)) {
      result += '?';
      out = std::mbstate_t{};
    } else {
      result.append(encoded, length);
    }
    index += used;
  }
  return result;
}

bool IsDecimal(const std::string& text) {
  if (text.empty() || text.size() > 10) {
    return false;
  }
  for (const char character : text) {
    if (character < '0' || character > '9') {
      return false;
    }
  }
  return std::stoull(text) <= UINT32_MAX;
}

}  // namespace

std::string VariantToString(const Variant& value) {
  switch (value.tag()) {
    case Variant::kBool:
      // Read as a byte: a sender may put any value in it.
      return value.As<uint8_t>() != 0 ? "Yes" : "No";
    case Variant::kInt32:
      return Printf("%d", value.As<int32_t>());
    case Variant::kInt64:
      return Printf("%ld", static_cast<long>(value.As<int64_t>()));
    case Variant::kUInt32:
      return Printf("%u", value.As<uint32_t>());
    case Variant::kUInt64:
      return Printf("%lu", static_cast<unsigned long>(value.As<uint64_t>()));
    case Variant::kDate:
      return TicksToString(static_cast<int64_t>(value.As<uint64_t>()));
    case Variant::kString8:
      return ReencodeInLocale(value.As<orv::types::string8_t>().view());
    case Variant::kString16:
      return ReencodeInLocale(orv::Utf16ToUtf8(value.As<orv::types::string16_t>().view()));
    default:
      throw std::invalid_argument("Unknown type in VariantToString");
  }
}

std::string FieldValueText(uint32_t fieldName, const Variant& value) {
  const FieldEnumeration* enumeration = FindFieldEnumeration(fieldName);
  switch (value.tag()) {
    case Variant::kUInt32:
      return enumeration ? enums::ValueToName(enumeration->index, value.As<uint32_t>())
                         : Printf("%u", value.As<uint32_t>());
    case Variant::kString8:
    case Variant::kString16: {
      std::string text = VariantToString(value);
      if (enumeration && IsDecimal(text)) {
        const enums::EnumLookup* lookup = enums::FindEnumeration(enumeration->index);
        if (const char* name = lookup->FindName(static_cast<uint32_t>(std::stoull(text)))) {
          return name;
        }
      }
      return text;
    }
    default:
      return VariantToString(value);
  }
}

}  // namespace qel::tools
