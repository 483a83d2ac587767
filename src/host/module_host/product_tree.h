#pragma once

#include <string>

namespace module_host {

// The module reads its fixed files under /opt/morvane/tolm. To run against a build's staged tree
// instead, this process enters its own mount namespace (unshare(CLONE_NEWNS), / made private), puts
// a tmpfs over /opt and binds `tree` read-only at /opt/morvane/tolm. Nothing is visible outside
// the process. Root only; std::runtime_error when a step fails.
void EnterProductTree(const std::string& tree);

// The tree to use: `requested` when given; otherwise, running as root,
// <dir of module-host>/../opt/morvane/tolm when /opt/morvane/tolm does not exist and that directory
// does; otherwise empty (use the machine's). Installed from the package, the program lies in
// /opt/morvane/tolm/bin: the tree exists and is its own.
std::string ChooseProductTree(const std::string& requested);

}  // namespace module_host
