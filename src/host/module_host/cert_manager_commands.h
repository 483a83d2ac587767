#pragma once

#include <functional>
#include <string>

#include <nlohmann/json.hpp>

#include "orv/tracer.h"

namespace module_host {

// The certificate manager's commands. Each loads the module into fresh host services (the real
// inotify provider; the trusted certificates provider over `trustedDirectory`, empty: none),
// creates CertificateManager (which finds every store and subscribes), does its work, releases
// everything and unloads the module. A CERT file holds exactly one certificate, PEM or DER
// (`ReadOneCertificate`); any other file is refused before the module is loaded. They work on the
// machine's real stores: run them as root, in a namespace or on a machine meant for it.

// `install CERT` / `uninstall CERT`: the call's result, then what every store holds now, read back
// from the stores.
nlohmann::json RunCertificateChange(const std::string& modulePath, orv::ITracer* tracer,
                                    const std::string& action, const std::string& certificateFile,
                                    const std::string& trustedDirectory);

// `find-parent CERT`: the result and the subject of each candidate, in the module's order.
nlohmann::json RunFindParent(const std::string& modulePath, orv::ITracer* tracer,
                             const std::string& certificateFile,
                             const std::string& trustedDirectory);

// What `watch` is asked to do.
struct WatchRequest {
  unsigned seconds = 0;  // 0: no limit
  std::string trustedDirectory;
  std::string certificateFile;  // empty: no Install
  // Called with the `install` report (as RunCertificateChange gives it) right after the Install.
  std::function<void(const nlohmann::json&)> installed;
};

// `watch [--install CERT] [--seconds N]`: what the service does: Install CERT when one is given,
// then keep the manager alive, so that it reacts to new stores, new users and changed stores (its
// lines go to the tracer), until SIGINT or SIGTERM, or N seconds. The manager is released, the
// root stays installed.
nlohmann::json RunWatch(const std::string& modulePath, orv::ITracer* tracer,
                        const WatchRequest& request);

}  // namespace module_host
