// The file calls of the program's write paths behind one interface, as
// leveldb reaches the disk through its Env: production uses the POSIX
// calls themselves, and a test derives from it to make any call fail (a
// full disk on write, an I/O error on fsync, a rename refused) and checks
// that nothing a user owns was lost.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

namespace lomarind {

// Each call is the POSIX call of its name, with its return value and errno.
class FileEnv {
 public:
  virtual ~FileEnv() = default;

  virtual int open(const char* path, int flags, mode_t mode) const;
  virtual ssize_t write(int fd, const void* data, size_t size) const;
  virtual int fchmod(int fd, mode_t mode) const;
  virtual int fsync(int fd) const;
  virtual int close(int fd) const;
  virtual int rename(const char* from, const char* to) const;
  virtual int unlink(const char* path) const;
  virtual int lstat(const char* path, struct stat* status) const;
};

// The POSIX calls themselves. Stateless, so one object serves every caller.
const FileEnv& posix_file_env();

}  // namespace lomarind
