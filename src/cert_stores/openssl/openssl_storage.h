#pragma once

#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/openssl/scope_multi_guard.h"
#include "cert_stores/openssl/store_discovery.h"
#include "orv/result.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// Installs certificates into, and removes them from, the places OpenSSL trusts: one anchor
// directory (an anchor file N.crt, mode 0444), the link directory /etc/ssl/certs where the
// machine has the update tool (N.pem to the anchor file, HHHHHHHH.i to N.pem, both absolute), and
// every bundle file. Everything is plain file work in this process; the update tool is never run.
//
// No state and no locks: every operation is const, callers serialise. Directory listing failures
// throw boost::filesystem::filesystem_error; a bundle rewrite reports through its result.
class OpenSslStorage final {
 public:
  // Anchor file, links, bundles. No anchor directory: 0x80010102 and nothing written. A failed link
  // step or bundle rewrite takes back this call's anchor files and links, last first; bundles
  // already rewritten keep the certificate.
  result_t AddCertificates(const std::vector<Certificate>& certificates) const;
  // Anchor files and links (failures not reported), then the bundles, whose result it gives:
  // 0x8000004b when no bundle held any of the certificates.
  result_t DeleteCertificates(const std::vector<Certificate>& certificates) const;
  // Every product anchor file that reads as PEM, its links, and its bundle entries.
  result_t DeleteAllCertificates() const;
  // The certificates of a PEM bundle in file order; 0x8000004b when anything fails.
  result_t ReadBundle(const NativePath& path, std::vector<RawCert>& certificates) const;

  // The steps, public for tests of single places.
  std::vector<Certificate> AddToSource(const std::vector<Certificate>& certificates,
                                       const NativePath& anchorDirectory,
                                       ScopeMultiGuard& guard) const;
  std::vector<Certificate> RemoveFromSource(const std::vector<Certificate>& certificates,
                                            const NativePath& anchorDirectory) const;
  // Regular files (following links) whose stem has the product prefix, in listing order.
  std::vector<NativePath> FindProductFiles(const NativePath& directory) const;
  result_t LinkCertificates(const NativePath& anchorDirectory,
                            const std::vector<Certificate>& certificates,
                            ScopeMultiGuard& guard) const;
  void UnlinkCertificates(const std::vector<Certificate>& certificates) const;
  // `path` comes in as a directory and leaves as the first free or already owned hash link in
  // it; 0x80000065 when 65535 indexes are taken.
  result_t FindFreeHashLink(const Certificate& certificate, NativePath& path) const;
  // The hash link of the directory `path` that points at the certificate's N.pem; 0x80010102.
  result_t FindHashLink(const Certificate& certificate, NativePath& path) const;
  // Creates the link unless something is at its place (then 0, nothing changed). A failed creation
  // gives the positive errno, which callers do not count as a failure.
  result_t CreateSymlink(const NativePath& target, const NativePath& link,
                         ScopeMultiGuard& guard) const;
  result_t AddToBundles(const std::vector<Certificate>& certificates) const;
  result_t RemoveFromBundles(const std::vector<Certificate>& certificates) const;
  // A fresh PEM of every entry, written to a temporary beside `bundle` and renamed over its
  // resolved target with the old mode and owner. Readers see the old or the new file, never a mix.
  result_t RewriteBundle(const NativePath& bundle, const std::vector<RawCert>& certificates) const;
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores
