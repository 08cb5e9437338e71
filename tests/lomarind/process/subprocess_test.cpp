#include "lomarind/process/subprocess.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "support/processes.h"

namespace lomarind::subprocess {
namespace {

Command shell(const std::string& script, std::string input = "") {
  Command command;
  command.argv = {"sh", "-c", script};
  command.environment = {"PATH=/usr/bin:/bin", "ONLY=1"};
  command.input = std::move(input);
  command.working_directory = "/";
  return command;
}

TEST(SubprocessTest, DrainsBothOutputsAndFeedsInputWithoutDeadlock) {
  Result r = run(
      shell("head -c 3000000 /dev/zero >&2; cat; env; pwd; exit 3", std::string(3'000'000, 'x')));
  EXPECT_EQ(r.exit_status, 3);
  EXPECT_EQ(r.err.size(), 3000000u);
  EXPECT_EQ(r.out.substr(0, 3000000), std::string(3'000'000, 'x'));
  EXPECT_NE(r.out.find("\nONLY=1\n"), std::string::npos);  // exactly the given environment
  EXPECT_EQ(r.out.find("HOME="), std::string::npos);
  EXPECT_TRUE(r.out.ends_with("\n/\n"));
  EXPECT_EQ(run(shell("exit 0", std::string(2'000'000, 'x'))).exit_status, 0);  // unread input
  Result killed = run(shell("kill -9 $$"));
  EXPECT_EQ(killed.signal, SIGKILL);
  EXPECT_EQ(killed.exit_status, 128 + SIGKILL);
}

TEST(SubprocessTest, SinkGetsStdoutAndItsExceptionKillsTheChild) {
  std::size_t total = 0;
  Result r =
      run(shell("head -c 2000000 /dev/zero"), [&](std::string_view c) { total += c.size(); });
  EXPECT_EQ(total, 2000000u);
  EXPECT_TRUE(r.out.empty());
  // `yes` never stops on its own: run() can only return once it was killed.
  EXPECT_THROW(run(shell("yes"), [](std::string_view) { throw std::runtime_error("enough"); }),
               std::runtime_error);
}

TEST(SubprocessTest, SilenceCheckRunsOncePerQuietSpellAndMayStopTheChild) {
  int checks = 0;
  Command quiet = shell("sleep 0.3; echo; sleep 0.3");
  quiet.silence_check = std::chrono::milliseconds(100);
  quiet.on_silence = [&] { ++checks; };
  EXPECT_EQ(run(quiet).exit_status, 0);
  EXPECT_EQ(checks, 2);
  quiet.argv.back() = "sleep 1000";
  quiet.on_silence = [] { throw std::runtime_error("stuck"); };
  EXPECT_THROW(run(quiet), std::runtime_error);
}

// Once a child closes its outputs it has nothing more to say; it then has
// the grace to exit, is stopped past it, and a stop request still counts.
TEST(SubprocessTest, ChildThatClosedItsOutputsHasTheGraceToExit) {
  Command late = shell("exec >&- 2>&-; sleep 0.3; exit 3");
  late.exit_grace = std::chrono::seconds(20);
  EXPECT_EQ(run(late).exit_status, 3);

  std::atomic<bool> stop = false;
  struct Case {
    std::string name;
    std::chrono::milliseconds grace;
    bool stopped;  // stop is raised once the outputs are closed
  } cases[] = {{"past the grace", std::chrono::milliseconds(300), false},
               {"stopped meanwhile", std::chrono::seconds(60), true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    stop = false;
    Command lingering = shell("echo $$; exec >&- 2>&-; exec sleep 1000");
    lingering.exit_grace = c.grace;
    lingering.stop = &stop;
    std::string pid;
    std::thread raiser;
    try {
      run(lingering, [&](std::string_view chunk) {
        pid += chunk;
        if (c.stopped) {
          raiser = std::thread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            stop = true;
          });
        }
      });
      ADD_FAILURE() << "no exception";
    } catch (const Timeout& e) {
      EXPECT_FALSE(c.stopped);
      EXPECT_TRUE(e.outputs_closed());
      EXPECT_STREQ(e.what(), "sh closed its output but had not exited 1 s later and was stopped");
    } catch (const Interrupted&) {
      EXPECT_TRUE(c.stopped);
    }
    if (raiser.joinable()) raiser.join();
    EXPECT_TRUE(testing::process_ends(static_cast<pid_t>(std::stol(pid))));
  }
}

// Whether a child starts clean in a host that ignores SIGPIPE, blocks
// SIGTERM and leaves a descriptor inheritable: no signal ignored or
// blocked, no descriptor but its own, a process group of its own.
bool child_starts_clean() {
  ::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
  [[maybe_unused]] const int inheritable = ::dup(STDERR_FILENO);
  Command look = shell("");
  look.argv = {"cat", "/proc/self/status", "/proc/self/stat"};
  const std::string status = run(look).out;
  look.argv = {"ls", "/proc/self/fd"};
  const std::string fds = run(look).out;
  std::istringstream stat(status.substr(status.rfind('\n', status.size() - 2) + 1));
  std::string pid, name, state, parent, group;
  stat >> pid >> name >> state >> parent >> group;
  // glibc's spawn leaves its own two signals (32 and 33) ignored; nothing
  // sends them to a child.
  const std::size_t ignored = status.find("\nSigIgn:\t") + 9;
  const bool clean =
      (std::stoull(status.substr(ignored, 16), nullptr, 16) & ~0x180000000ull) == 0 &&
      status.find("\nSigBlk:\t0000000000000000\n") != std::string::npos && fds == "0\n1\n2\n3\n" &&
      !pid.empty() && group == pid;
  if (!clean) std::cerr << status << fds;
  return clean;
}

TEST(SubprocessTest, ChildStartsCleanWhateverTheHostLeft) {
  EXPECT_EXIT(std::exit(child_starts_clean() ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST(SubprocessTest, ChildDiesWithUs) {
  int report[2];
  ASSERT_EQ(pipe(report), 0);
  pid_t runner = fork();
  ASSERT_GE(runner, 0);
  if (runner == 0) {
    run(shell("echo $$; exec sleep 1000"), [&](std::string_view chunk) {
      [[maybe_unused]] ssize_t n = write(report[1], chunk.data(), chunk.size());
    });
    _exit(0);
  }
  close(report[1]);
  char buffer[32] = {};
  ASSERT_GT(read(report[0], buffer, sizeof buffer - 1), 0);
  close(report[0]);
  pid_t grandchild = static_cast<pid_t>(std::stol(buffer));
  kill(runner, SIGKILL);
  waitpid(runner, nullptr, 0);
  const bool gone = testing::process_ends(grandchild);
  EXPECT_TRUE(gone);
  if (!gone) kill(grandchild, SIGKILL);
}

}  // namespace
}  // namespace lomarind::subprocess
