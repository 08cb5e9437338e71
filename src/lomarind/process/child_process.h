// A started child process, leader of a process group of its own, owned
// until it has been waited for: on every other exit path the whole group is
// killed and reaped, so that nothing it started outlives the call that
// started it, and no zombie is left behind. Internal to subprocess.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "lomarind/process/child_pipes.h"

namespace lomarind::subprocess {

// How often a wait looks whether it was asked to stop.
inline constexpr std::chrono::milliseconds kStopCheck{100};

// What to start; the references must outlive the constructor call only.
struct ChildSpec {
  std::string program;                             // a path
  const std::vector<std::string>& argv;            // argv[0] names the child in messages
  const std::vector<std::string>& environment;     // "NAME=value", the whole environment
  const std::filesystem::path& working_directory;  // empty: ours
  int stdio[3];                                    // become its stdin, stdout, stderr
};

class ChildProcess {
 public:
  // Starts `spec` with every signal at its default action and none blocked,
  // and no descriptor of ours but `spec.stdio`. Throws std::system_error
  // with the errno of the failure (ENOENT: no such program) when it cannot
  // be started.
  explicit ChildProcess(const ChildSpec& spec);
  // Unless wait() returned, kills the child's group and reaps the child.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Waits for the child to exit and returns its wait status. After `limit`,
  // or once *stop is true (looked at every 100 ms), the group is killed and
  // Timeout or Interrupted thrown. A host that ignores SIGCHLD has the
  // kernel reap its children, and then no exit status can be known:
  // std::system_error, never a success.
  int wait(std::chrono::milliseconds limit, const std::atomic<bool>* stop);

 private:
  // The wait status once the child has exited. Throws std::system_error
  // when it cannot be learnt.
  std::optional<int> try_reap();

  pid_t pid_;
  std::string name_;
  UniqueFd exited_;  // readable once the child exits; may be absent
};

}  // namespace lomarind::subprocess
