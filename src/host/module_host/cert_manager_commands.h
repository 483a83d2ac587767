#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "orv/tracer.h"

namespace module_host {

// The certificate manager's commands. Each loads the module into fresh host services (the real
// inotify provider; the trusted certificates provider over `trustedDirectory`, empty: none),
// creates CertificateManager (which finds every store and subscribes), does its work, releases
// everything and unloads the module. A CERT file is PEM (the first certificate) or DER. They work
// on the machine's real stores: run them as root, in a namespace or on a machine meant for it.

// `install CERT` / `uninstall CERT`: the call's result, then what every store holds now, read back
// from the stores.
nlohmann::json RunCertificateChange(const std::string& modulePath, orv::ITracer* tracer,
                                    const std::string& action, const std::string& certificateFile,
                                    const std::string& trustedDirectory);

// `find-parent CERT`: the result and the subject of each candidate, in the module's order.
nlohmann::json RunFindParent(const std::string& modulePath, orv::ITracer* tracer,
                             const std::string& certificateFile,
                             const std::string& trustedDirectory);

// `watch [--seconds N]`: keeps the manager alive, so that it reacts to new stores, new users and
// changed stores (its lines go to the tracer), until SIGINT or SIGTERM, or N seconds (0: no limit).
nlohmann::json RunWatch(const std::string& modulePath, orv::ITracer* tracer, unsigned seconds,
                        const std::string& trustedDirectory);

}  // namespace module_host
