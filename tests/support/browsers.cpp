#include "support/browsers.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <chrono>
#include <stdexcept>
#include <vector>

#include "support/scratch.h"

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
  std::vector<std::string> words({"setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups",
                                  "firefox-esr", "--headless", LocalUrl(port)});
  std::vector<std::string> variables = {"HOME=" + home, "PATH=/usr/bin:/bin"};
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  std::vector<char*> envp = {variables[0].data(), variables[1].data(), nullptr};

  posix_spawnattr_t attributes;
  posix_spawn_file_actions_t actions;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, 1, 2);
  pid_t pid = -1;
  const int spawned =
      posix_spawnp(&pid, "setpriv", &actions, &attributes, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (spawned != 0) {
    throw std::runtime_error("firefox-esr cannot be started");
  }

  const bool done = Eventually(settled, std::chrono::minutes(1));
  ::kill(-pid, SIGTERM);
  int status = 0;
  const bool reaped =
      Eventually([&] { return ::waitpid(pid, &status, WNOHANG) == pid; }, std::chrono::seconds(10));
  ::kill(-pid, SIGKILL);  // the group's content processes too
  if (!reaped) {
    ::waitpid(pid, &status, 0);
  }
  return done;
}

}  // namespace tti::test
