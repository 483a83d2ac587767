#pragma once

#include <sys/types.h>

#include <string>

namespace qel::cert_manager {

struct Owner {
  uid_t uid = 0;
  gid_t gid = 0;
};

// Whom the work on the database directory belongs to. The owner of the directory (links
// followed) when that is not root; otherwise the deepest component of the path, link or
// directory, that belongs to someone other than root; otherwise root. So a link that a user
// planted anywhere on the path makes the work that user's, and a root-owned database reached
// only through root's own directories stays root's. Throws std::runtime_error when the
// directory cannot be looked at.
Owner FindDatabaseOwner(const std::string& directory);

// Drops this process for good to `owner` (no supplementary groups) when it runs as root and the
// owner is not root; anything else keeps the current user. Throws std::runtime_error when the
// change does not hold.
void BecomeOwner(const Owner& owner);

}  // namespace qel::cert_manager
