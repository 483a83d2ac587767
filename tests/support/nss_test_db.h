#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "support/cert_factory.h"

namespace tti::test {

// A fresh directory under /tmp, mode 0755 so that an unprivileged owner of a folder inside can
// reach it; removed with everything in it at the end.
class ScratchDirectory final {
 public:
  ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory();

  const std::string& Path() const noexcept { return m_path; }
  // Path() + "/" + relative, with every missing folder on the way made (mode 0755).
  std::string MakeFolder(const std::string& relative) const;

 private:
  std::string m_path;
};

// `certutil -N`: a new database in `directory`, with the empty password unless one is given.
void CreateNssDatabase(const std::string& directory, const std::string& password = "");
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
// Gives a path and, below `top`, everything in it to `uid`:`gid`, links themselves included.
void ChangeOwner(const std::string& top, uid_t uid, gid_t gid);

}  // namespace tti::test
