#pragma once

#include <cstdint>
#include <vector>

#include <nlohmann/json.hpp>

namespace module_host {

// What the machine's certificate stores hold now, read back from the stores with the store
// library's own discovery and readers (the module's view of them, see README.md): the
// product's anchor files in the anchor directory in use, the product's links and the hash links to
// them in /etc/ssl/certs, every bundle file, every Java keystore (with its entry count), every NSS
// database the module would find, then the runtime trust settings files. One row a store;
// `certificate` (DER) is marked where it is held ("holds"); a settings file "holds" when it points
// the runtimes at the system bundle.
nlohmann::json ReportStores(const std::vector<uint8_t>& certificate);

}  // namespace module_host
