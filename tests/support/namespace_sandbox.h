#pragma once

#include <functional>

#include "sandbox/mount_namespace.h"
#include "sandbox/store_layout.h"

namespace tti::test {

// Runs `body` in a forked child that has entered a private mount namespace (unshare, / private
// recursive), so nothing it mounts reaches the test runner. The child prints its own gtest
// failures; the caller gets one failure when the namespace could not be made or the child did not
// end cleanly. Never skips.
void RunInMountNamespace(const std::function<void()>& body);

// The sandbox tools under their test names.
using host::sandbox::BuildStoreLayout;
using host::sandbox::EnterPrivateMountNamespace;
using host::sandbox::MakeReadOnly;
using host::sandbox::MountProductTree;
using host::sandbox::MountTmpfs;
using host::sandbox::ReadTextFile;
using host::sandbox::RealCaBundle;
using host::sandbox::StoreLayout;
using host::sandbox::WriteTextFile;

}  // namespace tti::test
