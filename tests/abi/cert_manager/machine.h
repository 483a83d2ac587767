#pragma once

#include "sandbox/machine.h"
#include "support/namespace_sandbox.h"

// The synthetic machine under the certificate manager tests' names.
namespace cert_manager_test {

using host::sandbox::Account;
using host::sandbox::BuildMachine;
using host::sandbox::BundleCertificates;
using host::sandbox::CountOf;
using host::sandbox::MakeNssDatabase;
using host::sandbox::NssCertificates;
using host::sandbox::WriteAccounts;

}  // namespace cert_manager_test
