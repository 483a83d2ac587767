#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace module_host {

// The DER bytes of the one certificate of a PEM or DER file. Anything else throws
// std::runtime_error naming the file and what it holds: "empty file", "no certificate",
// "2 certificates", "1 certificate followed by 3 bytes", "a certificate block that does not
// parse". PEM blocks of other kinds (a key, a request) and text around the blocks are passed over.
std::vector<uint8_t> ReadOneCertificate(const std::string& path);

}  // namespace module_host
