#pragma once

#include <cstdint>
#include <string>

#include "orv/tracer.h"

namespace module_host {

// What `alert-page` asks of the handler.
struct AlertPageRequest {
  std::string domain;
  std::string chainFile;      // PEM, the server's certificate first
  uint32_t verification = 0;  // the engine's verification result
  uint32_t action = 0;        // the handler's settings: 0 allow, 1 block (others as given)
  std::string continueUrl;    // the engine's address that lets the user go on; may be empty
  std::string showCertificateUrl;
};

// `alert-page`: loads the module, creates the handler with the action of `request`, reports the
// chain through OnInvalidCertificateDetected (engine doubles made from the chain file) and gives
// the page of GetWebAlertStub. Events go nowhere. std::runtime_error for a module or handler that
// cannot be made, a chain file that cannot be read or a failed call.
std::string RunAlertPage(const std::string& modulePath, orv::ITracer* tracer,
                         const AlertPageRequest& request);

}  // namespace module_host
