#pragma once

#include <vector>

#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// The Java keystores of the machine, each real file once: the fixed keystores that exist as
// regular files (directly or behind a link), then, in name order, every JDK's lib/security/cacerts
// that is itself a regular file (a link is some other keystore's alias). The paths are given as
// found; writers resolve them. Asked anew by every add and delete; throws nothing.
std::vector<NativePath> GetKeystoreFiles();

}  // namespace qel::tcp_traffic_interceptor::cert_stores
