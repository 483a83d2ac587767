#pragma once

#include <string>

namespace qel::cert_manager {

enum class Action { kAdd, kDelete };

// The helper's command line: one action, the store path and the certificate list.
struct HelperArguments {
  Action action = Action::kAdd;
  std::string storePath;  // a "cert9.db" file or a database directory with a final "/"
  std::string certList;   // "name:PEM;name:PEM"
};

// Reads `--nss3-add | --nss3-delete`, `--nss3-path PATH` and `--certlist LIST`, in any order, each
// once. Throws std::invalid_argument naming what is wrong.
HelperArguments ParseArguments(int argc, const char* const* argv);

// The usage lines for standard error.
const char* UsageText();

}  // namespace qel::cert_manager
