#pragma once

#include "orv/check.h"

// ORV_TRACE_IF_FAILED with the expression text given: the failure lines name the call as the
// product's messages have always named it ("m_eventsProvider->Subscribe(this, info.path,
// configFlags)"), which is not quite how this code spells it.
#define QEL_CERT_TRACE_IF_FAILED_AS(tracer, result, expressionText) \
  ::orv::TraceIfFailed((tracer), (result), __FILE__, __LINE__, expressionText)
