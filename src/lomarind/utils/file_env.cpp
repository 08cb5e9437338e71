#include "lomarind/utils/file_env.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace lomarind {

int FileEnv::open(const char* path, int flags, mode_t mode) const {
  return ::open(path, flags, mode);
}

ssize_t FileEnv::write(int fd, const void* data, size_t size) const {
  return ::write(fd, data, size);
}

int FileEnv::fchmod(int fd, mode_t mode) const { return ::fchmod(fd, mode); }

int FileEnv::fsync(int fd) const { return ::fsync(fd); }

int FileEnv::close(int fd) const { return ::close(fd); }

int FileEnv::rename(const char* from, const char* to) const { return std::rename(from, to); }

int FileEnv::unlink(const char* path) const { return ::unlink(path); }

int FileEnv::lstat(const char* path, struct stat* status) const { return ::lstat(path, status); }

const FileEnv& posix_file_env() {
  static const FileEnv env;
  return env;
}

}  // namespace lomarind
