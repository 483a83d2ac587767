#include "orv/result.h"

namespace orv {

result_t ResultFromErrno(uint32_t error) noexcept {
  switch (error) {
    case 0:
      return 0;
    case 1:   // EPERM
    case 13:  // EACCES
      return MakeResult(0x80000045);
    case 2:  // ENOENT
      return MakeResult(0x80010102);
    case 5:  // EIO
      return MakeResult(0x80000059);
    case 8:  // ENOEXEC
      return MakeResult(0x80010117);
    case 9:  // EBADF
      return MakeResult(0x80010101);
    case 12:  // ENOMEM
      return MakeResult(0x80000041);
    case 16:  // EBUSY
    case 26:  // ETXTBSY
      return MakeResult(0x8000004f);
    case 17:  // EEXIST
      return MakeResult(0x80010105);
    case 20:  // ENOTDIR
      return MakeResult(0x80010103);
    case 22:  // EINVAL
      return MakeResult(0x80000046);
    case 27:  // EFBIG
      return MakeResult(0x80000078);
    case 28:  // ENOSPC
      return MakeResult(0x80000062);
    case 36:  // ENAMETOOLONG
      return MakeResult(0x8000005c);
    case 40:  // ELOOP
      return MakeResult(0x8000006a);
    case 75:  // EOVERFLOW
      return MakeResult(0x80000044);
    case 65535:  // the module loader's marker for a missing symbol
      return MakeResult(0x80010107);
    default:
      return error <= 65535 ? MakeResult(0x80060000u + error) : MakeResult(0x80010100);
  }
}

}  // namespace orv
