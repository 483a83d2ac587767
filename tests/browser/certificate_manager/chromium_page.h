#pragma once

#include <string>

namespace certificate_manager_browser {

struct PageLoad {
  bool loaded = false;            // the server's "ok" is in the dumped page
  bool authorityInvalid = false;  // Chromium said the issuer is unknown
  std::string output;             // everything it printed, for failure messages
};

// One headless Chromium run with a clean environment, HOME=`home` (so it reads
// `home`/.pki/nssdb), a fresh profile `home`/profile-`run` and no network but 127.0.0.1.
PageLoad LoadLocalPage(const std::string& home, int port, int run);

}  // namespace certificate_manager_browser
