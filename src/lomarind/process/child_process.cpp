#include "lomarind/process/child_process.h"

#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "lomarind/process/child_watchdog.h"
#include "lomarind/process/spawn_setup.h"
#include "lomarind/process/subprocess.h"

namespace lomarind::subprocess {
namespace {

// A system call's result, repeated while a signal interrupts it.
template <typename Call>
auto retried(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

ChildProcess::ChildProcess(const ChildSpec& spec) : name_(spec.argv.at(0)) {
  std::vector<char*> argv = c_strings(spec.argv);
  std::vector<char*> envp = c_strings(spec.environment);
  const FileActions actions(spec.stdio, spec.working_directory);
  const Attributes attributes;
  // glibc reports a failed exec here, having reaped that child.
  if (const int error = ::posix_spawn(&pid_, spec.program.c_str(), actions.get(), attributes.get(),
                                      argv.data(), envp.data());
      error != 0) {
    throw_errno(error, "cannot run " + name_);
  }
  watch_group(pid_);
  // Through syscall(): glibc 2.36 declares pidfd_open without C linkage for
  // C++. Absent on an old kernel; wait() then polls.
  exited_ = UniqueFd(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
}

// The child is unwatched only once it has exited, while its number is
// still taken (waitid's WNOWAIT leaves it a zombie), and reaped after that.
ChildProcess::~ChildProcess() {
  if (pid_ <= 0) return;
  ::kill(-pid_, SIGKILL);
  ::kill(pid_, SIGKILL);
  siginfo_t info;
  retried([&] { return ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT); });
  unwatch_group(pid_);
  retried([&] { return ::waitpid(pid_, nullptr, 0); });
}

std::optional<int> ChildProcess::try_reap() {
  siginfo_t info{};
  if (retried([&] {
        return ::waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT);
      }) == 0 &&
      info.si_pid == 0) {
    return std::nullopt;  // still running
  }
  unwatch_group(pid_);
  const pid_t pid = std::exchange(pid_, -1);
  int status = 0;
  if (retried([&] { return ::waitpid(pid, &status, 0); }) < 0) {
    const int error = errno;
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
    const auto span =
        std::min({left, stop != nullptr ? kStopCheck : left, exited_.valid() ? left : nap});
    pollfd exited{exited_.get(), POLLIN, 0};
    ::poll(&exited, exited_.valid() ? 1 : 0, static_cast<int>(span.count()));
    nap = std::min(nap * 2, kStopCheck);
  }
}

}  // namespace lomarind::subprocess
