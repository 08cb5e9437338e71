// Watching processes that a test did not start itself.
#pragma once

#include <sys/types.h>

#include <chrono>
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

}  // namespace lomarind::testing
