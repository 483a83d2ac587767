#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "abi/cert_manager/machine.h"
#include "abi/cert_manager/provider_doubles.h"
#include "crypto/trusted_certificate_provider.h"
#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "support/cert_factory.h"
#include "support/module_fixture.h"

namespace cert_manager_test {

using qel::tcp_traffic_interceptor::ICertificateManager;
using Der = std::vector<uint8_t>;

// The real module in the reference host, with a recording inotify provider and a trusted
// certificates double in the locator. The manager reads and writes the fixed system paths, so
// every test body runs in RunInMountNamespace over a BuildMachine.
class CertManagerTest : public tti_test::ModuleTest {
 protected:
  void SetUp() override;

  // CreateInstance of class 0x1205b823 asking for ICertificateManager; its result.
  result_t TryCreate(orv::intrusive_ptr<ICertificateManager>& manager);
  // The same, failing the test on a failure.
  orv::intrusive_ptr<ICertificateManager> CreateManager();
  // FindParentCertificates through the manager's first interface.
  result_t FindParents(ICertificateManager* manager, const Der& certificate,
                       std::vector<Der>& parents);

  // Whole lines at `level`; how many equal `text`.
  size_t LineCount(uint32_t level, const std::string& text) const;
  // Whether a line at `level` ends with `suffix`.
  bool HasLineEndingWith(uint32_t level, const std::string& suffix) const;

  orv::intrusive_ptr<RecordingInotifyProvider> inotify;
  orv::intrusive_ptr<TrustedCertificatesDouble> trusted;
};

qel::RawCert ToRaw(const Der& der);

}  // namespace cert_manager_test
