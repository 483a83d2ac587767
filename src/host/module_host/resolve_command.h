#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "orv/tracer.h"

namespace module_host {

// What `resolve` asks of the handler.
struct ResolveRequest {
  std::string domain;
  std::string chainFile;      // PEM, the server's certificate first
  uint32_t verification = 0;  // the engine's verification result
  uint32_t action = 0;        // the handler's settings: 0 allow, 1 block (others as given)
  bool autoExcludes = true;
  std::vector<std::string> operations;  // detect, resolve, desktop, auto-exclude; in this order
  uint32_t pid = 0;                     // the client; 0: this process
};

// `resolve`: loads the module, creates the handler with the settings of `request` and runs each
// operation against engine doubles made from the chain file. The report holds, per operation, its
// result, its verdict and the events the host's publisher got, each as its JSON text.
// std::runtime_error for a module that cannot be loaded, a handler that cannot be made (no page
// template) or a chain file that cannot be read.
nlohmann::ordered_json RunResolve(const std::string& modulePath, orv::ITracer* tracer,
                                  const ResolveRequest& request);

// "0x80020003", "2148663299" or a verification result's name ("SslResult_CertVerifyUntrustedRoot").
uint32_t ParseVerification(const std::string& text);

}  // namespace module_host
