#include "system/certificate_manager/login_record.h"

#include <utmp.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace certificate_manager_system {

void LogIn(const std::string& user, int index) {
  if (utmpname("/var/run/utmp") != 0) {
    throw std::runtime_error("utmpname");
  }
  utmp record{};
  record.ut_type = USER_PROCESS;
  record.ut_pid = 3000 + index;
  std::snprintf(record.ut_id, sizeof(record.ut_id), "s%u", static_cast<unsigned>(index) % 100u);
  std::snprintf(record.ut_line, sizeof(record.ut_line), "pts/%d", index);
  std::strncpy(record.ut_user, user.c_str(), sizeof(record.ut_user) - 1);
  setutent();
  const bool written = pututline(&record) != nullptr;
  endutent();
  if (!written) {
    throw std::runtime_error("pututline");
  }
}

}  // namespace certificate_manager_system
