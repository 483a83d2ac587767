// cert-manager-demo: the certificate manager on a synthetic machine, step by step. It enters a
// private mount namespace first, so the machine's real stores, accounts and login records are
// never touched: tmpfs over /etc pieces, /home, /root, /var/run and /opt (the build's product tree
// bound at /opt/morvane/tolm). Then it loads the module into the reference host's own services
// (real inotify), installs a root, lets a new user log in, makes a new browser profile and
// uninstalls, printing what every store holds after each step. Root only.
#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "host/capturing_tracer.h"
#include "host/host_services.h"
#include "host/module_loader.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "sandbox/certificates.h"
#include "sandbox/machine.h"
#include "sandbox/mount_namespace.h"
#include "store_table.h"

namespace {

namespace sandbox = host::sandbox;
using qel::tcp_traffic_interceptor::ICertificateManager;
using sandbox::Account;

const std::vector<Account> kUsers = {{"alice", 1000, "/home/alice"},
                                     {"bob", 1001, "/home/bob"},
                                     {"carol", 1002, "/home/carol"},
                                     {"erin", 1004, "/home/erin"}};
const Account kNewUser = {"dave", 1003, "/home/dave"};
const std::vector<std::string> kProfiles = {"/home/alice/.mozilla/firefox/k3x9.default-release",
                                            "/home/alice/.pki/nssdb",
                                            "/home/bob/.mozilla/firefox/p0q1.default-release",
                                            "/home/bob/.pki/nssdb",
                                            "/home/carol/.pki/nssdb",
                                            "/home/carol/snap/chromium/current/.pki/nssdb",
                                            "/home/erin/.config/mozilla/firefox/e7n2.default-esr",
                                            "/home/erin/.local/share/pki/nssdb"};
const char kNewUserProfile[] = "/home/dave/.mozilla/firefox/d4v3.default-release";
const char kNewProfile[] = "/home/bob/.mozilla/firefox/w0rk.work";
const char kFirstThunderbird[] = "/home/erin/.thunderbird/t4b1.default-esr";

void Heading(const std::string& title, const std::string& explanation) {
  std::cout << "\n--- " << title << "\n" << explanation << "\n";
}

// The module's lines that tell what it did, then forgets them.
void ShowModuleLines(host::CapturingTracer& tracer) {
  for (const host::CapturingTracer::Line& line : tracer.Lines()) {
    const std::string& text = line.text;
    const size_t home = text.find("user home directory");
    if (text.rfind("Add cert to ", 0) == 0 || line.level <= 500) {
      std::cout << "  module: " << text << '\n';
    } else if (home != std::string::npos) {
      std::cout << "  module: ..." << text.substr(home) << '\n';
    }
  }
  tracer.Clear();
}

// Polls until the database in `directory` holds `root` (30 seconds at most).
bool WaitForRoot(const std::string& directory, const std::vector<uint8_t>& root) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (sandbox::CountOf(sandbox::NssCertificates(directory), root) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return true;
}

qel::RawCert ToRaw(const std::vector<uint8_t>& der) {
  qel::RawCert raw;
  for (const uint8_t byte : der) {
    raw.push_back(byte);
  }
  return raw;
}

int RunDemo() {
  Heading("A synthetic machine",
          "A private mount namespace holds a Debian-like system store (the bundle is this\n"
          "machine's CA set), three users with Firefox and Chromium profiles in the older\n"
          "places and one snap Chromium profile, and erin, whose Firefox ESR and Chromium keep\n"
          "their databases where today's browsers make them (~/.config/mozilla,\n"
          "~/.local/share/pki). Nothing outside this process sees it.");
  sandbox::EnterPrivateMountNamespace();
  sandbox::BuildMachine(sandbox::StoreLayout::kDebian, kUsers);
  for (const std::string& profile : kProfiles) {
    sandbox::MakeNssDatabase(profile);
    std::cout << "  NSS database " << profile << '\n';
  }

  auto tracer = host::MakeObject<host::CapturingTracer>();
  host::HostServices services = host::HostServices::Create(tracer.get());
  host::LoadedModule module(host::LoadedModule::DefaultPath());
  orv::intrusive_ptr<orv::IObjectFactory> factory;
  orv::intrusive_ptr<ICertificateManager> manager;
  if (module.GetObjectFactory(services.locator.get(),
                              qel::tcp_traffic_interceptor::CLSID_CertificateManager,
                              factory.Ref()) != 0 ||
      factory->CreateInstance(services.locator.get(), ICertificateManager::kIid,
                              reinterpret_cast<void**>(manager.Ref())) != 0) {
    std::cerr << "cert-manager-demo: the certificate manager cannot be made\n";
    return 1;
  }
  tracer->Clear();
  const sandbox::SandboxCertificate root = sandbox::MakeRootCertificate("Demo Root");
  const auto raw = root.Der();
  const std::vector<uint8_t> der(raw.begin(), raw.end());

  Heading("Install the root",
          "The certificate manager found every store when it was made; Install writes the root\n"
          "as an anchor file, links it into /etc/ssl/certs, adds it to each bundle and to each\n"
          "NSS database. The table is read back from the stores.");
  std::cout << "  Install: " << manager->Install(ToRaw(der)) << '\n';
  ShowModuleLines(*tracer);
  module_host::PrintStoreTable(der, std::cout);

  Heading("A new user logs in",
          "dave gets an account and a home that already holds a Firefox profile, then a login\n"
          "record is written to /var/run/utmp. The manager watches that file: on the change it\n"
          "looks for homes it does not know yet, gives their databases the root and watches\n"
          "their browser directories.");
  std::vector<Account> accounts = kUsers;
  accounts.push_back(kNewUser);
  sandbox::WriteAccounts(accounts);
  sandbox::MakeNssDatabase(kNewUserProfile);
  sandbox::LogIn(kNewUser.name, 1);
  const bool loggedIn = WaitForRoot(kNewUserProfile, der);
  ShowModuleLines(*tracer);
  std::cout << "  " << kNewUserProfile << (loggedIn ? ": holds the root\n" : ": NO ROOT\n");

  Heading("A browser makes a new profile",
          "bob's Firefox creates a new profile: a cert9.db appears under ~/.mozilla, a watched\n"
          "directory. The manager hears of the new file and gives the new database the root.");
  sandbox::MakeNssDatabase(kNewProfile);
  const bool created = WaitForRoot(kNewProfile, der);
  ShowModuleLines(*tracer);
  std::cout << "  " << kNewProfile << (created ? ": holds the root\n" : ": NO ROOT\n");

  Heading("A mail client starts for the first time",
          "erin starts Thunderbird once: ~/.thunderbird did not exist when the manager began to\n"
          "watch it. Its first profile's cert9.db appears there and gets the root as well.");
  sandbox::MakeNssDatabase(kFirstThunderbird);
  const bool firstStart = WaitForRoot(kFirstThunderbird, der);
  ShowModuleLines(*tracer);
  std::cout << "  " << kFirstThunderbird << (firstStart ? ": holds the root\n" : ": NO ROOT\n");

  Heading("Uninstall the root",
          "Uninstall takes the root out of every store it is in: the anchor file and its links\n"
          "go, each bundle and each database loses it, the new ones included.");
  std::cout << "  Uninstall: " << manager->Uninstall(ToRaw(der)) << '\n';
  ShowModuleLines(*tracer);
  const size_t left = module_host::PrintStoreTable(der, std::cout);
  std::cout << (left == 0 ? "  The machine is clean: no store holds the root, no product file or "
                            "link is left.\n"
                          : "  NOT CLEAN: the rows marked yes still hold the root.\n");
  manager.reset();
  factory.reset();
  return loggedIn && created && firstStart && left == 0 ? 0 : 1;
}

}  // namespace

int main() {
  if (std::getenv("TTI_BINARY_DIR") == nullptr) {
    const auto bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    setenv("TTI_BINARY_DIR", bin.parent_path().c_str(), 1);
  }
  try {
    return RunDemo();
  } catch (const std::exception& error) {
    std::cerr << "cert-manager-demo: " << error.what() << '\n';
    return 1;
  }
}
