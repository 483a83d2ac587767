#include "orv/exception.h"

#include <cstdio>
#include <new>

#include "text_conversion.h"

namespace orv {

// Delegates so that a failure to store the message runs the destructor, which frees the record.
exception::exception(const char* file, uint32_t line, const char* message) : exception(file, line) {
  Record().message = message ? message : "";
}

exception::exception(const exception& other) noexcept
    : std::exception(other), m_file(other.m_file), m_line(other.m_line), m_record(other.m_record) {
  if (m_record) {
    m_record->references.fetch_add(1);
  }
}

exception& exception::operator=(const exception& other) noexcept {
  if (this != &other) {
    exception copy(other);
    std::swap(m_file, copy.m_file);
    std::swap(m_line, copy.m_line);
    std::swap(m_record, copy.m_record);
  }
  return *this;
}

exception::~exception() {
  if (m_record && m_record->references.fetch_sub(1) == 1) {
    delete m_record;
  }
}

ExceptionRecord& exception::Record() {
  if (!m_record) {
    m_record = new ExceptionRecord();
  }
  return *m_record;
}

void exception::SetProperty(std::string_view key, TypedValue value) {
  Record().SetProperty(key, std::move(value));
}

result_t exception::ExtractResult() const noexcept {
  return m_record ? m_record->ExtractResult() : errors::kExceptionHasNoResult;
}

const char* exception::what() const noexcept {
  if (!m_record) {
    return "Unknown exception";
  }
  // Copies of one exception stay on one thread here, so the lazy fill takes no lock.
  if (m_record->description.empty()) {
    try {
      m_record->description = m_record->BuildDescription(m_file, m_line);
    } catch (...) {
      return m_record->message.c_str();
    }
  }
  return m_record->description.c_str();
}

void Exception::AppendWide(const std::wstring& text) {
  static_assert(sizeof(wchar_t) == sizeof(char32_t));
  std::u16string converted;
  AppendUtf32AsUtf16(
      std::u32string_view(reinterpret_cast<const char32_t*>(text.data()), text.size()), converted);
  m_message.append(std::u16string_view(converted));
}

ResultCodeException::ResultCodeException(const char* file, uint32_t line, result_t code,
                                         std::u16string_view message)
    : ExceptionBase(file, line) {
  SetProperty("orv.result", TypedValue::Result(code));
  SetMessage(message);
}

ResultCodeException::ResultCodeException(const char* file, uint32_t line, const char* recordMessage,
                                         result_t code)
    : ExceptionBase(file, line, recordMessage) {
  SetProperty("orv.result", TypedValue::Result(code));
}

types::string16_t ResultCodeException::GetDescription() const {
  const result_t code = ExtractResult();
  char digits[16];
  std::snprintf(digits, sizeof(digits), "0x%08x", static_cast<uint32_t>(code));
  std::string tail = digits;
  tail.append(" (").append(GetResultText(code)).append(")");
  types::string16_t description = message();
  if (!description.empty()) {
    description.append(u": ");
  }
  for (char character : tail) {
    description.push_back(static_cast<char16_t>(static_cast<unsigned char>(character)));
  }
  return description;
}

GetInterfaceException::GetInterfaceException(const char* file, uint32_t line, const char* message,
                                             uint32_t iid, uint32_t serviceKey, result_t result)
    : exception(file, line, message) {
  SetProperty("orv.iid", TypedValue::Uint32(iid));
  SetProperty("orv.serviceKey", TypedValue::Uint32(serviceKey));
  SetProperty("orv.result", TypedValue::Result(result));
}

}  // namespace orv
