// Runs one program as a child process with an argument vector (never a
// shell), a caller-supplied environment and optional data on stdin, while
// draining stdout and stderr together so that no amount of output can
// deadlock. A child never outlives the call: it is waited for on success and
// killed and reaped when anything goes wrong, and on Linux the kernel kills
// it if our process dies first.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace lomarind::subprocess {

struct Command {
  // argv[0] is a path, or a program name looked up on the PATH of
  // `environment` (empty and relative PATH entries are skipped).
  std::vector<std::string> argv;
  std::vector<std::string> environment;     // the child's whole environment, "NAME=value"
  std::string input;                        // written to stdin; empty: stdin reads /dev/null
  std::filesystem::path working_directory;  // empty: ours
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

// Runs `command` to completion. Stdout goes to `on_stdout` when given, else
// into Result::out. A non-zero exit is no error. Throws std::system_error
// when the program cannot be started (code ENOENT when it is not found) or
// the pipes to it fail.
Result run(const Command& command, const OutputSink& on_stdout = nullptr);

// A copy of this process's environment, "NAME=value" each.
std::vector<std::string> inherited_environment();

}  // namespace lomarind::subprocess
