#include "subcommands.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "alert_page_command.h"
#include "cert_manager_commands.h"
#include "info_command.h"
#include "info_output.h"
#include "interception_commands.h"
#include "resolve_command.h"
#include "store_table.h"

namespace module_host {
namespace {

void Print(const nlohmann::json& report) {
  std::cout << report.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

// "allow", "block" or a number, as the handler's `action` setting.
uint32_t ParseAction(const std::string& text) {
  return text == "allow" ? 0 : text == "block" ? 1 : std::stoul(text, nullptr, 0);
}

CommandRun DefineInfo(CLI::App& command) {
  auto json = std::make_shared<bool>(false);
  command.add_flag("--json", *json, "Print one JSON document instead of text");
  return [json](const CommandContext& context) {
    const InfoReport report = RunInfo(context.modulePath, context.tracer);
    (*json ? PrintInfoJson : PrintInfoText)(report, std::cout);
    std::cout.flush();
    if (!report.unloaded) {
      std::cerr << "module-host: the module still has live objects and was not unloaded\n";
      return 1;
    }
    return 0;
  };
}

// The settings commands share a shape: an action from `actions`, and a FILE that "set" needs.
struct SettingsArguments {
  std::string action;
  std::string file;
  int times = 1;
};

std::shared_ptr<SettingsArguments> AddSettingsArguments(CLI::App& command,
                                                        const std::vector<std::string>& actions,
                                                        const std::string& fileText) {
  auto arguments = std::make_shared<SettingsArguments>();
  std::string names;
  for (const std::string& action : actions) {
    names += (names.empty() ? "" : ", ") + action;
  }
  command.add_option("action", arguments->action, names)->required()->check(CLI::IsMember(actions));
  command.add_option("file", arguments->file, fileText);
  return arguments;
}

void NeedFile(const SettingsArguments& arguments) {
  if (arguments.action == "set" && arguments.file.empty()) {
    throw std::runtime_error("set needs a FILE");
  }
}

CommandRun DefinePorts(CLI::App& command) {
  auto arguments = AddSettingsArguments(command, {"start", "stop", "set"},
                                        "JSON of qel::settings::NetworkPorts (for set)");
  return [arguments](const CommandContext& context) {
    NeedFile(*arguments);
    Print(RunPorts(context.modulePath, context.tracer, arguments->action, arguments->file));
    return 0;
  };
}

CommandRun DefineNetSettings(CLI::App& command) {
  auto arguments =
      AddSettingsArguments(command, {"get", "set"}, "JSON of qel::settings::NetSettings (for set)");
  command.add_option("--times", arguments->times, "How often set applies FILE")
      ->check(CLI::Range(1, 100));
  return [arguments](const CommandContext& context) {
    NeedFile(*arguments);
    Print(RunNetSettings(context.modulePath, context.tracer, arguments->action, arguments->file,
                         arguments->times));
    return 0;
  };
}

CommandRun DefineTrusted(CLI::App& command) {
  auto arguments = AddSettingsArguments(command, {"get", "set"},
                                        "JSON of qel::settings::TrustedAddresses (for set)");
  return [arguments](const CommandContext& context) {
    NeedFile(*arguments);
    Print(RunTrusted(context.modulePath, context.tracer, arguments->action, arguments->file));
    return 0;
  };
}

CommandRun DefineInterception(CLI::App& command) {
  auto file = std::make_shared<std::string>();
  command.add_option("file", *file, "JSON of qel::settings::NetSettings")->required();
  return [file](const CommandContext& context) {
    Print(RunInterception(context.modulePath, context.tracer, *file));
    return 0;
  };
}

// The options resolve and alert-page share: the bad certificate and the handler's action.
struct CertificateCase {
  std::string verification;
  std::string action = "allow";
};

void AddCertificateCase(CLI::App& command, std::string& domain, std::string& chainFile,
                        CertificateCase& certificateCase) {
  command.add_option("--domain", domain, "The server name")->required();
  command.add_option("--chain", chainFile, "PEM file, server certificate first")->required();
  command
      .add_option("--verification", certificateCase.verification,
                  "The engine's verification result: a number or its name")
      ->required();
  command.add_option("--action", certificateCase.action, "allow, block or a number")
      ->capture_default_str();
}

CommandRun DefineResolve(CLI::App& command) {
  struct Arguments {
    ResolveRequest request;
    CertificateCase certificateCase;
    std::string autoExcludes = "on";
  };
  auto arguments = std::make_shared<Arguments>();
  AddCertificateCase(command, arguments->request.domain, arguments->request.chainFile,
                     arguments->certificateCase);
  command.add_option("--auto-excludes", arguments->autoExcludes, "on or off")
      ->check(CLI::IsMember({"on", "off"}))
      ->capture_default_str();
  command
      .add_option("--operation", arguments->request.operations,
                  "detect, resolve, desktop or auto-exclude, in order (default: resolve)")
      ->check(CLI::IsMember({"detect", "resolve", "desktop", "auto-exclude"}));
  command.add_option("--pid", arguments->request.pid, "The client process (default: module-host)");
  return [arguments](const CommandContext& context) {
    ResolveRequest request = arguments->request;
    request.verification = ParseVerification(arguments->certificateCase.verification);
    request.action = ParseAction(arguments->certificateCase.action);
    request.autoExcludes = arguments->autoExcludes == "on";
    if (request.operations.empty()) {
      request.operations = {"resolve"};
    }
    std::cout << RunResolve(context.modulePath, context.tracer, request).dump(2) << '\n';
    return 0;
  };
}

CommandRun DefineAlertPage(CLI::App& command) {
  struct Arguments {
    AlertPageRequest request;
    CertificateCase certificateCase;
    std::string output;
  };
  auto arguments = std::make_shared<Arguments>();
  AddCertificateCase(command, arguments->request.domain, arguments->request.chainFile,
                     arguments->certificateCase);
  command.add_option("--continue-url", arguments->request.continueUrl,
                     "The engine's address that lets the user go on (empty: none)");
  command.add_option("--show-certificate-url", arguments->request.showCertificateUrl,
                     "The engine's address that shows the certificate");
  command.add_option("--output", arguments->output,
                     "Write the page to FILE instead of standard output");
  return [arguments](const CommandContext& context) {
    AlertPageRequest request = arguments->request;
    request.verification = ParseVerification(arguments->certificateCase.verification);
    request.action = ParseAction(arguments->certificateCase.action);
    const std::string page = RunAlertPage(context.modulePath, context.tracer, request);
    if (arguments->output.empty()) {
      std::cout << page;
    } else if (!(std::ofstream(arguments->output, std::ios::binary | std::ios::trunc) << page)) {
      throw std::runtime_error("cannot write " + arguments->output);
    }
    return 0;
  };
}

// The certificate manager's commands: CERT where one is needed, and the trusted folder.
struct ManagerArguments {
  std::string certificateFile;
  std::string trustedDirectory;
  bool json = false;
  unsigned seconds = 0;
};

std::shared_ptr<ManagerArguments> AddManagerArguments(CLI::App& command, bool certificate) {
  auto arguments = std::make_shared<ManagerArguments>();
  if (certificate) {
    command.add_option("cert", arguments->certificateFile, "PEM or DER file")->required();
  }
  command.add_option("--trusted-dir", arguments->trustedDirectory,
                     "PEM files the host's trusted certificates provider serves");
  return arguments;
}

// The report of an install or uninstall: one JSON document, or the result line and the table.
void PrintChange(const nlohmann::json& report, bool json) {
  if (json) {
    Print(report);
    return;
  }
  std::cout << report["command"].get<std::string>() << ' '
            << report["certificate"].get<std::string>() << ": "
            << report["result"].get<std::string>() << "\n\n";
  PrintStoreRows(report["stores"], std::cout);
}

std::function<CommandRun(CLI::App&)> DefineCertificateChange(const char* change) {
  return [change](CLI::App& command) -> CommandRun {
    auto arguments = AddManagerArguments(command, true);
    command.add_flag("--json", arguments->json, "Print one JSON document instead of the table");
    return [arguments, change](const CommandContext& context) {
      const nlohmann::json report =
          RunCertificateChange(context.modulePath, context.tracer, change,
                               arguments->certificateFile, arguments->trustedDirectory);
      PrintChange(report, arguments->json);
      return 0;
    };
  };
}

CommandRun DefineFindParent(CLI::App& command) {
  auto arguments = AddManagerArguments(command, true);
  return [arguments](const CommandContext& context) {
    Print(RunFindParent(context.modulePath, context.tracer, arguments->certificateFile,
                        arguments->trustedDirectory));
    return 0;
  };
}

// The module's line for each store it puts the root into; shown at every trace level.
constexpr char kStoreActionLine[] = "Add cert to ";

CommandRun DefineWatch(CLI::App& command) {
  auto arguments = AddManagerArguments(command, false);
  command.add_option("--seconds", arguments->seconds, "Stop after N seconds (0: only on a signal)");
  command.add_option("--install", arguments->certificateFile,
                     "Install CERT (PEM or DER) first, as the service does");
  return [arguments](const CommandContext& context) {
    context.tracer->PassAboveThreshold(kStoreActionLine);
    WatchRequest request{arguments->seconds, arguments->trustedDirectory,
                         arguments->certificateFile, [](const nlohmann::json& report) {
                           PrintChange(report, false);
                           std::cout << std::endl;
                         }};
    Print(RunWatch(context.modulePath, context.tracer, request));
    return 0;
  };
}

}  // namespace

const std::vector<Subcommand>& Subcommands() {
  static const std::vector<Subcommand> subcommands = {
      {"info", "Lists the classes the module serves, its record registry and its unload answers",
       DefineInfo},
      {"ports", "NetworkPorts: start or stop interception, or start it with the ports of FILE",
       DefinePorts},
      {"net-settings", "TcpInterceptorConfigurator: read the network settings or apply FILE",
       DefineNetSettings},
      {"trusted", "TcpInterceptorConfigurator: read the trusted addresses or write FILE",
       DefineTrusted},
      {"interception", "Start interception, apply FILE twice, stop: the second costs no write",
       DefineInterception},
      {"resolve", "InvalidCertificateHandler: the verdict and the events for a bad certificate",
       DefineResolve},
      {"alert-page",
       "InvalidCertificateHandler: the page served in place of a bad certificate's site",
       DefineAlertPage},
      {"install", "CertificateManager: install CERT into every store, then what each store holds",
       DefineCertificateChange("install")},
      {"uninstall", "CertificateManager: remove CERT from every store, then what each store holds",
       DefineCertificateChange("uninstall")},
      {"find-parent", "CertificateManager: the trusted candidates for the issuer of CERT",
       DefineFindParent},
      {"watch",
       "CertificateManager: install CERT (--install) and react to new stores and users until "
       "SIGINT or SIGTERM",
       DefineWatch},
  };
  return subcommands;
}

}  // namespace module_host
