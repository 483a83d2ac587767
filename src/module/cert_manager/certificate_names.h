#pragma once

#include <openssl/x509.h>

#include <cstdint>
#include <string_view>

#include "orv/trace_stream.h"

namespace qel::tcp_traffic_interceptor {

// Streams "subject: S, issuer: I with hash H", the names printed by X509_NAME_oneline into one
// shared buffer of 1024 bytes, zeroed before each use.
void StreamNames(orv::TraceStream& stream, const X509* certificate, uint64_t hash) noexcept;
// The same line from names printed that way before.
void StreamNames(orv::TraceStream& stream, std::string_view subject, std::string_view issuer,
                 uint64_t hash) noexcept;

}  // namespace qel::tcp_traffic_interceptor
