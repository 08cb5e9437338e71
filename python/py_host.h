// The neighbours of one call from Python. The Python side decides which:
// while every neighbour the lomarind.workers.git_history module holds is
// still the package's own, the call runs wholly in C++ on the production
// neighbours, off the GIL and ended at once by a signal; once a host has
// replaced one, each neighbour is the object the module holds, called
// through Python.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <exception>
#include <memory>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/git_history.h"
#include "py_convert.h"
#include "py_interrupt.h"

namespace lomarind::python {

namespace py = pybind11;

// The level number of Python's logging module for `level`.
int python_level(LogLevel level);

// Everything one call talks to. Holds references to itself: not copyable.
class CallNeighbours {
 public:
  // `own`: the Python side found every neighbour the package's own. `db`
  // is repository.db, or None for a call that does not use the index.
  CallNeighbours(const py::module_& host, bool own, const py::object& repo_root,
                 const py::object& db);
  CallNeighbours(const CallNeighbours&) = delete;
  CallNeighbours& operator=(const CallNeighbours&) = delete;

  ~CallNeighbours();

  const git_history::GitHistory& history() const;
  const repository_changes::Repository& repository() const;
  const git_history::Neighbours& neighbours() const;
  // The start of a period as a datetime: the one a host's parse_time_spec
  // gave, else a new one.
  py::object start_time(std::chrono::sys_seconds start) const;

  // `convert(work())`. The work needs no Python: on the production
  // neighbours it runs off the GIL, and a signal ends it. GitHistoryError
  // becomes the module's Python one, its __cause__ the Python GitError or
  // ValueError behind it.
  template <typename Work, typename Convert>
  py::object answer(Work work, Convert convert) {
    try {
      if (own_) return convert(interruptibly(stop_, work));
      return convert(work());
    } catch (const git_history::GitHistoryError& error) {
      raise(error);
    }
  }

  // Raises the module's GitHistoryError for `error`; throws error_already_set.
  [[noreturn]] void raise(const git_history::GitHistoryError& error) const;

 private:
  struct Parts;  // the sink, the neighbours of either kind, the history

  py::module_ host_;
  bool own_;
  std::atomic<bool> stop_{false};  // raised by a signal while git runs
  std::unique_ptr<Parts> parts_;
};

// Runs `ask(history, repository, root)` over the neighbours the Python side
// chose for `repository` and `repo_root`, and returns its answer as the
// plain Python values its JSON form holds.
template <typename Ask>
py::object python_answer(const py::module_& host, bool own, const py::object& repository,
                         const py::object& repo_root, Ask ask) {
  CallNeighbours n(host, own, repo_root, repository.attr("db"));
  const std::filesystem::path root = to_path(repo_root);
  return n.answer([&] { return ask(n.history(), n.repository(), root); },
                  [](const auto& answer) { return json_to_python(git_history::to_json(answer)); });
}

// Raises the module's GitHistoryError for `error`, with `cause` (a Python
// exception, or None) as its __cause__; throws error_already_set.
[[noreturn]] void raise_history_error(const py::module_& host,
                                      const git_history::GitHistoryError& error,
                                      const py::object& cause = py::none());

// The filters a call uses: the package's own, else those the host module
// holds (its is_test_path, is_source_extension, should_skip_path and
// SOURCE_LANGUAGES), each looked up when asked.
git_history::SourceFilters source_filters(const py::module_& host, bool own);

// An exception translator: a C++ error that stands for an exception a host's
// neighbour raised raises that very exception again.
void translate_host_cause(std::exception_ptr failure);

}  // namespace lomarind::python
