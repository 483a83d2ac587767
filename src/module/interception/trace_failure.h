#pragma once

#include "orv/check.h"

// ORV_TRACE_IF_FAILED with the expression text given: the product's failure lines name the call as
// its source reads elsewhere, e.g. "m_esm->GetServiceSettings2(tm::CLDIS_TcpInterceptor,
// &pdkSettings, revision)", which is not how this code spells the call.
#define QEL_TRACE_IF_FAILED_AS(tracer, result, expressionText) \
  ::orv::TraceIfFailed((tracer), (result), __FILE__, __LINE__, expressionText)
