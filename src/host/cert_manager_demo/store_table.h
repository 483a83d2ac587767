#pragma once

#include <cstdint>
#include <ostream>
#include <vector>

namespace cert_manager_demo {

// What every store of the machine holds now, read back from the stores (module-host's store
// report), as an aligned table: one row a store, whether it holds `certificate`.
// Returns how many rows hold it or are product files and links.
size_t PrintStoreTable(const std::vector<uint8_t>& certificate, std::ostream& out);

}  // namespace cert_manager_demo
