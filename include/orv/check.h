#pragma once

#include <cstdint>

#include "orv/exception.h"
#include "orv/result.h"
#include "orv/trace_stream.h"

namespace orv {

// The logged check: on a failing result writes one level 300 line
// "file:line(expression),(ORV_SUCCEEDED(_result)) failed: result = 0x... (text)", to which streamed
// values are appended after a blank; the line is closed at the end of the statement.
class TraceIfFailed {
 public:
  TraceIfFailed(ITracer* tracer, result_t result, const char* file, uint32_t line,
                const char* expression) noexcept
      : m_result(result),
        m_open(ORV_FAILED(result) && OpenTrace(&m_record, tracer, trace_level::kError)),
        m_stream(m_open ? &m_record : nullptr) {
    if (m_open) {
      m_stream << trace::CheckSite{file, line, expression, "ORV_SUCCEEDED(_result)"}
               << "result = " << trace::Result{result};
    }
  }
  ~TraceIfFailed() { m_stream.Close(); }
  TraceIfFailed(const TraceIfFailed&) = delete;
  TraceIfFailed& operator=(const TraceIfFailed&) = delete;

  template <class T>
  TraceIfFailed& operator<<(const T& value) noexcept {
    if (m_open) {
      if (!m_messageStarted) {
        m_messageStarted = true;
        m_stream << ' ';
      }
      m_stream << value;
    }
    return *this;
  }
  operator result_t() const noexcept { return m_result; }

 private:
  TraceRecord m_record;
  result_t m_result;
  bool m_open;
  bool m_messageStarted = false;
  TraceStream m_stream;
};

// A failed condition without a result code: "file:line(expression),(expression) failed: result =
// false" at level 300.
inline void TraceFailedCondition(ITracer* tracer, const char* file, uint32_t line,
                                 const char* expression) noexcept {
  TraceRecord record;
  TraceStream stream(OpenTrace(&record, tracer, trace_level::kError));
  stream << trace::CheckSite{file, line, expression, expression} << "result = false";
  stream.Close();
}

}  // namespace orv

// result_t r = ORV_TRACE_IF_FAILED(tracer, Call()) << "message";  r is the call's result.
#define ORV_TRACE_IF_FAILED(tracer, expression) \
  ::orv::TraceIfFailed((tracer), (expression), __FILE__, __LINE__, #expression)

// ORV_TRACE_IF_FAILED with the expression's text given rather than taken from the code: for lines
// that name the call in a fixed spelling of their own.
// result_t r = ORV_TRACE_IF_FAILED_AS(tracer, Call(), kCallText) << "message";
#define ORV_TRACE_IF_FAILED_AS(tracer, result, expressionText) \
  ::orv::TraceIfFailed((tracer), (result), __FILE__, __LINE__, (expressionText))

// Throws orv::CheckResultFailedException when the expression fails; further arguments are
// streamed into its message: ORV_CHECK_RESULT(Call(), "Cannot do " << what);
#define ORV_CHECK_RESULT(expression, ...)                                                       \
  do {                                                                                          \
    const result_t _result = (expression);                                                      \
    if (!ORV_SUCCEEDED(_result)) {                                                              \
      throw ::orv::CheckResultFailedException(__FILE__, __LINE__, "Expression failed", _result) \
          __VA_OPT__(<< __VA_ARGS__);                                                           \
    }                                                                                           \
  } while (false)

// Throws orv::CheckFailedException when the condition is false, with the streamed message.
#define ORV_CHECK(condition, ...)                                                       \
  do {                                                                                  \
    if (!(condition)) {                                                                 \
      throw ::orv::CheckFailedException(__FILE__, __LINE__) __VA_OPT__(<< __VA_ARGS__); \
    }                                                                                   \
  } while (false)
