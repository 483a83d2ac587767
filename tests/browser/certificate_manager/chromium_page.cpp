#include "browser/certificate_manager/chromium_page.h"

#include <vector>

#include "support/clean_command.h"

namespace certificate_manager_browser {

PageLoad LoadLocalPage(const std::string& home, int port, int run) {
  const tti::test::CommandResult result =
      tti::test::RunClean({"env",
                           "HOME=" + home,
                           "timeout",
                           "120",
                           "chromium",
                           "--headless",
                           "--no-sandbox",
                           "--disable-gpu",
                           "--user-data-dir=" + home + "/profile-" + std::to_string(run),
                           "--no-first-run",
                           "--disable-background-networking",
                           "--disable-component-update",
                           "--disable-sync",
                           "--disable-default-apps",
                           "--disable-breakpad",
                           "--disable-domain-reliability",
                           "--no-pings",
                           "--metrics-recording-only",
                           "--host-resolver-rules=MAP * ~NOTFOUND , EXCLUDE 127.0.0.1",
                           "--dump-dom",
                           "https://127.0.0.1:" + std::to_string(port) + "/"});
  PageLoad load;
  load.output = result.output;
  load.loaded = result.exitCode == 0 && result.output.find(">ok\n</pre>") != std::string::npos;
  load.authorityInvalid =
      result.output.find("net::ERR_CERT_AUTHORITY_INVALID") != std::string::npos;
  return load;
}

}  // namespace certificate_manager_browser
