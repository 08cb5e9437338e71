// Runs one program as a child process with an argument vector (never a
// shell), a caller-supplied environment and optional data on stdin, while
// draining stdout and stderr together so that no amount of output can
// deadlock. A child never outlives the call: it is waited for on success and
// killed and reaped when anything goes wrong, and a watchdog process kills
// it if our process dies first (child_watchdog.h). Children are started with
// posix_spawn, so a large host neither copies its page tables nor needs the
// memory for a copy. Each child leads a process group of its own, so a
// terminal's Ctrl-C reaches only us, and ending it ends what it started.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace lomarind::subprocess {

// A child that prints nothing on stdout or stderr this long is waiting on
// something that never comes: no git or ctags run of ours is otherwise
// silent that long.
inline constexpr std::chrono::seconds kInactivityLimit{300};

// How long a child that closed its outputs has to exit.
inline constexpr std::chrono::seconds kExitGrace{10};

struct Command {
  // argv[0] is a path, or a program name looked up on the PATH of
  // `environment` (empty and relative PATH entries are skipped).
  std::vector<std::string> argv;
  std::vector<std::string> environment;     // the child's whole environment, "NAME=value"
  std::string input;                        // written to stdin; empty: stdin reads /dev/null
  std::filesystem::path working_directory;  // empty: ours
  // When stdout and stderr both stay silent this long, the child is killed
  // and run() throws Timeout. Zero: no limit.
  std::chrono::milliseconds inactivity_limit{0};
  // A child that closed both outputs but has not exited this long after is
  // killed, and run() throws Timeout: it has nothing more to say, yet would
  // hold us forever.
  std::chrono::milliseconds exit_grace{kExitGrace};
  // Once *stop is true (looked at every 100 ms), the child is killed and
  // run() throws Interrupted.
  const std::atomic<bool>* stop = nullptr;
  // Runs once each time both outputs have been silent for `silence_check`
  // (zero: never); if it throws, the child is killed and the exception
  // propagates. For a costly look at why a child may be stuck.
  std::chrono::milliseconds silence_check{0};
  std::function<void()> on_silence{};
};

struct Result {
  int exit_status = 0;  // the exit code, or 128 + the signal that ended the child
  int signal = 0;       // the signal that ended the child; 0 when it exited
  std::string out;      // stdout, unless a sink took it
  std::string err;      // stderr
};

// Receives stdout as it arrives, in chunks of any size. If it throws, the
// child is killed and the exception propagates.
using OutputSink = std::function<void(std::string_view chunk)>;

class Interrupted : public std::runtime_error {
 public:
  explicit Interrupted(const std::string& program);
};

// The child was killed for keeping us waiting: silent past the inactivity
// limit, or, with `outputs_closed`, not exiting within the grace after it
// closed its outputs.
// "<program> printed nothing for N s and was stopped", or, with
// `outputs_closed`, that it had not exited N s after closing its output.
std::string timeout_message(const std::string& program, std::chrono::milliseconds limit,
                            bool outputs_closed);

class Timeout : public std::runtime_error {
 public:
  Timeout(const std::string& program, std::chrono::milliseconds limit, bool outputs_closed = false);
  std::chrono::milliseconds limit() const { return limit_; }
  bool outputs_closed() const { return outputs_closed_; }

 private:
  std::chrono::milliseconds limit_;
  bool outputs_closed_;
};

// Runs `command` to completion. Stdout goes to `on_stdout` when given, else
// into Result::out. A non-zero exit is no error. Throws std::system_error,
// whose text names the program, when it cannot be started (code ENOENT when
// it is not found, E2BIG when the arguments do not fit a command line), the
// pipes to it fail, or its exit status cannot be learnt.
Result run(const Command& command, const OutputSink& on_stdout = nullptr);

// A copy of this process's environment, "NAME=value" each.
std::vector<std::string> inherited_environment();

}  // namespace lomarind::subprocess
