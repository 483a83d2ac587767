#include "cert_stores/nss/nss3_storage.h"

#include <linux/capability.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "cert_stores/conversions/cert_conversions.h"
#include "cert_stores/nss/database_files.h"
#include "cert_stores/nss/nss_context.h"
#include "cert_stores/nss/nss_types.h"
#include "product/product_paths.h"
#include "qel/tools/process_runner.h"

namespace qel::tcp_traffic_interceptor::cert_stores {
namespace {

// The exit status with which the helper leaves a database to the program still setting it up.
constexpr int kHelperNotReady = 4;

// Reads the DER bytes of every certificate of the internal slot of an open context, and whether
// its token still waits for its first password.
result_t ReadSlot(std::vector<RawCert>& certificates, bool& needsSetUp) {
  const SlotPtr slot(PK11_GetInternalKeySlot());
  if (!slot) {
    return orv::errors::kNotFound;
  }
  needsSetUp = PK11_NeedUserInit(slot.get());
  const CertListPtr list(PK11_ListCertsInSlot(slot.get()));
  if (!list) {
    return orv::errors::kNotFound;
  }
  for (CERTCertListNode* node = CERT_LIST_HEAD(list.get()); !CERT_LIST_END(node, list.get());
       node = CERT_LIST_NEXT(node)) {
    const SECItem& der = node->cert->derCert;
    certificates.emplace_back(der.data, der.data + der.len);
  }
  return orv::errors::kOk;
}

result_t ReadDatabase(const NativePath& path, std::vector<RawCert>& certificates,
                      bool& needsSetUp) {
  try {
    // Declared first, so the slot and the list are released before the context shuts down.
    const NssContext context(path, true);
    return ReadSlot(certificates, needsSetUp);
  } catch (...) {
    return orv::errors::kUnspecified;
  }
}

// What a database being set up looks like without writing to it: files still missing or empty
// (two stats, no open), or a read-only open whose token has no password yet. A read-only open
// takes only SQLite's shared lock for the span of the read; the maker's writes wait for it at
// most that long, within NSS's own busy wait.
result_t ReadForAdd(const NativePath& path, std::vector<RawCert>& present) {
  if (FindDatabaseFiles(path) == DatabaseFiles::kPartial) {
    return kNss3DatabaseNotReady;
  }
  bool needsSetUp = false;
  const result_t read = ReadDatabase(path, present, needsSetUp);
  if (ORV_SUCCEEDED(read) && needsSetUp) {
    return kNss3DatabaseNotReady;
  }
  return read;
}

constexpr rlim_t kHelperDescriptors = 20480;

bool HasCapability(int capability) {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[_LINUX_CAPABILITY_U32S_3]{};
  if (::syscall(SYS_capget, &header, data) != 0) {
    return false;
  }
  return (data[CAP_TO_INDEX(capability)].effective & CAP_TO_MASK(capability)) != 0;
}

// 20480 descriptors, soft and hard. Raising a lower hard limit needs CAP_SYS_RESOURCE, and without
// it the child would end with EPERM before execve: a service that lacks it (a container, say)
// gives the helper its own hard limit rather than no start at all.
std::vector<tools::ResourceLimit> HelperLimits() {
  rlimit present{};
  if (::getrlimit(RLIMIT_NOFILE, &present) == 0 && present.rlim_max < kHelperDescriptors &&
      !HasCapability(CAP_SYS_RESOURCE)) {
    return {{present.rlim_max, present.rlim_max, RLIMIT_NOFILE}};
  }
  return {{kHelperDescriptors, kHelperDescriptors, RLIMIT_NOFILE}};
}

// The helper is started as this process's user with the fixed environment, /dev/null for the
// standard streams, every other descriptor closed, in a process group of its own and with a time
// limit: exit status 0 gives 0, kHelperNotReady kNss3DatabaseNotReady, anything else (the time
// limit included) 0x8000004b.
result_t RunHelper(const char* action, const NativePath& storePath,
                   const std::vector<Certificate>& certificates) {
  // MakeCertList needs one item that converts; without one there is nothing to ask for.
  std::vector<uint8_t> pem;
  if (std::none_of(certificates.begin(), certificates.end(), [&pem](const Certificate& item) {
        return ORV_SUCCEEDED(RawToPem(item.raw, pem));
      })) {
    return orv::errors::kInvalidArgument;
  }
  const std::string list = MakeCertList(certificates);
  const char* const args[] = {product::kCertManagerPath,
                              action,
                              "--nss3-path",
                              storePath.c_str(),
                              "--certlist",
                              list.c_str(),
                              nullptr};
  tools::ProcessOptions options;
  options.path = product::kCertManagerPath;
  options.args = args;
  options.limits = HelperLimits();
  options.timeoutMs = kCertManagerTimeLimitMs;
  options.ownProcessGroup = true;
  const result_t result = tools::RunProcess(options);
  if (options.exitCode == kHelperNotReady) {
    return kNss3DatabaseNotReady;
  }
  return result == tools::kOperationTimeout ? orv::errors::kUnspecified : result;
}

}  // namespace

result_t Nss3Storage::GetCertificates(std::vector<RawCert>& certificates) const {
  bool needsSetUp = false;
  return ReadDatabase(path, certificates, needsSetUp);
}

result_t Nss3Storage::AddCertificatesToStore(std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  std::vector<RawCert> present;
  const result_t read = ReadForAdd(path, present);
  if (read == kNss3DatabaseNotReady) {
    return read;
  }
  // A database that cannot be read gets the whole list: the helper decides.
  if (ORV_SUCCEEDED(read)) {
    const auto held = [&present](const Certificate& certificate) {
      return std::any_of(present.begin(), present.end(), [&certificate](const RawCert& raw) {
        return RawEqual(raw, certificate.raw);
      });
    };
    certificates.erase(std::remove_if(certificates.begin(), certificates.end(), held),
                       certificates.end());
  }
  if (certificates.empty()) {
    return orv::errors::kOk;
  }
  return RunHelper("--nss3-add", path, certificates);
}

result_t Nss3Storage::DeleteCertificatesFromStore(
    const std::vector<Certificate>& certificates) const {
  if (const result_t checked = CheckOneCertificateEach(certificates); ORV_FAILED(checked)) {
    return checked;
  }
  return RunHelper("--nss3-delete", path, certificates);
}

}  // namespace qel::tcp_traffic_interceptor::cert_stores
