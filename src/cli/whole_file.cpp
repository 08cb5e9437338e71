#include "cli/whole_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "cli/display_text.h"
#include "lomarind/process/blocked_signals.h"

namespace lomarind::cli {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& path, std::string_view why) {
  throw std::runtime_error(fmt::format("cannot write {}: {}", quoted_text(path.string()), why));
}

[[noreturn]] void fail_errno(const fs::path& path, int error) {
  fail(path,
       std::string(std::strerror(error)) + "; pass --output a file in a folder you can write");
}

// A new file beside `path`, created exclusively so that nothing else's file
// is ever opened; hidden, so a folder listing does not show it meanwhile.
int create_temporary(const FileEnv& env, const fs::path& path, fs::path& temporary) {
  std::random_device seed;
  for (int attempt = 0; attempt < 100; ++attempt) {
    temporary =
        path.parent_path() / fmt::format(".{}.{:08x}.tmp", path.filename().string(), seed());
    const int fd =
        env.open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  errno = EEXIST;
  return -1;
}

bool write_all(const FileEnv& env, int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = env.write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

void write_whole_file(const fs::path& path, std::string_view content, const FileEnv& env) {
  const fs::path target = path.has_parent_path() ? path : fs::path(".") / path;
  struct stat existing {};
  const bool exists = env.lstat(target.c_str(), &existing) == 0;
  if (exists && S_ISDIR(existing.st_mode)) fail(path, "it is a folder; pass a file name");
  if (exists && S_ISLNK(existing.st_mode)) {
    fail(path, "it is a symbolic link; pass the file it points to");
  }
  if (exists && !S_ISREG(existing.st_mode)) fail(path, "it is no regular file; pass a file name");

  // A signal that arrives while the temporary file exists takes effect once
  // it is renamed or removed: nothing is left beside the output.
  const BlockedSignals held;
  fs::path temporary;
  const int fd = create_temporary(env, target, temporary);
  if (fd < 0) fail_errno(path, errno);
  // A replaced file keeps who may read it.
  bool ok = !exists || env.fchmod(fd, existing.st_mode & 07777) == 0;
  ok = ok && write_all(env, fd, content) && env.fsync(fd) == 0;
  int error = errno;
  if (env.close(fd) != 0 && ok) {
    ok = false;
    error = errno;
  }
  if (ok && env.rename(temporary.c_str(), target.c_str()) != 0) {
    ok = false;
    error = errno;
  }
  if (!ok) {
    env.unlink(temporary.c_str());
    fail_errno(path, error);
  }
}

}  // namespace lomarind::cli
