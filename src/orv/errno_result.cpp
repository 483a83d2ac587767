#include "orv/result.h"

namespace orv {

result_t ResultFromErrno(uint32_t error) noexcept {
  switch (error) {
    case 0:
      return errors::kOk;
    case 1:   // EPERM
    case 13:  // EACCES
      return errors::kAccessDenied;
    case 2:  // ENOENT
      return errors::kFileNotFound;
    case 5:  // EIO
      return errors::kMediaError;
    case 8:  // ENOEXEC
      return errors::kSystemImageBadFormat;
    case 9:  // EBADF
      return errors::kInvalidHandle;
    case 12:  // ENOMEM
      return errors::kOutOfMemory;
    case 16:  // EBUSY
    case 26:  // ETXTBSY
      return errors::kLocked;
    case 17:  // EEXIST
      return errors::kAlreadyExists;
    case 20:  // ENOTDIR
      return errors::kPathNotFound;
    case 22:  // EINVAL
      return errors::kInvalidArgument;
    case 27:  // EFBIG
      return errors::kFileTooBig;
    case 28:  // ENOSPC
      return errors::kOutOfSpace;
    case 36:  // ENAMETOOLONG
      return errors::kInvalidSize;
    case 40:  // ELOOP
      return errors::kInvalidState;
    case 75:  // EOVERFLOW
      return errors::kBufferTooSmall;
    case 65535:  // the module loader's marker for a missing symbol
      return errors::kSymbolNotFound;
    default:
      return error <= 65535 ? MakeResult(0x80060000u + error) : errors::kUnspecifiedPlatformError;
  }
}

}  // namespace orv
