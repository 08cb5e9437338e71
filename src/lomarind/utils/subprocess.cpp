#include "lomarind/utils/subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>
#include <utility>

#include "lomarind/utils/child_pipes.h"
#include "lomarind/utils/program_path.h"

extern char** environ;

namespace lomarind::subprocess {
namespace {

// Small enough to come from the heap rather than a fresh mapping, so
// that each command does not fault in a new buffer; git writes in pages.
constexpr std::size_t kReadChunk = 64 * 1024;
constexpr int kPipeSize = 1 << 20;  // fewer wake-ups for large outputs

std::vector<char*> c_strings(const std::vector<std::string>& strings) {
  std::vector<char*> out;
  out.reserve(strings.size() + 1);
  for (const std::string& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

// Owns a started child, the leader of its own process group: unless it was
// waited for, the whole group is killed and reaped, so that no exit path
// leaves it (or a program it started) running, or a zombie behind.
class ChildProcess {
 public:
  ChildProcess(pid_t pid, std::string name) : pid_(pid), name_(std::move(name)) {
    ::setpgid(pid_, pid_);  // also done by the child: whichever runs first wins the race
  }
  ~ChildProcess() {
    if (pid_ > 0) {
      ::kill(-pid_, SIGKILL);
      ::kill(pid_, SIGKILL);
      while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
      }
    }
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Returns the wait status. A host that ignores SIGCHLD has the kernel reap
  // its children, and then no exit status can be known: that is an error,
  // never a success.
  int wait() {
    int status = 0;
    pid_t waited;
    while ((waited = ::waitpid(pid_, &status, 0)) < 0 && errno == EINTR) {
    }
    const int error = errno;
    pid_ = -1;
    if (waited < 0) {
      std::string what = "cannot learn how " + name_ + " exited";
      if (error == ECHILD) {
        what +=
            " because this process ignores SIGCHLD; restore SIGCHLD's default action (SIG_DFL) "
            "in the host process";
      }
      throw_errno(error, what);
    }
    return status;
  }

 private:
  pid_t pid_;
  std::string name_;
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
  // A group of its own: Ctrl-C on a terminal reaches us alone, and we decide
  // how the child ends; killing the group ends whatever the child started.
  ::setpgid(0, 0);
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
  Pump(const Command& command, UniqueFd in, UniqueFd out, UniqueFd err, const OutputSink& sink,
       Result& result)
      : command_(command),
        in_(std::move(in)),
        out_(std::move(out)),
        err_(std::move(err)),
        sink_(sink),
        result_(result),
        buffer_(kReadChunk, '\0') {}

  void run() {
    last_output_ = Clock::now();
    while (out_.valid() || err_.valid()) {
      check_limits();
      pollfd fds[3] = {{out_.get(), POLLIN, 0}, {err_.get(), POLLIN, 0}, {in_.get(), POLLOUT, 0}};
      if (::poll(fds, 3, poll_timeout()) < 0) {
        if (errno == EINTR) continue;
        throw_errno(errno, "cannot poll the output of " + name());
      }
      if (fds[0].revents != 0) drain(out_, true);
      if (fds[1].revents != 0) drain(err_, false);
      if (fds[2].revents != 0) feed();
    }
    in_.reset();
  }

 private:
  using Clock = std::chrono::steady_clock;

  const std::string& name() const { return command_.argv[0]; }

  // Milliseconds poll may wait: until the inactivity limit runs out or the
  // silence check is due, and short enough to notice a stop request
  // promptly; -1 for none of these.
  int poll_timeout() const {
    std::chrono::milliseconds wait{-1};
    const auto at_most = [&wait](std::chrono::milliseconds other) {
      wait = wait.count() < 0 ? other : std::min(wait, other);
    };
    if (command_.inactivity_limit.count() > 0) at_most(quiet_left(command_.inactivity_limit));
    if (command_.stop != nullptr) at_most(kStopCheck);
    if (silence_check_due()) at_most(quiet_left(command_.silence_check));
    return static_cast<int>(wait.count());
  }

  // How long until the outputs will have been quiet for `span`.
  std::chrono::milliseconds quiet_left(std::chrono::milliseconds span) const {
    return std::max(std::chrono::milliseconds(0), std::chrono::ceil<std::chrono::milliseconds>(
                                                      last_output_ + span - Clock::now()));
  }

  bool silence_check_due() const {
    return command_.silence_check.count() > 0 && command_.on_silence && !silence_checked_;
  }

  void check_limits() {
    if (command_.stop != nullptr && command_.stop->load()) throw Interrupted(name());
    if (silence_check_due() && Clock::now() - last_output_ >= command_.silence_check) {
      silence_checked_ = true;
      command_.on_silence();
    }
    if (command_.inactivity_limit.count() > 0 &&
        Clock::now() - last_output_ >= command_.inactivity_limit) {
      throw Timeout(name(), command_.inactivity_limit);
    }
  }

  void drain(UniqueFd& fd, bool is_stdout) {
    ssize_t n = ::read(fd.get(), buffer_.data(), buffer_.size());
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) return;
      throw_errno(errno, "cannot read the output of " + name());
    }
    last_output_ = Clock::now();
    silence_checked_ = false;
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
    const std::string& input = command_.input;
    ssize_t n = ::send(in_.get(), input.data() + written_, input.size() - written_,
                       MSG_NOSIGNAL | MSG_DONTWAIT);
    if (n < 0) {
      if (errno == EINTR || errno == EAGAIN) return;
      if (errno != EPIPE && errno != ECONNRESET) throw_errno(errno, "cannot write to " + name());
      in_.reset();  // the child stopped reading; what it does then is its exit status's business
      return;
    }
    written_ += static_cast<std::size_t>(n);
    if (written_ == input.size()) in_.reset();
  }

  static constexpr std::chrono::milliseconds kStopCheck{100};

  const Command& command_;
  UniqueFd in_;
  std::size_t written_ = 0;
  UniqueFd out_;
  UniqueFd err_;
  const OutputSink& sink_;
  Result& result_;
  std::string buffer_;
  Clock::time_point last_output_;
  bool silence_checked_ = false;  // since the last output
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
  const std::string& name = command.argv[0];
  FdPair in = input_channel(!command.input.empty(), name);
  FdPair out = output_pipe(name);
  FdPair err = output_pipe(name);
  ::fcntl(out.ours.get(), F_SETPIPE_SZ, kPipeSize);  // best effort
  FdPair report = output_pipe(name);
  ChildSetup setup{program.c_str(),
                   argv.data(),
                   envp.data(),
                   command.working_directory.empty() ? nullptr : command.working_directory.c_str(),
                   {in.child.get(), out.child.get(), err.child.get()},
                   report.child.get(),
                   ::getpid()};
  pid_t pid = ::fork();
  if (pid < 0) throw_errno(errno, "cannot start " + name);
  if (pid == 0) exec_child(setup);
  ChildProcess child(pid, name);
  in.child.reset();
  out.child.reset();
  err.child.reset();
  report.child.reset();
  if (int error = exec_error(report.ours); error != 0) {
    child.wait();
    throw_errno(error, "cannot run " + name);
  }
  Result result;
  Pump(command, std::move(in.ours), std::move(out.ours), std::move(err.ours), on_stdout, result)
      .run();
  fill_status(child.wait(), result);
  return result;
}

Interrupted::Interrupted(const std::string& program)
    : std::runtime_error(program + " was stopped: the run was interrupted") {}

Timeout::Timeout(const std::string& program, std::chrono::milliseconds limit)
    : std::runtime_error(program + " printed nothing for " +
                         std::to_string(std::chrono::ceil<std::chrono::seconds>(limit).count()) +
                         " s and was stopped"),
      limit_(limit) {}

std::vector<std::string> inherited_environment() {
  std::vector<std::string> env;
  for (char** entry = environ; *entry != nullptr; ++entry) env.emplace_back(*entry);
  return env;
}

}  // namespace lomarind::subprocess
