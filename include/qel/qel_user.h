#pragma once

#include <cstdint>
#include <string>

namespace qel {

// Bits of QelUser::role.
constexpr uint32_t kRoleAdministrator = 1u << 0;
constexpr uint32_t kRoleUser = 1u << 1;
constexpr uint32_t kRoleAuditor = 1u << 2;

// One account of the machine as the certificate stores see it: where its home is and what it may.
struct QelUser {
  std::string name;
  std::string home;  // pw_dir
  uint32_t uid = 0;
  uint32_t gid = 0;
  uint32_t role = 0;  // mask of kRole* bits
};

inline bool operator==(const QelUser& a, const QelUser& b) {
  return a.name == b.name && a.home == b.home && a.uid == b.uid && a.gid == b.gid &&
         a.role == b.role;
}

}  // namespace qel
