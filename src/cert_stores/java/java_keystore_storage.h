#pragma once

#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "cert_stores/java/keystore_discovery.h"
#include "cert_stores/java/keystore_format.h"
#include "orv/result.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

// Puts certificates into, and takes them out of, one Java keystore file of the JKS kind, keeping
// every other entry as it was (order, alias, date, bytes). Only keystores whose digest checks with
// the store password are touched; a rewrite goes through a temporary beside the resolved file and
// a rename, with mode and owner kept, so no reader ever sees a partial keystore.
//
// No state and no locks: every operation is const, callers serialise. Nothing is traced; the
// caller names the keystore in its warning. Out of memory is std::bad_alloc.
class JavaKeystoreStorage final {
 public:
  // A trusted-certificate entry (alias: the name in lower case, date: now) for each certificate
  // whose bytes no trusted entry holds. 0 when written, 1 when all were there, else the read or
  // write failure with the keystore unchanged.
  result_t AddCertificates(const NativePath& keystore,
                           const std::vector<Certificate>& certificates) const;
  // Removes every trusted entry holding the bytes of one of the certificates. 0 when written, 1
  // when none was there, else the failure with the keystore unchanged.
  result_t DeleteCertificates(const NativePath& keystore,
                              const std::vector<Certificate>& certificates) const;
  // The certificates of the trusted entries, in file order; the read failure and an empty list.
  result_t ReadCertificates(const NativePath& keystore, std::vector<RawCert>& certificates) const;
  // The file read and checked: its errno result, kNotAKeystore or kKeystoreDigestMismatch.
  result_t ReadKeystore(const NativePath& path, Keystore& keystore) const;
  // The keystore serialised and put in place of the file `path` resolves to.
  result_t WriteKeystore(const NativePath& path, const Keystore& keystore) const;
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores
