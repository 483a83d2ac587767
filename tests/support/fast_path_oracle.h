#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "page_template.h"

// The per-connection fast paths against the plain ways they replace; each gives the first
// difference as text, empty when both agree.
namespace tti::test {

// The remembered facts (a first sight and a second) and the PEM written without a parse, against
// ParseDer (d2i_X509), the name and hash functions, GetIssuerText and RawToPem on the same bytes.
std::string CompareCertificatePaths(const uint8_t* data, size_t size);

// PageTemplate::Render against boost::algorithm::replace_all of each done slot in turn.
std::string ComparePagePaths(const std::string& text,
                             const qel::tcp_traffic_interceptor::PageValues& values);

}  // namespace tti::test
