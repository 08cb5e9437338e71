// Long native work that a host's Ctrl-C can still end at once.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <utility>

namespace lomarind::python {

namespace py = pybind11;

// Runs `work` on a thread of its own while this one, without the GIL,
// looks for signals every 50 ms, so a host's Ctrl-C is not held up by git:
// a KeyboardInterrupt (or whatever the host's handler raises) raises `stop`,
// which kills the work's children at once, and reaches the host when the
// work has ended.
// REQUIRES: the GIL is held; `work` needs no Python and stops soon after
// `stop` is raised (every git and ctags child watches it).
template <typename Work>
auto interruptibly(std::atomic<bool>& stop, Work work) -> decltype(work()) {
  using namespace std::chrono_literals;
  std::packaged_task<decltype(work())()> task(std::move(work));
  auto done = task.get_future();
  bool interrupted = false;
  {
    py::gil_scoped_release release;
    std::thread worker(std::move(task));
    while (done.wait_for(50ms) != std::future_status::ready) {
      py::gil_scoped_acquire gil;
      if (PyErr_CheckSignals() != 0) {
        interrupted = true;
        stop = true;
        break;
      }
    }
    worker.join();
  }
  if (interrupted) throw py::error_already_set();
  return done.get();
}

}  // namespace lomarind::python
