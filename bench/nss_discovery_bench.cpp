// NSS store discovery over a synthetic machine of 1,000 homes (profiles of several kinds and
// decoy trees) against `find` doing the same pruned walk, both inside a private mount namespace
// with a tmpfs /home and an account file of those users bound over /etc/passwd. Prints the ratio.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "cert_stores/nss/nss3_storage.h"
#include "qel/tools/process_runner.h"
#include "qel/tools/unique_fd.h"
#include "ratio_reporter.h"
#include "support/namespace_sandbox.h"

namespace {

using namespace qel::tcp_traffic_interceptor::cert_stores;

constexpr int kHomes = 1000;
constexpr uint32_t kFirstUid = 1001;

void Check(bool ok, const std::string& what) {
  if (!ok) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
  }
}

// Directories relative to `base`, created parent first.
void Directory(const std::string& path) {
  Check(::mkdir(path.c_str(), 0755) == 0 || errno == EEXIST, "mkdir " + path);
}

void File(const std::string& path) {
  qel::tools::UniqueFd fd(::open(path.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644));
  Check(static_cast<bool>(fd), "create " + path);
}

void Files(const std::string& directory, const char* stem, int count) {
  for (int i = 0; i < count; ++i) {
    File(directory + "/" + stem + std::to_string(i));
  }
}

void Path(const std::string& base, const std::vector<std::string>& parts) {
  std::string path = base;
  for (const std::string& part : parts) {
    path += "/" + part;
    Directory(path);
  }
}

// A home of the usual kinds: a browser profile, the shared NSS directory, for every third user a
// sandboxed package with its own, and decoys that hold "cert9.db" files the walk must not reach
// (outside the places) or plenty of entries it must pass by.
void MakeHome(const std::string& home, int index) {
  Directory(home);
  const std::string profile = home + "/.mozilla/firefox/" + std::to_string(index) + ".default";
  Path(home, {".mozilla", "firefox", std::to_string(index) + ".default", "cache2", "entries"});
  File(home + "/.mozilla/firefox/profiles.ini");
  for (const char* name : {"cert9.db", "key4.db", "prefs.js", "places.sqlite", "cookies.sqlite"}) {
    File(profile + "/" + name);
  }
  Files(profile + "/cache2/entries", "e", 20);
  Path(home, {".pki", "nssdb"});
  for (const char* name : {"cert9.db", "key4.db", "pkcs11.txt"}) {
    File(home + "/.pki/nssdb/" + name);
  }
  if (index % 3 == 0) {
    Path(home, {"snap", "chromium", "2497", ".pki", "nssdb"});
    File(home + "/snap/chromium/2497/.pki/nssdb/cert9.db");
    Path(home, {"snap", "chromium", "common", ".cache"});
    Files(home + "/snap/chromium/common/.cache", "c", 10);
  }
  Path(home, {".local", "share", "pki", "nssdb"});
  File(home + "/.local/share/pki/nssdb/cert9.db");
  Path(home, {".local", "share", "applications"});
  Files(home + "/.local/share/applications", "a", 10);
  Path(home, {".config", "chromium", "Default"});
  Files(home + "/.config/chromium/Default", "f", 15);
  if (index % 2 == 0) {
    Path(home, {".config", "mozilla", "firefox", "n.default-esr"});
    File(home + "/.config/mozilla/firefox/n.default-esr/cert9.db");
  }
  if (index % 4 == 0) {
    Path(home, {".thunderbird", "t.default-esr"});
    File(home + "/.thunderbird/t.default-esr/cert9.db");
  }
  if (index % 5 == 0) {
    Path(home, {".var", "app", "org.mozilla.firefox", ".mozilla", "firefox", "f.default"});
    File(home + "/.var/app/org.mozilla.firefox/.mozilla/firefox/f.default/cert9.db");
  }
  for (int d = 0; d < 5; ++d) {
    const std::string cache = home + "/.cache/c" + std::to_string(d);
    Path(home, {".cache", "c" + std::to_string(d)});
    Files(cache, "x", 10);
  }
  for (int p = 0; p < 20; ++p) {
    const std::string package = "p" + std::to_string(p);
    Path(home, {"work", "node_modules", package, "lib"});
    Files(home + "/work/node_modules/" + package + "/lib", "m", 3);
  }
  Path(home, {"Documents"});
  Files(home + "/Documents", "d", 30);
  Files(home, ".rc", 8);
}

void BuildMachine() {
  tti::test::EnterPrivateMountNamespace();
  tti::test::MountTmpfs("/home");
  tti::test::MountTmpfs("/var/run");  // no login records: the account file alone
  std::string passwd = "root:x:0:0:root:/root:/bin/sh\n";
  for (int i = 0; i < kHomes; ++i) {
    const std::string name = "u" + std::to_string(i);
    const std::string id = std::to_string(kFirstUid + i);
    passwd += name + ":x:" + id + ":" + id + "::/home/" + name + ":/bin/sh\n";
    MakeHome("/home/" + name, i);
  }
  // The machine's root home is left out of the walk: /root gets an empty tmpfs.
  tti::test::MountTmpfs("/root");
  tti::test::WriteTextFile("/var/run/passwd", passwd);
  tti::test::WriteTextFile("/var/run/login.defs", "UID_MIN 1000\n");
  for (const char* name : {"passwd", "login.defs"}) {
    const std::string source = std::string("/var/run/") + name;
    const std::string target = std::string("/etc/") + name;
    Check(::mount(source.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0,
          "bind " + target);
  }
}

// The same walk as find sees it: /home holds exactly the users' homes; in each only the nine
// places are entered (and a "cert9.db" directly in the home is taken), a place of several
// components only along its path, below the places everything; no link is followed (-P, find's
// default).
size_t RunFind() {
  const char* const args[] = {
      "find",
      "/home",
      "-regextype",
      "posix-extended",
      "(",
      "-regex",
      "/home/[^/]+/[^/]+",
      "!",
      "-regex",
      "/home/[^/]+/(\\.mozilla|\\.pki|snap|Snap|\\.snap|\\.local|\\.config|\\.thunderbird|"
      "\\.var|cert9\\.db)",
      "-o",
      "-regex",
      "/home/[^/]+/\\.local/[^/]+",
      "!",
      "-name",
      "share",
      "-o",
      "-regex",
      "/home/[^/]+/\\.local/share/[^/]+",
      "!",
      "-name",
      "pki",
      "-o",
      "-regex",
      "/home/[^/]+/\\.config/[^/]+",
      "!",
      "-name",
      "mozilla",
      "-o",
      "-regex",
      "/home/[^/]+/\\.var/[^/]+",
      "!",
      "-name",
      "app",
      ")",
      "-prune",
      "-o",
      "-type",
      "f",
      "-name",
      "cert9.db",
      "-print",
      nullptr};
  std::string output;
  std::string errors;
  qel::tools::ProcessOptions options;
  options.path = "find";
  options.args = args;
  options.stdoutCapture = &output;
  options.stderrCapture = &errors;
  options.limits = {};  // the default raises the descriptor limit, which needs CAP_SYS_RESOURCE
  if (qel::tools::RunProcess(options) != 0) {
    throw std::runtime_error("find failed, exit " + std::to_string(options.exitCode.value_or(-1)) +
                             ": " + errors);
  }
  return static_cast<size_t>(std::count(output.begin(), output.end(), '\n'));
}

void BM_GetNss3Storages(benchmark::State& state) {
  size_t found = 0;
  for (auto _ : state) {
    found = GetNss3Storages().size();
  }
  state.counters["stores"] = static_cast<double>(found);
}
BENCHMARK(BM_GetNss3Storages)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_FindPrunedWalk(benchmark::State& state) {
  size_t found = 0;
  for (auto _ : state) {
    found = RunFind();
  }
  state.counters["stores"] = static_cast<double>(found);
}
BENCHMARK(BM_FindPrunedWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  try {
    BuildMachine();
    // Both walks must agree before their times mean anything.
    // The machine's own /etc/pki/nssdb/, if any, is no concern of find's walk of /home.
    const auto all = GetNss3Storages();
    const size_t stores =
        static_cast<size_t>(std::count_if(all.begin(), all.end(), [](const Nss3Storage& s) {
          return s.path.rfind("/home/", 0) == 0;
        }));
    const size_t found = RunFind();
    if (stores != found) {
      std::cerr << "discovery found " << stores << " stores, find " << found << "\n";
      return 1;
    }
    std::printf("%d homes, %zu stores\n", kHomes, stores);
  } catch (const std::exception& error) {
    std::cerr << "sandbox: " << error.what() << "\n";
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter(RatioReporter::Clock::kReal);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const double discovery = reporter.m_times["BM_GetNss3Storages"];
  const double find = reporter.m_times["BM_FindPrunedWalk"];
  if (discovery > 0 && find > 0) {
    std::printf("find / GetNss3Storages: %.1f (%.2f ms against %.2f ms)\n", find / discovery, find,
                discovery);
  }
  benchmark::Shutdown();
  return 0;
}
