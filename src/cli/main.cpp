// The lomarind program: reads the command line, answers one question and
// exits 0, 1 when the question could not be answered, 2 for a usage error,
// or 130 when Ctrl-C (or SIGTERM) interrupted `lomarind index`.
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/run_command.h"
#include "cli/stream_log_sink.h"

namespace {

using namespace lomarind::cli;

// Raised by SIGINT or SIGTERM so that `lomarind index` can stop between
// files and leave the previous index whole. A signal handler receives no
// argument, so the flag it sets has to be static; this is the program's only
// such object, and the handler does nothing but store to it.
std::atomic<bool>& stop_requested() {
  static std::atomic<bool> flag{false};
  return flag;
}

static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void request_stop(int) { stop_requested().store(true); }

// SA_RESETHAND: the first signal asks politely, a second one ends the
// program at once.
void install_stop_handlers() {
  struct sigaction action {};
  action.sa_handler = request_stop;
  action.sa_flags = SA_RESETHAND;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool colour_wanted() { return ::isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr; }

// The columns tables must fit: COLUMNS when set, else the terminal's own;
// 0 (never cut) when stdout is no terminal, so piped output stays whole.
std::size_t terminal_width() {
  if (::isatty(STDOUT_FILENO) != 1) return 0;
  if (const char* columns = std::getenv("COLUMNS")) {
    char* end = nullptr;
    const long value = std::strtol(columns, &end, 10);
    if (end != columns && *end == '\0' && value > 0) return static_cast<std::size_t>(value);
  }
  struct winsize size {};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const ParsedCommandLine parsed =
      parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
  if (!parsed.command_line) {
    std::cout << parsed.out << std::flush;
    std::cerr << parsed.err << std::flush;
    return parsed.exit_code;
  }
  if (std::holds_alternative<IndexArgs>(parsed.command_line->command)) install_stop_handlers();
  const StreamLogSink sink(std::cerr);
  const Terminal terminal{std::cout, std::cerr,
                          RenderOptions{.colour = colour_wanted(),
                                        .now = std::chrono::floor<std::chrono::seconds>(
                                            std::chrono::system_clock::now()),
                                        .width = terminal_width()},
                          ::isatty(STDERR_FILENO) == 1};
  try {
    return run_command(*parsed.command_line, terminal, sink, stop_requested());
  } catch (...) {
    const int code = report_failure(std::current_exception(), std::cerr);
    return stop_requested().load() ? kExitInterrupted : code;
  }
}
