#pragma once

#include <gtest/gtest.h>

#include <ostream>

#include "cert_stores/nss/nss3_storage.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// Test output of a record, the path quoted with its odd bytes escaped.
inline std::ostream& operator<<(std::ostream& stream, const Nss3Storage& storage) {
  return stream << "{" << testing::PrintToString(storage.path) << ", " << storage.uid << ", "
                << storage.gid << "}";
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
