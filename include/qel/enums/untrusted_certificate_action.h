#pragma once

#include <cstdint>

namespace qel::UntrustedCertificateAction {
enum Type : uint32_t {
  Allow = 0,
  Block = 1,
};
}  // namespace qel::UntrustedCertificateAction
