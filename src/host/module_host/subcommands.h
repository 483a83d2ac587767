#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/stderr_tracer.h"

namespace module_host {

// What every subcommand runs with: the module to load and the tracer for its lines.
struct CommandContext {
  std::string modulePath;
  host::StderrTracer* tracer = nullptr;
};

// Runs a parsed subcommand; the process's exit status.
using CommandRun = std::function<int(const CommandContext&)>;

// One subcommand of module-host: `define` adds its options to the CLI11 command (binding them to
// state it keeps) and gives back what runs once they are parsed.
struct Subcommand {
  const char* name;
  const char* description;
  std::function<CommandRun(CLI::App&)> define;
};

// Every subcommand, in the order of the help text.
const std::vector<Subcommand>& Subcommands();

}  // namespace module_host
