#pragma once

#include <string>

namespace certificate_manager_system {

// Inside a private mount namespace only: a USER_PROCESS record for `user` on pts/`index` written
// into /var/run/utmp with the utmp calls, as a login does. Throws std::runtime_error.
void LogIn(const std::string& user, int index);

}  // namespace certificate_manager_system
