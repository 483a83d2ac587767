#include "qel/tools/system_error.h"

#include <cerrno>

#include "orv/exception.h"

namespace qel::tools {

void ThrowSystemError(const char* function, const char* file, uint32_t line) {
  const int error = errno;
  orv::SystemException exception(file, line, orv::ResultFromErrno(static_cast<uint32_t>(error)));
  exception << "System function '" << function << "' ends with error. In " << file << ":" << line;
  throw exception;
}

}  // namespace qel::tools
