#include "lomarind/process/child_watchdog.h"

#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <mutex>
#include <new>
#include <set>
#include <string>

#include "lomarind/process/spawn_setup.h"

namespace lomarind::subprocess {
namespace {

// Reads "+<pid>" and "-<pid>" lines; at end of input (we ended) kills the
// groups still registered. Builtins only: nothing to find on a PATH.
constexpr char kScript[] = R"sh(trap '' INT TERM HUP QUIT PIPE
groups=' '
while read -r line; do
  pid=${line#?}
  case $line in
    +*) groups="$groups$pid " ;;
    -*) case $groups in *" $pid "*) groups="${groups%% $pid *} ${groups#* $pid }" ;; esac ;;
  esac
done
for pid in $groups; do kill -9 -$pid 2>/dev/null; done
)sh";

// The running watchdog, and the groups it guards. One per process, as its
// children are, built on first use and never destroyed: a thread may still
// start a child while the process exits.
class Watchdog {
 public:
  static Watchdog& instance() {
    alignas(Watchdog) static unsigned char storage[sizeof(Watchdog)];
    static Watchdog* const watchdog = ::new (storage) Watchdog();
    return *watchdog;
  }

  void watch(pid_t pid) {
    const std::lock_guard<std::mutex> lock(mutex_);
    groups_.insert(pid);
    if (!tell('+', pid)) restart();
  }

  void unwatch(pid_t pid) {
    const std::lock_guard<std::mutex> lock(mutex_);
    groups_.erase(pid);
    if (!tell('-', pid)) restart();
  }

 private:
  Watchdog() {
    ::pthread_atfork([] { instance().mutex_.lock(); }, [] { instance().mutex_.unlock(); },
                     [] { instance().forget_after_fork(); });
  }

  // In a forked child: the parent's watchdog and children are not ours.
  void forget_after_fork() {
    socket_.reset();
    pid_ = -1;
    unavailable_ = false;
    groups_.clear();
    mutex_.unlock();
  }

  bool tell(char op, pid_t pid) {
    if (!socket_.valid()) return false;
    const std::string line = op + std::to_string(pid) + "\n";
    ssize_t sent;
    while ((sent = ::send(socket_.get(), line.data(), line.size(), MSG_NOSIGNAL)) < 0 &&
           errno == EINTR) {
    }
    return sent == static_cast<ssize_t>(line.size());
  }

  // Starts a watchdog (the first, or after one died) and tells it every
  // group there is to guard.
  void restart() {
    if (unavailable_) return;
    socket_.reset();
    if (pid_ > 0) ::waitpid(pid_, nullptr, WNOHANG);
    pid_ = -1;
    if (!start()) {
      unavailable_ = true;  // no /bin/sh, say: not tried again for every child
      return;
    }
    for (pid_t group : groups_) {
      if (!tell('+', group)) return;
    }
  }

  bool start();

  std::mutex mutex_;
  UniqueFd socket_;  // our end; the watchdog reads the other one
  pid_t pid_ = -1;
  bool unavailable_ = false;
  std::set<pid_t> groups_;
};

bool Watchdog::start() {
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return false;
  UniqueFd ours(ends[0]);
  const UniqueFd theirs(ends[1]);
  const UniqueFd null(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  if (!null.valid()) return false;
  const std::vector<std::string> args = {"/bin/sh", "-c", kScript};
  const std::vector<std::string> environment = {"PATH=/usr/bin:/bin"};
  try {
    const int stdio[3] = {theirs.get(), null.get(), null.get()};
    const FileActions actions(stdio);
    const Attributes attributes;
    if (::posix_spawn(&pid_, args[0].c_str(), actions.get(), attributes.get(),
                      c_strings(args).data(), c_strings(environment).data()) != 0) {
      pid_ = -1;
      return false;
    }
  } catch (const std::system_error&) {
    return false;
  }
  socket_ = std::move(ours);
  return true;
}

}  // namespace

void watch_group(pid_t pid) { Watchdog::instance().watch(pid); }

void unwatch_group(pid_t pid) { Watchdog::instance().unwatch(pid); }

}  // namespace lomarind::subprocess
