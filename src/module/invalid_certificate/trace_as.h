#pragma once

#include <cstdint>

#include "orv/check.h"
#include "orv/trace_stream.h"
#include "orv/tracer.h"

// ORV_TRACE_IF_FAILED with the expression text given: the handler's failure lines name each call
// as the product has always spelled it, e.g. "ConvertToPEM(raw, data)".
#define QEL_TRACE_AS(tracer, result, expressionText) \
  ::orv::TraceIfFailed((tracer), (result), __FILE__, __LINE__, expressionText)

namespace qel::tcp_traffic_interceptor {

// A failed condition without a result code: "file:line(expression),(expression) failed: result =
// false" at level 300.
inline void TraceFailedCondition(orv::ITracer* tracer, const char* file, uint32_t line,
                                 const char* expression) noexcept {
  orv::TraceRecord record;
  orv::TraceStream stream(orv::OpenTrace(&record, tracer, orv::trace_level::kError));
  stream << orv::trace::CheckSite{file, line, expression, expression} << "result = false";
  stream.Close();
}

}  // namespace qel::tcp_traffic_interceptor
