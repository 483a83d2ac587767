#pragma once

#include <cstddef>
#include <string>

namespace host::sandbox {

enum class StoreLayout {
  // /usr/local/share/ca-certificates/, the update tool, /etc/ssl/certs with ca-certificates.crt
  // and /usr/lib/ssl/cert.pem a link to the same file.
  kDebian,
  // /etc/pki/ca-trust/source/anchors/, /etc/pki/tls/certs/ca-bundle.crt, no update tool.
  kFedora,
};

// Inside a private mount namespace only: tmpfs over /etc (every entry but ssl, pki,
// ca-certificates, profile.d and environment.d bound back read-only; /etc/ca-certificates/update.d,
// /etc/profile.d and /etc/environment.d empty and writable), /usr/lib/ssl and
// /usr/local/share/ca-certificates, then the layout with a bundle of the real CA set.
void BuildStoreLayout(StoreLayout layout);

// The real CA set of the machine as one PEM text, and how many certificates it holds.
std::string RealCaBundle(size_t* count = nullptr);

}  // namespace host::sandbox
