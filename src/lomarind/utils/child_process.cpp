#include "lomarind/utils/child_process.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "lomarind/utils/subprocess.h"

namespace lomarind::subprocess {
namespace {

constexpr std::chrono::milliseconds kStopCheck{100};

std::vector<char*> c_strings(const std::vector<std::string>& strings) {
  std::vector<char*> out;
  out.reserve(strings.size() + 1);
  for (const std::string& s : strings) out.push_back(const_cast<char*>(s.c_str()));
  out.push_back(nullptr);
  return out;
}

struct ExecSetup {
  const char* program;
  char* const* argv;
  char* const* envp;
  const char* working_directory;  // null: ours
  const int* stdio;
  int report;  // receives errno when the exec fails
  pid_t parent;
};

// Runs between fork and exec, so it makes system calls only.
[[noreturn]] void exec_child(const ExecSetup& setup) {
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
  for (int signal = 1; signal < NSIG; ++signal) ::sigaction(signal, &default_action, nullptr);
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

}  // namespace

ChildProcess::ChildProcess(const ChildSpec& spec) : name_(spec.argv.at(0)) {
  std::vector<char*> argv = c_strings(spec.argv);
  std::vector<char*> envp = c_strings(spec.environment);
  FdPair report = output_pipe(name_);
  const ExecSetup setup{
      spec.program.c_str(), argv.data(), envp.data(),
      spec.working_directory.empty() ? nullptr : spec.working_directory.c_str(),
      spec.stdio,           report.child.get(),
      ::getpid()};
  pid_ = ::fork();
  if (pid_ < 0) throw_errno(errno, "cannot start " + name_);
  if (pid_ == 0) exec_child(setup);
  ::setpgid(pid_, pid_);  // also done by the child: whichever runs first wins the race
  // Through syscall(): glibc 2.36 declares pidfd_open without C linkage for
  // C++. Absent on an old kernel; wait() then polls.
  exited_ = UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  report.child.reset();
  if (const int error = exec_error(report.ours); error != 0) {
    while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    throw_errno(error, "cannot run " + name_);
  }
}

ChildProcess::~ChildProcess() {
  if (pid_ <= 0) return;
  kill_group();
  while (::waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void ChildProcess::kill_group() {
  ::kill(-pid_, SIGKILL);
  ::kill(pid_, SIGKILL);
}

std::optional<int> ChildProcess::try_reap() {
  int status = 0;
  pid_t waited;
  while ((waited = ::waitpid(pid_, &status, WNOHANG)) < 0 && errno == EINTR) {
  }
  if (waited == 0) return std::nullopt;
  if (waited < 0) {
    const int error = errno;
    pid_ = -1;
    std::string what = "cannot learn how " + name_ + " exited";
    if (error == ECHILD) {
      what +=
          " because this process ignores SIGCHLD; restore SIGCHLD's default action (SIG_DFL) "
          "in the host process";
    }
    throw_errno(error, what);
  }
  pid_ = -1;
  return status;
}

int ChildProcess::wait(std::chrono::milliseconds limit, const std::atomic<bool>* stop) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + limit;
  // Without a descriptor to wait on, the waits grow from 1 ms: a child
  // that closed its outputs is usually about to exit.
  std::chrono::milliseconds nap{1};
  for (;;) {
    if (const std::optional<int> status = try_reap()) return *status;
    if (stop != nullptr && stop->load()) throw Interrupted(name_);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) throw Timeout(name_, limit, true);
    const auto span = std::min({left, stop != nullptr ? kStopCheck : left,
                                exited_.valid() ? left : nap});
    pollfd exited{exited_.get(), POLLIN, 0};
    ::poll(&exited, exited_.valid() ? 1 : 0, static_cast<int>(span.count()));
    nap = std::min(nap * 2, kStopCheck);
  }
}

}  // namespace lomarind::subprocess
