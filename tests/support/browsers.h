#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/clean_command.h"

namespace tti::test {

struct PageLoad {
  bool loaded = false;            // the server's "ok" is in the page
  bool authorityInvalid = false;  // the browser said the issuer is unknown
  std::string output;             // everything it printed, for failure messages
};

// One headless Chromium run with a clean environment and HOME=`home`, where it makes its profile
// and NSS database as at a user's first start, as uid:gid `uid` (0: root), two minutes at most,
// kept off the network: every name but 127.0.0.1 fails to resolve and the background services
// that would call out are off. `arguments` follow the common flags (what to do, the address).
CommandResult RunChromium(const std::string& home, uint32_t uid,
                          const std::vector<std::string>& arguments);

// https://127.0.0.1:`port`/ in RunChromium. Chromium exits 0 whether or not it accepts the
// certificate, so the dumped page decides.
PageLoad LoadInChromium(const std::string& home, uint32_t uid, int port);

// Starts headless Firefox as uid:gid `uid` with a clean environment and HOME=`home`, where it makes
// or opens its default profile, on https://127.0.0.1:`port`/. Firefox does not end by itself and
// whether it trusts the server shows on the server's side: `settled` is polled until it
// says so or a minute has passed, then Firefox is ended (SIGTERM to its process group, SIGKILL
// after ten seconds) and reaped. Whether `settled` said so.
bool RunFirefoxUntil(const std::string& home, uint32_t uid, int port,
                     const std::function<bool()>& settled);

}  // namespace tti::test
