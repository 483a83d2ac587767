#include <clocale>
#include <cstdint>
#include <exception>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/host_object.h"
#include "host/module_loader.h"
#include "host/stderr_tracer.h"
#include "product/product_paths.h"
#include "product_tree.h"
#include "subcommands.h"

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
  module_host::CommandContext context{host::LoadedModule::DefaultPath(), nullptr};
  uint32_t traceLevel = 500;
  app.add_option("--module", context.modulePath, "Path of libtcp_traffic_interceptor.so")
      ->capture_default_str();
  app.add_option("--trace-level", traceLevel,
                 "Highest trace level written to standard error (300, 500, 800)")
      ->capture_default_str();
  std::string productTree;
  app.add_option(
      "--product-tree", productTree,
      std::string("Bind DIR at ") + qel::product::kProductTree +
          " in a private mount namespace (root); default: the build's staged tree when " +
          qel::product::kProductTree + " does not exist");
  app.require_subcommand(1);

  std::vector<std::pair<CLI::App*, module_host::CommandRun>> commands;
  for (const module_host::Subcommand& subcommand : module_host::Subcommands()) {
    CLI::App* command = app.add_subcommand(subcommand.name, subcommand.description);
    commands.emplace_back(command, subcommand.define(*command));
  }

  CLI11_PARSE(app, argc, argv);

  try {
    if (const std::string tree = module_host::ChooseProductTree(productTree); !tree.empty()) {
      module_host::EnterProductTree(tree);
    }
    auto tracer = host::MakeObject<host::StderrTracer>(traceLevel);
    context.tracer = tracer.get();
    for (const auto& [command, run] : commands) {
      if (command->parsed()) {
        return run(context);
      }
    }
  } catch (const std::exception& error) {
    std::cerr << "module-host: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
