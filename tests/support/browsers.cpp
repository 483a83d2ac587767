#include "support/browsers.h"

#include <chrono>
#include <vector>

namespace tti::test {
namespace {

std::string LocalUrl(int port) { return "https://127.0.0.1:" + std::to_string(port) + "/"; }

}  // namespace

CommandResult RunChromium(const std::string& home, uint32_t uid,
                          const std::vector<std::string>& arguments) {
  std::vector<std::string> command(
      {"chromium", "--headless", "--no-sandbox", "--disable-gpu", "--no-first-run",
       "--no-default-browser-check", "--disable-background-networking",
       "--disable-component-update", "--disable-sync", "--disable-default-apps",
       "--disable-extensions", "--disable-breakpad", "--disable-domain-reliability", "--no-pings",
       "--metrics-recording-only", "--hide-scrollbars",
       "--host-resolver-rules=MAP * ~NOTFOUND , EXCLUDE 127.0.0.1"});
  command.insert(command.end(), arguments.begin(), arguments.end());
  return RunCommand(command, {"HOME=" + home}, uid);
}

PageLoad LoadInChromium(const std::string& home, uint32_t uid, int port) {
  const CommandResult result = RunChromium(home, uid, {"--dump-dom", LocalUrl(port)});
  PageLoad load;
  load.output = result.output;
  load.loaded = result.exitCode == 0 && result.output.find(">ok\n</pre>") != std::string::npos;
  load.authorityInvalid =
      result.output.find("net::ERR_CERT_AUTHORITY_INVALID") != std::string::npos;
  return load;
}

bool RunFirefoxUntil(const std::string& home, uint32_t uid, int port,
                     const std::function<bool()>& settled) {
  const std::string id = std::to_string(uid);
  const std::vector<std::string> words({"setpriv", "--reuid=" + id, "--regid=" + id,
                                        "--clear-groups", "firefox-esr", "--headless",
                                        LocalUrl(port)});
  return RunUntil(words, {"HOME=" + home}, "/dev/null", settled, std::chrono::minutes(1)).settled;
}

}  // namespace tti::test
