/* A library that a user could name on a "library=" line of pkcs11.txt: loading it runs its
   constructor, which leaves the file named by TTI_MARKER. */
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

__attribute__((constructor)) static void LeaveMarker(void) {
  const char* path = getenv("TTI_MARKER");
  if (path == NULL) {
    return;
  }
  int fd = open(path, O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
  if (fd >= 0) {
    close(fd);
  }
}
