#pragma once

#include "sandbox/certificates.h"

// Certificates made at test time, under their test names.
namespace tti::test {

using TestCertificate = host::sandbox::SandboxCertificate;
using host::sandbox::MakeRootCertificate;
using host::sandbox::MakeServerCertificate;

}  // namespace tti::test
