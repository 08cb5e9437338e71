#include "lomarind/utils/subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "lomarind/utils/program_path.h"

extern char** environ;

namespace lomarind::subprocess {
namespace {

// Small enough to come from the heap rather than a fresh mapping, so
// that each command does not fault in a new buffer; git writes in pages.
constexpr std::size_t kReadChunk = 64 * 1024;
constexpr int kPipeSize = 1 << 20;  // fewer wake-ups for large outputs

[[noreturn]] void throw_errno(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd() { reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) {
      reset();
      fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
  }

  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

// Keeps our descriptors off 0..2, so that the child's dup2 onto its standard
// descriptors cannot overwrite one it still needs (when we run with a closed
// stdin, say).
UniqueFd above_stdio(UniqueFd fd) {
  if (fd.get() > 2) return fd;
  int moved = ::fcntl(fd.get(), F_DUPFD_CLOEXEC, 3);
  if (moved < 0) throw_errno(errno, "cannot duplicate a descriptor");
  return UniqueFd(moved);
}

struct FdPair {
  UniqueFd ours;
  UniqueFd child;
};

// `ours` reads what the child writes.
FdPair output_pipe() {
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) throw_errno(errno, "cannot create a pipe");
  return {above_stdio(UniqueFd(fds[0])), above_stdio(UniqueFd(fds[1]))};
}

// A socket rather than a pipe, so that writing to a child that stopped
// reading fails with EPIPE (send's MSG_NOSIGNAL) instead of raising SIGPIPE
// in our process.
FdPair input_channel(bool has_input) {
  if (!has_input) {
    UniqueFd null_fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!null_fd.valid()) throw_errno(errno, "cannot open /dev/null");
    return {UniqueFd(), above_stdio(std::move(null_fd))};
  }
  int fds[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
    throw_errno(errno, "cannot create a socket pair");
  }
  return {above_stdio(UniqueFd(fds[0])), above_stdio(UniqueFd(fds[1]))};
}

std::vector<char*> c_strings(const std::vector<std::string>& strings) {
  std::vector<char*> out;
  out.reserve(strings.size() + 1);
  for (const std::string& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// Owns a started child: unless it was waited for, it is killed and reaped,
// so that no exit path leaves it running or a zombie behind.
class ChildProcess {
 public:
  explicit ChildProcess(pid_t pid) : pid_(pid) {}
  ~ChildProcess() {
    if (pid_ > 0) {
      ::kill(pid_, SIGKILL);
      wait();
    }
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Returns the wait status.
  int wait() {
    int status = 0;
    while (::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status;
  }

 private:
  pid_t pid_;
};

struct ChildSetup {
  const char* program;
  char* const* argv;
  char* const* envp;
  const char* working_directory;  // null: ours
  int stdio[3];
  int report;  // receives errno when the exec fails
  pid_t parent;
};

// Runs between fork and exec, so it makes system calls only.
[[noreturn]] void exec_child(const ChildSetup& setup) {
  // The kernel kills the child when the thread that started it dies, on any
  // exit path, a fatal signal included.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != setup.parent) ::_exit(127);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  struct sigaction default_action {};
  default_action.sa_handler = SIG_DFL;
  ::sigaction(SIGPIPE, &default_action, nullptr);  // a host may ignore it; exec keeps that
  bool ready = true;
  for (int i = 0; i < 3 && ready; ++i) ready = ::dup2(setup.stdio[i], i) == i;
  if (ready && setup.working_directory != nullptr) ready = ::chdir(setup.working_directory) == 0;
  if (ready) {
    ::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC);  // descriptors a host left inheritable
    ::execve(setup.program, setup.argv, setup.envp);
  }
  int error = errno;
  [[maybe_unused]] ssize_t ignored = ::write(setup.report, &error, sizeof error);
  ::_exit(127);
}

// Blocks until the child has exec'd (0) or failed to (its errno).
int exec_error(const UniqueFd& report) {
  int error = 0;
  ssize_t n;
  while ((n = ::read(report.get(), &error, sizeof error)) < 0 && errno == EINTR) {
  }
  return n == static_cast<ssize_t>(sizeof error) ? error : 0;
}

// Moves data between us and a running child until it closes stdout and
// stderr. Stdin is fed as the child reads it, never blocking the drain.
class Pump {
 public:
  Pump(UniqueFd in, std::string_view input, UniqueFd out, UniqueFd err, const OutputSink& sink,
       Result& result)
      : in_(std::move(in)),
        input_(input),
        out_(std::move(out)),
        err_(std::move(err)),
        sink_(sink),
        result_(result),
        buffer_(kReadChunk, '\0') {}

  void run() {
    while (out_.valid() || err_.valid()) {
      pollfd fds[3] = {{out_.get(), POLLIN, 0}, {err_.get(), POLLIN, 0}, {in_.get(), POLLOUT, 0}};
      if (::poll(fds, 3, -1) < 0) {
        if (errno == EINTR) continue;
        throw_errno(errno, "cannot poll a child's output");
      }
      if (fds[0].revents != 0) drain(out_, true);
      if (fds[1].revents != 0) drain(err_, false);
      if (fds[2].revents != 0) feed();
    }
    in_.reset();
  }

 private:
  void drain(UniqueFd& fd, bool is_stdout) {
    ssize_t n = ::read(fd.get(), buffer_.data(), buffer_.size());
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) return;
      throw_errno(errno, "cannot read a child's output");
    }
    if (n == 0) {
      fd.reset();
      return;
    }
    std::string_view chunk(buffer_.data(), static_cast<std::size_t>(n));
    if (!is_stdout) {
      result_.err.append(chunk);
    } else if (sink_) {
      sink_(chunk);
    } else {
      result_.out.append(chunk);
    }
  }

  void feed() {
    ssize_t n = ::send(in_.get(), input_.data() + written_, input_.size() - written_,
                       MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) return;
      if (errno != EPIPE && errno != ECONNRESET) throw_errno(errno, "cannot write to a child");
      in_.reset();  // the child stopped reading; what it does then is its exit status's business
      return;
    }
    written_ += static_cast<std::size_t>(n);
    if (written_ == input_.size()) in_.reset();
  }

  UniqueFd in_;
  std::string_view input_;
  std::size_t written_ = 0;
  UniqueFd out_;
  UniqueFd err_;
  const OutputSink& sink_;
  Result& result_;
  std::string buffer_;
};

void fill_status(int status, Result& result) {
  if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
    result.exit_status = 128 + result.signal;
  } else {
    result.exit_status = WEXITSTATUS(status);
  }
}

}  // namespace

Result run(const Command& command, const OutputSink& on_stdout) {
  if (command.argv.empty()) throw_errno(EINVAL, "no program to run");
  std::string program = find_program(command.argv[0], command.environment);
  std::vector<char*> argv = c_strings(command.argv);
  std::vector<char*> envp = c_strings(command.environment);
  FdPair in = input_channel(!command.input.empty());
  FdPair out = output_pipe();
  FdPair err = output_pipe();
  ::fcntl(out.ours.get(), F_SETPIPE_SZ, kPipeSize);  // best effort
  FdPair report = output_pipe();
  ChildSetup setup{program.c_str(),
                   argv.data(),
                   envp.data(),
                   command.working_directory.empty() ? nullptr : command.working_directory.c_str(),
                   {in.child.get(), out.child.get(), err.child.get()},
                   report.child.get(),
                   ::getpid()};
  pid_t pid = ::fork();
  if (pid < 0) throw_errno(errno, "cannot start " + command.argv[0]);
  if (pid == 0) exec_child(setup);
  ChildProcess child(pid);
  in.child.reset();
  out.child.reset();
  err.child.reset();
  report.child.reset();
  if (int error = exec_error(report.ours); error != 0) {
    child.wait();
    throw_errno(error, "cannot run " + command.argv[0]);
  }
  Result result;
  Pump(std::move(in.ours), command.input, std::move(out.ours), std::move(err.ours), on_stdout,
       result)
      .run();
  fill_status(child.wait(), result);
  return result;
}

std::vector<std::string> inherited_environment() {
  std::vector<std::string> env;
  for (char** entry = environ; *entry != nullptr; ++entry) env.emplace_back(*entry);
  return env;
}

}  // namespace lomarind::subprocess
