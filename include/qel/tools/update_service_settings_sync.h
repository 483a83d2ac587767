#pragma once

#include <cstdint>
#include <ios>
#include <sstream>
#include <string>
#include <utility>

#include "orv/check.h"
#include "orv/intrusive_ptr.h"
#include "orv/service.h"
#include "orv/trace_stream.h"
#include "qel/service_manager.h"

namespace qel::tools {
namespace detail {

inline std::string FormatServiceKey(uint32_t serviceKey) noexcept {
  try {
    std::ostringstream stream;
    stream << std::hex << std::showbase << serviceKey;
    return stream.str();
  } catch (...) {
    try {
      return "09e9f25f-5162-469d-af78-9cdac3fdec39";
    } catch (...) {
      return {};
    }
  }
}

}  // namespace detail

// Read, modify, write one service's settings record against its revision, starting over whenever
// another writer got there first (no limit, no pause). The modifier gets the freshly read record
// and returns 0 to write it, a positive value to write nothing and return that value, or a failure.
// With `sync`, a successful write is flushed. Exceptions from the modifier or the record's copy
// pass through after the references are released.
template <class Record, class Modifier>
result_t UpdateServiceSettingsSync(orv::ITracer* tracer, orv::IServiceLocator* serviceLocator,
                                   uint32_t serviceKey, Modifier&& modifier, bool sync) {
  using orv::GetInterface;
  const orv::intrusive_ptr<orv::ITracer> tracerReference(tracer);
  ORV_TRACE(tracer, orv::trace_level::kDetail)
      << "UpdateServiceSettingsSync"
      << "() "
      << "serviceKey=" << detail::FormatServiceKey(serviceKey) << ", sync=" << (sync ? 1 : 0);

  orv::IServiceLocator* sl = serviceLocator;
  orv::intrusive_ptr<IServiceManager> esm;
  if (const result_t got = ORV_TRACE_IF_FAILED(tracer, GetInterface(sl, esm.Ref()))
                           << "Cannot get IServiceManager interface";
      ORV_FAILED(got)) {
    return got;
  }

  Record record{};
  result_t res = 0;
  for (;;) {
    uint32_t revision = 0;
    {
      orv::intrusive_ptr<orv::IObject> descriptor;
      res = esm->GetServiceSettings2(serviceKey, {&record, Record::kTypeId, descriptor.Ref()},
                                     revision);
    }
    if (ORV_FAILED(res)) {
      break;
    }
    res = modifier(record);
    if (res != 0) {
      break;
    }
    {
      orv::intrusive_ptr<orv::IObject> descriptor;
      res = esm->UpdateServiceSettings2(serviceKey, 1, {&record, Record::kTypeId, descriptor.Ref()},
                                        revision);
    }
    if (res != orv::errors::kRevisionMovedOn) {
      break;
    }
  }

  if (ORV_FAILED(res)) {
    return ORV_TRACE_IF_FAILED(tracer, res) << "UpdateServiceSettings2 failed";
  }
  if (res == 0 && sync) {
    if (const result_t flushed = ORV_TRACE_IF_FAILED(tracer, esm->FlushSettings())
                                 << "FlushSettings failed";
        ORV_FAILED(flushed)) {
      return flushed;
    }
  }
  ORV_TRACE(tracer, orv::trace_level::kDetail) << "UpdateServiceSettingsSync"
                                               << "() <- " << orv::trace::Result{res} << " ";
  return res;
}

}  // namespace qel::tools
