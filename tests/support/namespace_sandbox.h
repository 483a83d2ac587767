#pragma once

#include <sys/types.h>
#include <functional>
#include <string>

namespace tti::test {

// Runs `body` in a forked child that has entered a private mount namespace (unshare, / private
// recursive), so nothing it mounts reaches the test runner. The child prints its own gtest
// failures; the caller gets one failure when the namespace could not be made or the child did not
// end cleanly. Never skips.
void RunInMountNamespace(const std::function<void()>& body);

// Enters a private mount namespace in this process (for programs that live only for it, such as
// benchmarks). Throws std::runtime_error.
void EnterPrivateMountNamespace();

enum class StoreLayout {
  // /usr/local/share/ca-certificates/, the update tool, /etc/ssl/certs with ca-certificates.crt
  // and /usr/lib/ssl/cert.pem a link to the same file.
  kDebian,
  // /etc/pki/ca-trust/source/anchors/, /etc/pki/tls/certs/ca-bundle.crt, no update tool.
  kFedora,
};

// Inside the namespace only: tmpfs over /etc (every entry but ssl, pki and ca-certificates bound
// back read-only, /etc/ca-certificates/update.d empty), /usr/lib/ssl and
// /usr/local/share/ca-certificates, then the layout with a bundle of the real CA set.
void BuildStoreLayout(StoreLayout layout);

// The real CA set of the machine as one PEM text, and how many certificates it holds.
std::string RealCaBundle(size_t* count = nullptr);

// Inside the namespace only: tmpfs over /opt, then the build's staged product tree
// ($TTI_BINARY_DIR/opt/morvane/tolm) bound read-only at /opt/morvane/tolm.
void MountProductTree();

void MountTmpfs(const std::string& path);
// Binds a path onto itself read-only: writes fail with EROFS even for root.
void MakeReadOnly(const std::string& path);
void WriteTextFile(const std::string& path, const std::string& text, mode_t mode = 0644);
std::string ReadTextFile(const std::string& path);

}  // namespace tti::test
