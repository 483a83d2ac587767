#pragma once

#include "orv/result.h"
#include "orv/tracer.h"

namespace orv {

// Turns the exception being handled into a result_t at an interface boundary, writing one level 300
// line (prefix, a blank, then the text of each exception from the outermost nested one in) when a
// tracer is given and grants it. 0x80000150 when there is no current exception.
result_t ReportCurrentException(ITracer* tracer, const char* prefix) noexcept;

}  // namespace orv
