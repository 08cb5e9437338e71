#include "lomarind/utils/subprocess.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace lomarind::subprocess {
namespace {

Command shell(const std::string& script, std::string input = "") {
  return {{"sh", "-c", script}, {"PATH=/usr/bin:/bin"}, std::move(input), {}};
}

TEST(SubprocessTest, DrainsLargeStdoutAndStderrTogether) {
  Result r =
      run(shell("head -c 3000000 /dev/zero; head -c 3000000 /dev/zero >&2; "
                "head -c 100 /dev/zero; exit 3"));
  EXPECT_EQ(r.exit_status, 3);
  EXPECT_EQ(r.signal, 0);
  EXPECT_EQ(r.out.size(), 3000100u);
  EXPECT_EQ(r.err.size(), 3000000u);
}

TEST(SubprocessTest, FeedsLargeInputWhileTheChildWrites) {
  std::string input(4'000'000, 'x');
  input += "end";
  Result r = run(shell("cat", input));
  EXPECT_EQ(r.exit_status, 0);
  EXPECT_EQ(r.out, input);
}

TEST(SubprocessTest, ChildThatIgnoresItsInputDoesNotHurtUs) {
  Result r = run(shell("exit 0", std::string(2'000'000, 'x')));
  EXPECT_EQ(r.exit_status, 0);
}

TEST(SubprocessTest, StreamsStdoutToTheSink) {
  std::size_t total = 0;
  int chunks = 0;
  Result r = run(shell("head -c 2000000 /dev/zero"), [&](std::string_view chunk) {
    total += chunk.size();
    ++chunks;
  });
  EXPECT_EQ(total, 2000000u);
  EXPECT_GE(chunks, 1);
  EXPECT_TRUE(r.out.empty());
}

TEST(SubprocessTest, SinkThatThrowsKillsTheChild) {
  // `yes` never stops on its own: run() can only return once it was killed.
  Command command{{"yes"}, {"PATH=/usr/bin:/bin"}, "", {}};
  EXPECT_THROW(run(command, [](std::string_view) { throw std::runtime_error("enough"); }),
               std::runtime_error);
}

TEST(SubprocessTest, GivesTheChildExactlyItsEnvironmentAndDirectory) {
  Command command{{"sh", "-c", "env; pwd"}, {"PATH=/usr/bin:/bin", "ONLY=1"}, "", "/"};
  Result r = run(command);
  EXPECT_NE(r.out.find("ONLY=1\n"), std::string::npos);
  EXPECT_EQ(r.out.find("HOME="), std::string::npos);
  EXPECT_TRUE(r.out.ends_with("\n/\n"));
}

TEST(SubprocessTest, ReportsASignalDeath) {
  Result r = run(shell("kill -9 $$"));
  EXPECT_EQ(r.signal, SIGKILL);
  EXPECT_EQ(r.exit_status, 128 + SIGKILL);
}

TEST(SubprocessTest, MissingProgramIsNoSuchFile) {
  struct Case {
    const char* name;
    Command command;
  } cases[] = {
      {"unknown name", {{"lomarind-no-such-program"}, {"PATH=/usr/bin:/bin"}, "", {}}},
      {"empty PATH", {{"sh", "-c", "true"}, {"PATH="}, "", {}}},
      {"relative PATH entry", {{"sh", "-c", "true"}, {"PATH=bin:."}, "", {}}},
      {"missing path", {{"/nonexistent/sh"}, {}, "", {}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    try {
      run(c.command);
      ADD_FAILURE() << "no error";
    } catch (const std::system_error& e) {
      EXPECT_EQ(e.code(), std::errc::no_such_file_or_directory);
    }
  }
}

bool process_is_gone(pid_t pid) {
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string skip, state;
  // A zombie that nobody reaps (no init in a container) counts as gone.
  return !(stat >> skip >> skip >> state) || state == "Z";
}

TEST(SubprocessTest, ChildDiesWithUs) {
  int report[2];
  ASSERT_EQ(pipe(report), 0);
  pid_t runner = fork();
  ASSERT_GE(runner, 0);
  if (runner == 0) {
    close(report[0]);
    try {
      run(shell("echo $$; exec sleep 1000"), [&](std::string_view chunk) {
        [[maybe_unused]] ssize_t n = write(report[1], chunk.data(), chunk.size());
      });
    } catch (...) {
    }
    _exit(0);
  }
  close(report[1]);
  char buffer[32] = {};
  ASSERT_GT(read(report[0], buffer, sizeof buffer - 1), 0);
  close(report[0]);
  pid_t grandchild = static_cast<pid_t>(std::stol(buffer));
  kill(runner, SIGKILL);
  waitpid(runner, nullptr, 0);
  bool gone = false;
  for (int i = 0; i < 500 && !gone; ++i) {
    gone = process_is_gone(grandchild);
    if (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_TRUE(gone);
  if (!gone) kill(grandchild, SIGKILL);
}

}  // namespace
}  // namespace lomarind::subprocess
