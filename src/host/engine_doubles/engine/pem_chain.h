#pragma once

#include <string>
#include <vector>

#include "engine/connections.h"

namespace engine {

// The DER of every certificate of a PEM text, in the text's order; std::runtime_error when the
// text holds none or a block does not decode.
std::vector<Der> ReadPemChain(const std::string& pemText);

}  // namespace engine
