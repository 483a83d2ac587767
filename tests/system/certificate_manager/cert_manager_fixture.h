#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orv/intrusive_ptr.h"
#include "qel/tcp_traffic_interceptor/certificate_manager.h"
#include "qel/tcp_traffic_interceptor/class_ids.h"
#include "sandbox/machine.h"
#include "support/cert_factory.h"
#include "support/module_fixture.h"
#include "support/namespace_sandbox.h"
#include "support/scratch.h"
#include "system/certificate_manager/recording_inotify_provider.h"

namespace tti::test {

using Der = std::vector<uint8_t>;
using host::sandbox::Account;
using host::sandbox::BuildMachine;
using host::sandbox::BundleCertificates;
using host::sandbox::CountOf;
using host::sandbox::MakeNssDatabase;
using host::sandbox::NssCertificates;
using host::sandbox::WriteAccounts;
using qel::tcp_traffic_interceptor::ICertificateManager;

// Every entry below each of `directories` (links not followed) with its content or link target.
using Tree = std::map<std::string, std::string>;
Tree Snapshot(const std::vector<std::string>& directories);

// Makes a database in a folder outside every watched place and moves the folder to `directory`,
// making the folders above it first. certutil writing a database while the module reads and
// writes it at the same time has been seen to spin without end; the browsers tested elsewhere
// make theirs in place.
void MoveInNssDatabase(const std::string& directory);

// The real module in the reference host with the host's own services: real inotify (the recording
// provider after RecordInotify) and the trusted certificates provider over `trustedFolder`. The
// manager works on the fixed system paths, so every body runs in RunInMountNamespace over a
// BuildMachine.
class CertManagerTest : public tti::test::ModuleTest {
 protected:
  void SetUp() override;

  // Puts a fresh recording inotify provider in the locator in place of the real one.
  void RecordInotify();
  // CreateInstance of class 0x1205b823 asking for ICertificateManager; its result.
  result_t TryCreate(orv::intrusive_ptr<ICertificateManager>& manager);
  // The same, failing the test on a failure.
  orv::intrusive_ptr<ICertificateManager> CreateManager() {
    return Create<ICertificateManager>(qel::tcp_traffic_interceptor::CLSID_CertificateManager);
  }
  // The argument of Install and Uninstall.
  static qel::RawCert Raw(const Der& der) { return tti::test::BytesAs<qel::RawCert>(der); }
  // FindParentCertificates through crypto::ITrustedCertificateProvider; its result.
  result_t FindParents(ICertificateManager* manager, const Der& certificate,
                       std::vector<Der>& parents);
  // Lines at `level` equal to `text`, or starting with `prefix`.
  size_t LineCount(uint32_t level, const std::string& text) const {
    const std::vector<std::string> texts = tracer->Texts(level);
    return std::count(texts.begin(), texts.end(), text);
  }
  size_t CountStartingWith(uint32_t level, const std::string& prefix) const {
    const std::vector<std::string> texts = tracer->Texts(level);
    return std::count_if(texts.begin(), texts.end(),
                         [&](const std::string& text) { return text.rfind(prefix, 0) == 0; });
  }

  tti::test::TempDir trustedFolder;
  orv::intrusive_ptr<RecordingInotifyProvider> inotify;
};

}  // namespace tti::test
