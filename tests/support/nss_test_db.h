#pragma once

#include <map>
#include <string>

#include "support/cert_factory.h"
#include "support/scratch.h"

namespace tti::test {

// A temporary folder that an unprivileged owner of a folder inside can reach (mode 0755).
class ScratchDirectory final : public TempDir {
 public:
  ScratchDirectory();
  const std::string& Path() const noexcept { return path(); }
  // Path() + "/" + relative, with every missing folder on the way made (mode 0755).
  std::string MakeFolder(const std::string& relative) const;
};

// `certutil -N`: a new database in `directory`, with the empty password unless one is given.
void CreateNssDatabase(const std::string& directory, const std::string& password = "");
// A database as its maker leaves it between creating the files and choosing a password: NSS's
// files made by an open for writing, the token still waiting for its first password.
void CreateUnsetNssDatabase(const std::string& directory);
// `certutil -A`: imports a PEM certificate under `nickname` with the trust flags.
void AddWithCertutil(const std::string& directory, const TestCertificate& certificate,
                     const std::string& nickname, const std::string& trust,
                     const std::string& password = "");
// `certutil -L`: nickname to trust flags ("C,,") of every certificate of the database.
std::map<std::string, std::string> ListNssDatabase(const std::string& directory);
// `vfychain -u 1`: the database makes `server` a valid TLS server certificate.
bool NssTrustsServer(const std::string& directory, const TestCertificate& server);
// The bytes of every file of the folder, by name, to show that a failure changed nothing.
std::map<std::string, std::string> FolderBytes(const std::string& directory);
}  // namespace tti::test
