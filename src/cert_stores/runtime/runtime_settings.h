#pragma once

#include <string>
#include <vector>

#include "cert_stores/conversions/certificate.h"
#include "orv/result.h"
#include "qel/tools/files.h"

namespace qel::tcp_traffic_interceptor::cert_stores {

using tools::NativePath;

// How a settings file spells one variable.
enum class RuntimeSettingsFormat {
  kShell,           // a POSIX shell script sourced by login shells
  kEnvironmentDir,  // systemd's environment.d format
};

// One file of the runtime trust settings.
struct RuntimeSettingsFile {
  NativePath path;
  RuntimeSettingsFormat format;
};

// The runtime trust settings: files of the product's own that give new login shells and new
// desktop sessions the variables of kRuntimeTrustVariables, each pointing at the machine's system
// bundle unless someone set it already. Runtimes with compiled-in or vendored root lists (Node.js,
// npm, pip, requests) then trust what the system bundle trusts, and stop when the root leaves it.
//
// No state and no locks: every operation is const, callers serialise. Nothing is traced; the
// caller names the file in its warning.
class RuntimeTrustSettings final {
 public:
  // The profile script and the environment.d file, at their fixed places.
  static std::vector<RuntimeSettingsFile> Files();
  // The first of the fixed bundle files that is a regular file now (directly or behind a link);
  // 0x80010102 and `bundle` unchanged when there is none.
  static result_t FindSystemBundle(NativePath& bundle);
  // The whole text of `format` with every variable pointing at `bundle`.
  static std::string Text(RuntimeSettingsFormat format, const NativePath& bundle);

  // Writes the file for `bundle` through a temporary and a rename (mode 0644) unless it holds that
  // text already. 0 when written, 1 when it was there or its folder does not exist (nothing on
  // this machine reads it), else the errno result with the file unchanged. `certificates` is what
  // is being installed: a list with an item that is not exactly one DER certificate is refused
  // (0x8000005d) and nothing is written.
  result_t Write(const RuntimeSettingsFile& file, const NativePath& bundle,
                 const std::vector<Certificate>& certificates) const;
  // Removes the file. 0 when removed, 1 when it was not there, else the errno result. A list with
  // an item that is no certificate is refused (0x8000005d): bytes that were never installed take
  // nothing away.
  result_t Remove(const RuntimeSettingsFile& file,
                  const std::vector<Certificate>& certificates) const;
  // Whether the file is there with the text for `bundle`.
  static bool Holds(const RuntimeSettingsFile& file, const NativePath& bundle);
};

}  // namespace qel::tcp_traffic_interceptor::cert_stores
