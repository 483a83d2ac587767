#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace accounts_test {

// A login record to write into the sandbox's utmp.
struct Login {
  short type;  // USER_PROCESS, LOGIN_PROCESS, ...
  std::string user;
  std::string line;
};

// Files of the sandbox's /etc by name ("passwd", "group", "login.defs"); one absent is not made.
using EtcFiles = std::map<std::string, std::string>;

// Runs `body` in a forked process in a private mount namespace with fresh tmpfs over /etc and
// /var/run, holding only `etc`, an nsswitch.conf of plain files and (unless `logins` is empty) a
// utmp with those records. The body's gtest failures are reported there; here the test fails when
// the body failed or the namespace could not be made.
void RunInAccountSandbox(const EtcFiles& etc, const std::vector<Login>& logins, void (*body)());

}  // namespace accounts_test
