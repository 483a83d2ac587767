#include <clocale>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/CLI.hpp>

#include "host/host_object.h"
#include "host/module_loader.h"
#include "host/stderr_tracer.h"
#include "info_command.h"
#include "info_output.h"

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
  app.require_subcommand(1);

  CLI::App* info = app.add_subcommand(
      "info", "Lists the classes the module serves, its record registry and its unload answers");
  bool json = false;
  info->add_flag("--json", json, "Print one JSON document instead of text");

  CLI11_PARSE(app, argc, argv);

  try {
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
    }
  } catch (const std::exception& error) {
    std::cerr << "module-host: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
