#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "orv/tracer.h"

namespace module_host {

// The interception commands. Each loads the module into fresh host services (the settings store
// seeded with its defaults), does its work, releases every object and unloads the module; what it
// reports is one JSON document. A failing module call is reported in "result", not thrown;
// std::runtime_error is for a module that cannot be loaded or a file that cannot be read.

// `ports start|stop|set FILE`: NetworkPorts. `set` starts interception first, so that the engine
// gets the new list; every action reports the engine's ports afterwards.
nlohmann::json RunPorts(const std::string& modulePath, orv::ITracer* tracer,
                        const std::string& action, const std::string& file);

// `net-settings get`, `net-settings set FILE [--times N]`: each application reports its result
// and the reads, writes and flushes it cost; then the settings as read back.
nlohmann::json RunNetSettings(const std::string& modulePath, orv::ITracer* tracer,
                              const std::string& action, const std::string& file, int times);

// `trusted get`, `trusted set FILE`.
nlohmann::json RunTrusted(const std::string& modulePath, orv::ITracer* tracer,
                          const std::string& action, const std::string& file);

// `interception FILE`: start interception, apply FILE, apply it again, stop; one entry a step.
nlohmann::json RunInterception(const std::string& modulePath, orv::ITracer* tracer,
                               const std::string& file);

}  // namespace module_host
