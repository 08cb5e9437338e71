// Watching processes that a test did not start itself.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

namespace lomarind::testing {

// Waits up to five seconds for `pid` to end. A zombie that nobody reaps (no
// init in a container) counts as ended.
inline bool process_ends(pid_t pid) {
  for (int i = 0; i < 500; ++i) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string skip, state;
    if (!(stat >> skip >> skip >> state) || state == "Z") return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// A stand-in for a program that never answers: the script at `path` starts
// a long sleep, writes its pid to `pid_file`, and waits for it.
inline void write_hanging_program(const std::filesystem::path& path,
                                  const std::filesystem::path& pid_file) {
  std::ofstream(path) << "#!/bin/sh\nsleep 1000 &\necho $! > '" << pid_file.string() << "'\nwait\n";
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

// Whether the sleep that such a program started ends: nothing it started
// may outlive the one who stopped it.
inline bool hanging_sleep_ends(const std::filesystem::path& pid_file) {
  pid_t sleeper = 0;
  return std::ifstream(pid_file) >> sleeper && sleeper > 0 && process_ends(sleeper);
}

}  // namespace lomarind::testing
