#pragma once

#include <cstdint>
#include <string>

#include "info_report.h"
#include "orv/tracer.h"

namespace module_host {

// Loads the module at `modulePath`, asks it for every known class, reads the record registry,
// releases everything and unloads the module. Throws std::runtime_error with a readable message
// when the module cannot be loaded or a call fails.
InfoReport RunInfo(const std::string& modulePath, orv::ITracer* tracer);

}  // namespace module_host
