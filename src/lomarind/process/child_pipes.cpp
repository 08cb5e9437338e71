#include "lomarind/process/child_pipes.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace lomarind::subprocess {
namespace {

// Keeps our descriptors off 0..2, so that the child's dup2 onto its standard
// descriptors cannot overwrite one it still needs (when we run with a closed
// stdin, say).
UniqueFd above_stdio(UniqueFd fd, const std::string& program) {
  if (fd.get() > 2) return fd;
  int moved = ::fcntl(fd.get(), F_DUPFD_CLOEXEC, 3);
  if (moved < 0) throw_errno(errno, "cannot duplicate a descriptor for " + program);
  return UniqueFd(moved);
}

}  // namespace

void throw_errno(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

FdPair output_pipe(const std::string& program) {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) throw_errno(errno, "cannot create a pipe for " + program);
  return {above_stdio(UniqueFd(fds[0]), program), above_stdio(UniqueFd(fds[1]), program)};
}

// A socket rather than a pipe, so that writing to a child that stopped
// reading fails with EPIPE (send's MSG_NOSIGNAL) instead of raising SIGPIPE
// in our process.
FdPair input_channel(bool has_input, const std::string& program) {
  if (!has_input) {
    UniqueFd null_fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!null_fd.valid()) throw_errno(errno, "cannot open /dev/null for " + program);
    return {UniqueFd(), above_stdio(std::move(null_fd), program)};
  }
  int fds[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
    throw_errno(errno, "cannot create a socket pair for " + program);
  }
  return {above_stdio(UniqueFd(fds[0]), program), above_stdio(UniqueFd(fds[1]), program)};
}

}  // namespace lomarind::subprocess
