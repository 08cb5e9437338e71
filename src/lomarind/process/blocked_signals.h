// Keeping the signals that end a program (from a terminal or a supervisor)
// away from a thread. A program handles them on its main thread; a thread
// of ours that took one would end the program at a moment the main thread
// cannot choose, such as while it holds a temporary file.
#pragma once

#include <signal.h>

#include <future>
#include <utility>

namespace lomarind {

// Blocks SIGINT, SIGTERM, SIGHUP and SIGQUIT on the calling thread for its
// lifetime, then restores the thread's previous mask. A thread started
// meanwhile inherits the block and keeps it: start worker threads under
// one. A signal that arrives meanwhile waits and is delivered once some
// thread unblocks it.
class BlockedSignals {
 public:
  BlockedSignals();
  ~BlockedSignals();
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t previous_;
};

// Runs `work` on a thread of its own that never takes a signal meant to
// end the program: a host handles those on its own threads, and a program
// that holds them while it writes a file must not be ended from here.
template <typename Work>
auto start_thread(Work&& work) {
  const BlockedSignals held;
  return std::async(std::launch::async, std::forward<Work>(work));
}

}  // namespace lomarind
