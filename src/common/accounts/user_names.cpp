#include <pwd.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "account_paths.h"
#include "orv/check.h"
#include "qel/tools/accounts.h"
#include "text_conversion.h"

namespace qel::tools {
namespace {

// The look-up found nothing and did not fail: no entry, or an error number that says "unknown
// name" (EPERM, ENOENT, ESRCH, EBADF are what the name services give for that).
bool IsPlainAbsence(int error) {
  return error == 0 || error == EPERM || error == ENOENT || error == ESRCH || error == EBADF;
}

}  // namespace

result_t GetUserName(uint32_t uid, std::string& name) {
  if (uid == 0) {
    name = "root";
    return orv::errors::kOk;
  }
  std::vector<char> buffer(accounts::kEntryBufferSize);
  passwd entry{};
  passwd* found = nullptr;
  const int error = getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found);
  if (found == nullptr) {
    name.clear();
    return error == 0 ? orv::errors::kNotFound : orv::errors::kUnspecified;
  }
  name = found->pw_name;
  return orv::errors::kOk;
}

result_t GetUidByName(orv::ITracer* tracer, const std::string& name, uint32_t& uid) {
  std::vector<char> buffer(accounts::kEntryBufferSize);
  passwd entry{};
  passwd* ent = nullptr;
  const int error = getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &ent);
  if (ent != nullptr) {
    uid = ent->pw_uid;
    return orv::errors::kOk;
  }
  if (IsPlainAbsence(error)) {
    return orv::errors::kNotFound;
  }
  char text[256];
  orv::TraceIfFailed(tracer, orv::errors::kUnspecified, __FILE__, __LINE__, "ent != nullptr")
      << "Failed to lookup user " << name.c_str()
      << " in database: " << strerror_r(error, text, sizeof(text));
  return orv::errors::kUnspecified;
}

result_t GetUserInfo(uint32_t uid, UserInfo& info) {
  std::string name;
  if (ORV_FAILED(GetUserName(uid, name))) {
    return orv::errors::kUnspecified;
  }
  info.name = orv::types::string16_t(orv::WidenBytes(name));
  info.uid = uid;
  return orv::errors::kOk;
}

result_t GetCurrentUserInfo(UserInfo& info) { return GetUserInfo(getuid(), info); }

}  // namespace qel::tools
