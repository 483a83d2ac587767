#pragma once

#include <cstdint>
#include <exception>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "orv/exception_record.h"
#include "orv/result.h"
#include "orv/string.h"

namespace orv {

// Root of the framework's exceptions: where it was thrown and a shared record, made on first need.
class exception : public std::exception {
 public:
  exception(const char* file, uint32_t line) noexcept : m_file(file), m_line(line) {}
  // Starts a record holding `message` (the narrow text of the record).
  exception(const char* file, uint32_t line, const char* message);
  exception(const exception& other) noexcept;
  exception& operator=(const exception& other) noexcept;
  ~exception() override;

  // The full text, built once into the record; "Unknown exception" without a record, the bare
  // message if building it fails.
  const char* what() const noexcept override;

  const char* file() const noexcept { return m_file; }
  uint32_t line() const noexcept { return m_line; }
  const ExceptionRecord* record() const noexcept { return m_record; }
  void SetProperty(std::string_view key, TypedValue value);
  // The record's code, or 0x80000151 when it carries none.
  result_t ExtractResult() const noexcept;

 protected:
  ExceptionRecord& Record();

 private:
  const char* m_file;
  uint32_t m_line;
  ExceptionRecord* m_record = nullptr;
};

// An exception with a 16-bit message; streamed values are widened and appended to it.
class Exception : public exception {
 public:
  using exception::exception;

  // The message alone.
  virtual types::string16_t GetDescription() const { return m_message; }

  const types::string16_t& message() const noexcept { return m_message; }
  void SetMessage(std::u16string_view message) { m_message = message; }

  template <class T>
  void AppendStreamed(const T& value) {
    if constexpr (std::is_convertible_v<const T&, std::u16string_view>) {
      m_message.append(std::u16string_view(value));
    } else {
      std::wostringstream stream;
      if constexpr (std::is_convertible_v<const T&, std::string_view> &&
                    !std::is_pointer_v<std::decay_t<T>>) {
        for (char character : std::string_view(value)) {
          stream << character;
        }
      } else {
        stream << value;
      }
      AppendWide(stream.str());
    }
  }

 private:
  // UTF-32 to UTF-16; a code point above 0x10FFFF throws std::bad_cast.
  void AppendWide(const std::wstring& text);

  types::string16_t m_message;
};

// The layer between a concrete class and its base: streaming returns the concrete type, so
// `throw CheckFailedException(__FILE__, __LINE__) << "text";` throws the right class.
template <class D, class B>
class ExceptionBase : public B {
 public:
  using B::B;

  template <class T>
  D& operator<<(const T& value) {
    this->AppendStreamed(value);
    return static_cast<D&>(*this);
  }
};

class ResultCodeException : public ExceptionBase<ResultCodeException, Exception> {
 public:
  // The code goes to "orv.result"; the record's narrow message stays empty.
  ResultCodeException(const char* file, uint32_t line, result_t code,
                      std::u16string_view message = {});
  // message, ": " when the message is not empty, "0x%08x (text)".
  types::string16_t GetDescription() const override;

 protected:
  ResultCodeException(const char* file, uint32_t line, const char* recordMessage, result_t code);
};

// A condition that is no result code failed.
class CheckFailedException : public ExceptionBase<CheckFailedException, Exception> {
 public:
  using ExceptionBase::ExceptionBase;
};

// An expression returned a failing result_t.
class CheckResultFailedException
    : public ExceptionBase<CheckResultFailedException, ResultCodeException> {
 public:
  CheckResultFailedException(const char* file, uint32_t line, const char* message, result_t code)
      : ExceptionBase(file, line, message, code) {}
};

class SystemException : public ExceptionBase<SystemException, ResultCodeException> {
 public:
  using ExceptionBase::ExceptionBase;
};

// A service could not be had; the record alone says which.
class GetInterfaceException : public exception {
 public:
  GetInterfaceException(const char* file, uint32_t line, const char* message, uint32_t iid,
                        uint32_t serviceKey, result_t result);
};

namespace datetime {
class TimeSystemError : public SystemException {
 public:
  using SystemException::SystemException;
};
}  // namespace datetime

}  // namespace orv
