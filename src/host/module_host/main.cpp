#include <clocale>
#include <cstdint>
#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "alert_page_command.h"
#include "cert_manager_commands.h"
#include "host/host_object.h"
#include "host/module_loader.h"
#include "host/stderr_tracer.h"
#include "info_command.h"
#include "info_output.h"
#include "interception_commands.h"
#include "product_tree.h"
#include "resolve_command.h"
#include "store_table.h"

namespace {

// The module widens and narrows text in the process's C locale; in plain "C" every non-ASCII
// name fails. Set before any module object exists.
void SetUtf8Locale() {
  if (!std::setlocale(LC_ALL, "") || MB_CUR_MAX < 2) {
    std::setlocale(LC_ALL, "C.UTF-8");
  }
}

}  // namespace

int main(int argc, char** argv) {
  SetUtf8Locale();

  CLI::App app{"Loads the tcp traffic interceptor module the way a host does and reports on it."};
  std::string modulePath = host::LoadedModule::DefaultPath();
  uint32_t traceLevel = 500;
  app.add_option("--module", modulePath, "Path of libtcp_traffic_interceptor.so")
      ->capture_default_str();
  app.add_option("--trace-level", traceLevel,
                 "Highest trace level written to standard error (300, 500, 800)")
      ->capture_default_str();
  std::string productTree;
  app.add_option("--product-tree", productTree,
                 "Bind DIR at /opt/morvane/tolm in a private mount namespace (root); default: the "
                 "build's staged tree when /opt/morvane/tolm does not exist");
  app.require_subcommand(1);

  CLI::App* info = app.add_subcommand(
      "info", "Lists the classes the module serves, its record registry and its unload answers");
  bool json = false;
  info->add_flag("--json", json, "Print one JSON document instead of text");

  CLI::App* ports = app.add_subcommand(
      "ports", "NetworkPorts: start or stop interception, or start it with the ports of FILE");
  std::string portsAction;
  std::string portsFile;
  ports->add_option("action", portsAction, "start, stop or set")
      ->required()
      ->check(CLI::IsMember({"start", "stop", "set"}));
  ports->add_option("file", portsFile, "JSON of qel::settings::NetworkPorts (for set)");

  CLI::App* netSettings = app.add_subcommand(
      "net-settings", "TcpInterceptorConfigurator: read the network settings or apply FILE");
  std::string netAction;
  std::string netFile;
  int netTimes = 1;
  netSettings->add_option("action", netAction, "get or set")
      ->required()
      ->check(CLI::IsMember({"get", "set"}));
  netSettings->add_option("file", netFile, "JSON of qel::settings::NetSettings (for set)");
  netSettings->add_option("--times", netTimes, "How often set applies FILE")
      ->check(CLI::Range(1, 100));

  CLI::App* trusted = app.add_subcommand(
      "trusted", "TcpInterceptorConfigurator: read the trusted addresses or write FILE");
  std::string trustedAction;
  std::string trustedFile;
  trusted->add_option("action", trustedAction, "get or set")
      ->required()
      ->check(CLI::IsMember({"get", "set"}));
  trusted->add_option("file", trustedFile, "JSON of qel::settings::TrustedAddresses (for set)");

  CLI::App* interception = app.add_subcommand(
      "interception", "Start interception, apply FILE twice, stop: the second costs no write");
  std::string interceptionFile;
  interception->add_option("file", interceptionFile, "JSON of qel::settings::NetSettings")
      ->required();

  CLI::App* resolve = app.add_subcommand(
      "resolve", "InvalidCertificateHandler: the verdict and the events for a bad certificate");
  module_host::ResolveRequest resolveRequest;
  std::string resolveVerification;
  std::string resolveAction = "allow";
  std::string resolveAutoExcludes = "on";
  resolve->add_option("--domain", resolveRequest.domain, "The server name")->required();
  resolve->add_option("--chain", resolveRequest.chainFile, "PEM file, server certificate first")
      ->required();
  resolve
      ->add_option("--verification", resolveVerification,
                   "The engine's verification result: a number or its name")
      ->required();
  resolve->add_option("--action", resolveAction, "allow, block or a number")->capture_default_str();
  resolve->add_option("--auto-excludes", resolveAutoExcludes, "on or off")
      ->check(CLI::IsMember({"on", "off"}))
      ->capture_default_str();
  resolve
      ->add_option("--operation", resolveRequest.operations,
                   "detect, resolve, desktop or auto-exclude, in order (default: resolve)")
      ->check(CLI::IsMember({"detect", "resolve", "desktop", "auto-exclude"}));
  resolve->add_option("--pid", resolveRequest.pid, "The client process (default: module-host)");

  CLI::App* alertPage = app.add_subcommand(
      "alert-page",
      "InvalidCertificateHandler: the page served in place of a bad certificate's site");
  module_host::AlertPageRequest pageRequest;
  std::string pageVerification;
  std::string pageAction = "allow";
  std::string pageOutput;
  alertPage->add_option("--domain", pageRequest.domain, "The server name")->required();
  alertPage->add_option("--chain", pageRequest.chainFile, "PEM file, server certificate first")
      ->required();
  alertPage
      ->add_option("--verification", pageVerification,
                   "The engine's verification result: a number or its name")
      ->required();
  alertPage->add_option("--action", pageAction, "allow, block or a number")->capture_default_str();
  alertPage->add_option("--continue-url", pageRequest.continueUrl,
                        "The engine's address that lets the user go on (empty: none)");
  alertPage->add_option("--show-certificate-url", pageRequest.showCertificateUrl,
                        "The engine's address that shows the certificate");
  alertPage->add_option("--output", pageOutput,
                        "Write the page to FILE instead of standard output");

  CLI::App* certInstall = app.add_subcommand(
      "install", "CertificateManager: install CERT into every store, then what each store holds");
  CLI::App* certUninstall = app.add_subcommand(
      "uninstall", "CertificateManager: remove CERT from every store, then what each store holds");
  CLI::App* findParent = app.add_subcommand(
      "find-parent", "CertificateManager: the trusted candidates for the issuer of CERT");
  CLI::App* watch = app.add_subcommand(
      "watch", "CertificateManager: react to new stores and users until SIGINT or SIGTERM");
  std::string certificateFile;
  std::string trustedDirectory;
  unsigned watchSeconds = 0;
  for (CLI::App* command : {certInstall, certUninstall, findParent}) {
    command->add_option("cert", certificateFile, "PEM or DER file")->required();
  }
  for (CLI::App* command : {certInstall, certUninstall, findParent, watch}) {
    command->add_option("--trusted-dir", trustedDirectory,
                        "PEM files the host's trusted certificates provider serves");
  }
  bool storesJson = false;
  for (CLI::App* command : {certInstall, certUninstall}) {
    command->add_flag("--json", storesJson, "Print one JSON document instead of the table");
  }
  watch->add_option("--seconds", watchSeconds, "Stop after N seconds (0: only on a signal)");

  CLI11_PARSE(app, argc, argv);

  const auto needFile = [](const std::string& action, const std::string& file) {
    if (action == "set" && file.empty()) {
      throw std::runtime_error("set needs a FILE");
    }
  };
  const auto print = [](const nlohmann::json& report) {
    std::cout << report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
  };

  try {
    if (const std::string tree = module_host::ChooseProductTree(productTree); !tree.empty()) {
      module_host::EnterProductTree(tree);
    }
    auto tracer = host::MakeObject<host::StderrTracer>(traceLevel);
    if (info->parsed()) {
      const module_host::InfoReport report = module_host::RunInfo(modulePath, tracer.get());
      if (json) {
        module_host::PrintInfoJson(report, std::cout);
      } else {
        module_host::PrintInfoText(report, std::cout);
      }
      std::cout.flush();
      if (!report.unloaded) {
        std::cerr << "module-host: the module still has live objects and was not unloaded\n";
        return 1;
      }
    } else if (ports->parsed()) {
      needFile(portsAction, portsFile);
      print(module_host::RunPorts(modulePath, tracer.get(), portsAction, portsFile));
    } else if (netSettings->parsed()) {
      needFile(netAction, netFile);
      print(module_host::RunNetSettings(modulePath, tracer.get(), netAction, netFile, netTimes));
    } else if (trusted->parsed()) {
      needFile(trustedAction, trustedFile);
      print(module_host::RunTrusted(modulePath, tracer.get(), trustedAction, trustedFile));
    } else if (interception->parsed()) {
      print(module_host::RunInterception(modulePath, tracer.get(), interceptionFile));
    } else if (resolve->parsed()) {
      resolveRequest.verification = module_host::ParseVerification(resolveVerification);
      resolveRequest.action = resolveAction == "allow"   ? 0
                              : resolveAction == "block" ? 1
                                                         : std::stoul(resolveAction, nullptr, 0);
      resolveRequest.autoExcludes = resolveAutoExcludes == "on";
      if (resolveRequest.operations.empty()) {
        resolveRequest.operations = {"resolve"};
      }
      std::cout << module_host::RunResolve(modulePath, tracer.get(), resolveRequest).dump(2)
                << '\n';
    } else if (alertPage->parsed()) {
      pageRequest.verification = module_host::ParseVerification(pageVerification);
      pageRequest.action = pageAction == "allow"   ? 0
                           : pageAction == "block" ? 1
                                                   : std::stoul(pageAction, nullptr, 0);
      const std::string page = module_host::RunAlertPage(modulePath, tracer.get(), pageRequest);
      if (pageOutput.empty()) {
        std::cout << page;
      } else if (!(std::ofstream(pageOutput, std::ios::binary | std::ios::trunc) << page)) {
        throw std::runtime_error("cannot write " + pageOutput);
      }
    } else if (certInstall->parsed() || certUninstall->parsed()) {
      const nlohmann::json report = module_host::RunCertificateChange(
          modulePath, tracer.get(), certInstall->parsed() ? "install" : "uninstall",
          certificateFile, trustedDirectory);
      if (storesJson) {
        print(report);
      } else {
        std::cout << report["command"].get<std::string>() << ' '
                  << report["certificate"].get<std::string>() << ": "
                  << report["result"].get<std::string>() << "\n\n";
        module_host::PrintStoreRows(report["stores"], std::cout);
      }
    } else if (findParent->parsed()) {
      print(
          module_host::RunFindParent(modulePath, tracer.get(), certificateFile, trustedDirectory));
    } else if (watch->parsed()) {
      print(module_host::RunWatch(modulePath, tracer.get(), watchSeconds, trustedDirectory));
    }
  } catch (const std::exception& error) {
    std::cerr << "module-host: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
