#include "lomarind/process/subprocess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <system_error>
#include <utility>

#include "lomarind/process/child_pipes.h"
#include "lomarind/process/child_process.h"
#include "lomarind/process/program_path.h"

extern char** environ;

namespace lomarind::subprocess {
namespace {

// Small enough to come from the heap rather than a fresh mapping, so
// that each command does not fault in a new buffer; git writes in pages.
constexpr std::size_t kReadChunk = 64 * 1024;
constexpr int kPipeSize = 1 << 20;  // fewer wake-ups for large outputs

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
  const std::string& name = command.argv[0];
  FdPair in = input_channel(!command.input.empty(), name);
  FdPair out = output_pipe(name);
  FdPair err = output_pipe(name);
  ::fcntl(out.ours.get(), F_SETPIPE_SZ, kPipeSize);  // best effort
  ChildProcess child({.program = find_program(name, command.environment),
                      .argv = command.argv,
                      .environment = command.environment,
                      .working_directory = command.working_directory,
                      .stdio = {in.child.get(), out.child.get(), err.child.get()}});
  in.child.reset();
  out.child.reset();
  err.child.reset();
  Result result;
  Pump(command, std::move(in.ours), std::move(out.ours), std::move(err.ours), on_stdout, result)
      .run();
  fill_status(child.wait(command.exit_grace, command.stop), result);
  return result;
}

Interrupted::Interrupted(const std::string& program)
    : std::runtime_error(program + " was stopped: the run was interrupted") {}

std::string timeout_message(const std::string& program, std::chrono::milliseconds limit,
                            bool outputs_closed) {
  const std::string seconds =
      std::to_string(std::chrono::ceil<std::chrono::seconds>(limit).count()) + " s";
  if (outputs_closed) {
    return program + " closed its output but had not exited " + seconds + " later and was stopped";
  }
  return program + " printed nothing for " + seconds + " and was stopped";
}

Timeout::Timeout(const std::string& program, std::chrono::milliseconds limit, bool outputs_closed)
    : std::runtime_error(timeout_message(program, limit, outputs_closed)),
      limit_(limit),
      outputs_closed_(outputs_closed) {}

std::vector<std::string> inherited_environment() {
  std::vector<std::string> env;
  for (char** entry = environ; *entry != nullptr; ++entry) env.emplace_back(*entry);
  return env;
}

}  // namespace lomarind::subprocess
