// The lomarind program: reads the command line, answers one question and
// exits 0, 1 when the question could not be answered, 2 for a usage error,
// and 128 + the signal when SIGINT (130) or SIGTERM (143) stopped it.
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "cli/command_line.h"
#include "cli/run_command.h"
#include "cli/stream_log_sink.h"

namespace {

using namespace lomarind::cli;

// What SIGINT or SIGTERM asked: the run stops its children, leaves what it
// was writing as it was, and the program exits with 128 + the signal. A
// signal handler receives nothing else, so what it sets has to be static;
// this is the program's only such object, and the handler does nothing but
// store to it.
struct StopRequest {
  std::atomic<int> signal{0};       // the first signal received; 0: none
  std::atomic<bool> raised{false};  // the token every child and wait of the run watches
};

StopRequest& stop_request() {
  static StopRequest request;
  return request;
}

static_assert(std::atomic<int>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

extern "C" void request_stop(int signal) {
  int none = 0;
  stop_request().signal.compare_exchange_strong(none, signal);
  stop_request().raised.store(true);
}

void set_action(int signal, void (*handler)(int), int flags) {
  struct sigaction action {};
  action.sa_handler = handler;
  action.sa_flags = flags;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}

// A parent may hand SIGCHLD down ignored; the kernel would then reap git
// before we could learn how it exited, and every answer would fail.
void restore_child_signal() { set_action(SIGCHLD, SIG_DFL, 0); }

// SA_RESETHAND: the first signal asks politely, a second one ends the
// program at once. A signal the parent ignores stays ignored, as a shell
// leaves Ctrl-C to the foreground job only.
void install_stop_handlers() {
  for (int signal : {SIGINT, SIGTERM}) {
    struct sigaction current {};
    if (::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) continue;
    set_action(signal, request_stop, SA_RESETHAND);
  }
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
  restore_child_signal();
  const ParsedCommandLine parsed =
      parse_command_line(std::vector<std::string>(argv + 1, argv + argc));
  if (!parsed.command_line) {
    std::cout << parsed.out << std::flush;
    std::cerr << parsed.err << std::flush;
    return parsed.exit_code;
  }
  install_stop_handlers();
  const StreamLogSink sink(std::cerr);
  const Terminal terminal{std::cout, std::cerr,
                          RenderOptions{.colour = colour_wanted(),
                                        .now = std::chrono::floor<std::chrono::seconds>(
                                            std::chrono::system_clock::now()),
                                        .width = terminal_width()},
                          ::isatty(STDERR_FILENO) == 1};
  int code = kExitFailure;
  try {
    code = run_command(*parsed.command_line, terminal, sink, stop_request().raised);
  } catch (...) {
    code = report_failure(std::current_exception(), std::cerr);
  }
  const int signal = stop_request().signal.load();
  return signal != 0 ? 128 + signal : code;
}
