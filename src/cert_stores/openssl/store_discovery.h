#pragma once

#include <vector>

#include "orv/result.h"
#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// The bundle candidates that are regular files now (directly or behind a link), in candidate
// order, without removal of duplicates. Asked anew by every add and delete.
std::vector<NativePath> GetBundleFiles();

// The first anchor directory candidate that lstat finds; 0x80010102 and `directory` unchanged
// when there is none.
result_t FindAnchorDirectory(NativePath& directory);

}  // namespace qel::tcp_traffic_interceptor::cert_stores
