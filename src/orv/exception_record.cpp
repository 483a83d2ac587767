#include "orv/exception_record.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "text_conversion.h"

namespace orv {
namespace {

std::string Hex(uint64_t value, int digits) {
  char buffer[24];
  std::snprintf(buffer, sizeof(buffer), "0x%0*llx", digits, static_cast<unsigned long long>(value));
  return buffer;
}

}  // namespace

TypedValue TypedValue::Wide(std::u16string_view text) {
  return TypedValue(kWideString, 0, Utf16ToUtf8(text));
}

std::string TypedValue::Print() const {
  switch (m_type) {
    case kNarrowString:
    case kWideString:
      return m_text;
    case kResult:
    case kUint32:
      return Hex(m_number, 8);
    case kInt64:
    case kUint64:
      return Hex(m_number, 16);
    default:
      return "<typeid=" + std::to_string(m_type) + ">";
  }
}

void ExceptionRecord::SetProperty(std::string_view key, TypedValue value) {
  key = key.substr(0, sizeof(ExceptionProperty::key) - 1);
  for (ExceptionProperty& property : properties) {
    if (key == property.key) {
      property.value = std::move(value);
      return;
    }
  }
  if (properties.size() == properties.capacity()) {
    properties.reserve(properties.empty() ? 4 : properties.capacity() * 2);
  }
  ExceptionProperty property{{}, std::move(value)};
  std::memcpy(property.key, key.data(), key.size());
  property.key[key.size()] = '\0';
  properties.push_back(std::move(property));
}

const ExceptionProperty* ExceptionRecord::FindProperty(std::string_view key) const noexcept {
  for (const ExceptionProperty& property : properties) {
    if (key == property.key) {
      return &property;
    }
  }
  return nullptr;
}

result_t ResultFromModuleMessage(std::string_view text) noexcept {
  // The loader's text is looked at as a C string of at most 255 characters.
  char buffer[256] = {};
  std::memcpy(buffer, text.data(), std::min(text.size(), sizeof(buffer) - 1));
  const std::string_view message(buffer);
  if (message.empty()) {
    return 0;
  }
  constexpr std::string_view kUndefinedSymbol = "undefined symbol:";
  if (message.size() >= kUndefinedSymbol.size() &&
      message.compare(0, kUndefinedSymbol.size(), kUndefinedSymbol) == 0) {
    return errors::kSymbolNotFound;
  }
  return errors::kUnspecifiedPlatformError;
}

result_t ExceptionRecord::ExtractResult() const noexcept {
  if (const auto* property = FindProperty("orv.result")) {
    return property->value.type() == TypedValue::kResult
               ? static_cast<result_t>(property->value.number())
               : errors::kExceptionHasNoResult;
  }
  if (const auto* property = FindProperty("os.result")) {
    return property->value.type() == TypedValue::kUint32
               ? ResultFromErrno(static_cast<uint32_t>(property->value.number()))
               : errors::kExceptionHasNoResult;
  }
  if (const auto* property = FindProperty("os.module_result")) {
    return property->value.type() == TypedValue::kNarrowString
               ? ResultFromModuleMessage(property->value.text())
               : errors::kExceptionHasNoResult;
  }
  return errors::kExceptionHasNoResult;
}

std::string ExceptionRecord::BuildDescription(const char* file, uint32_t line) const {
  std::string text;
  text.append(file ? file : "").append("(").append(std::to_string(line)).append("): ");
  text.append(message).append(".");
  if (properties.empty()) {
    text.append(" ");
  } else {
    text.append(" Properties:\n");
    for (size_t i = 0; i < properties.size(); ++i) {
      if (i != 0) {
        text.append("\n");
      }
      text.append(properties[i].key).append("=").append(properties[i].value.Print());
    }
    text.append("\n");
  }
  text.append("Call stack:\n");
  char buffer[64];
  for (size_t i = 0; i < frames.size(); ++i) {
    const uint64_t address = frames[i];
    std::snprintf(buffer, sizeof(buffer), "%2zu# ", i);
    text.append(buffer);
    auto after = std::upper_bound(modules.begin(), modules.end(), address,
                                  [](uint64_t a, const ExceptionModule& m) { return a < m.base; });
    if (after != modules.begin() && address < std::prev(after)->base + std::prev(after)->size) {
      const ExceptionModule& module = *std::prev(after);
      std::snprintf(buffer, sizeof(buffer), "%llx",
                    static_cast<unsigned long long>(address - module.base));
      text.append(module.name).append("!").append(module.symbol).append("!").append(buffer);
    } else {
      std::snprintf(buffer, sizeof(buffer), "%llx", static_cast<unsigned long long>(address));
      text.append(buffer);
    }
    text.append("\n");
  }
  return text;
}

}  // namespace orv
