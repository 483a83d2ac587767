#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "support/module_fixture.h"

namespace certificate_manager_system {

using Der = std::vector<uint8_t>;
using qel::tcp_traffic_interceptor::ICertificateManager;

// The real module in the reference host with the host's own services: real inotify, the trusted
// certificates provider over an empty directory. Bodies run in RunInMountNamespace over a
// cert_manager_test::BuildMachine.
class CertificateManagerSystemTest : public tti_test::ModuleTest {
 protected:
  orv::intrusive_ptr<ICertificateManager> CreateManager();
  // FindParentCertificates through crypto::ITrustedCertificateProvider; its result.
  result_t FindParents(ICertificateManager* manager, const Der& certificate,
                       std::vector<Der>& parents);
  // Calls into the module with the certificate's bytes.
  result_t Install(ICertificateManager* manager, const Der& certificate);
  result_t Uninstall(ICertificateManager* manager, const Der& certificate);
};

// Polls `condition` every 20 ms until it holds or 30 seconds have passed.
bool Eventually(const std::function<bool()>& condition);

// Every entry below each of `directories` (recursively, links not followed) with its content or
// link target, to compare a store tree before and after.
std::map<std::string, std::string> Snapshot(const std::vector<std::string>& directories);

// Entries of the snapshot whose name holds the product's prefix.
std::vector<std::string> ProductEntries(const std::map<std::string, std::string>& snapshot);

}  // namespace certificate_manager_system
