#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "orv/result.h"

namespace orv {

// A property value: its type number and the value. Only the types below occur in this system.
class TypedValue {
 public:
  enum Type : uint32_t {
    kNarrowString = 7,
    kWideString = 8,
    kResult = 20,
    kUint32 = 21,
    kInt64 = 22,
    kUint64 = 23,
  };

  static TypedValue Narrow(std::string_view text) { return TypedValue(kNarrowString, 0, text); }
  static TypedValue Wide(std::u16string_view text);
  static TypedValue Result(result_t value) {
    return TypedValue(kResult, static_cast<uint32_t>(value), {});
  }
  static TypedValue Uint32(uint32_t value) { return TypedValue(kUint32, value, {}); }
  static TypedValue Int64(int64_t value) {
    return TypedValue(kInt64, static_cast<uint64_t>(value), {});
  }
  static TypedValue Uint64(uint64_t value) { return TypedValue(kUint64, value, {}); }
  // A value of a type this system does not know; printed by its number.
  static TypedValue Opaque(uint32_t type) { return TypedValue(type, 0, {}); }

  uint32_t type() const noexcept { return m_type; }
  uint64_t number() const noexcept { return m_number; }
  // Narrow text; for a 16-bit string, its UTF-8 form.
  const std::string& text() const noexcept { return m_text; }
  // "0x" and zero-filled hexadecimal digits for numbers, the text for strings, "<typeid=N>".
  std::string Print() const;

 private:
  TypedValue(uint32_t type, uint64_t number, std::string_view text)
      : m_type(type), m_number(number), m_text(text) {}

  uint32_t m_type;
  uint64_t m_number;
  std::string m_text;
};

struct ExceptionModule {
  std::string name;
  std::string symbol;
  uint64_t base = 0;
  uint64_t size = 0;
};

struct ExceptionProperty {
  char key[32];  // at most 31 characters
  TypedValue value;
};

// The shared part of an exception: copies of one exception share it, so a rethrown exception keeps
// its properties. The reference count is the only thing touched from more than one thread.
struct ExceptionRecord {
  std::string message;
  std::string description;  // cache of the full what() text
  std::vector<uint64_t> frames;
  std::vector<ExceptionModule> modules;  // sorted by base
  std::vector<ExceptionProperty> properties;
  std::string extra;
  std::atomic<uint32_t> references{1};

  // Replaces the value of an existing key in place, or appends; growth doubles from four.
  void SetProperty(std::string_view key, TypedValue value);
  const ExceptionProperty* FindProperty(std::string_view key) const noexcept;
  // The failing code the record carries: "orv.result", else "os.result" through the errno map,
  // else "os.module_result", else 0x80000151.
  result_t ExtractResult() const noexcept;
  // "file(line): message." followed by the properties and the call stack.
  std::string BuildDescription(const char* file, uint32_t line) const;
};

// The code the loader's message text stands for: 0 for none, 0x80010107 for a missing symbol.
result_t ResultFromModuleMessage(std::string_view text) noexcept;

}  // namespace orv
