// The history module's neighbours as the Python module sees them: every
// operation is looked up on the lomarind.workers.git_history module object
// at each call (git_utils.<op>, repository_changes.<op>, and the filter,
// pagination and kind names bound on the module itself), so a neighbour
// replaced there takes effect on the next call. One that is still the
// package's own is run by the production neighbours in C++, without a
// Python record and without the GIL while git or SQLite work; a replaced
// one is called through Python.
#pragma once

#include <pybind11/pybind11.h>

#include <atomic>
#include <stdexcept>

#include "lomarind/production/production_history.h"
#include "lomarind/storage/repository_changes.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/git_history.h"

namespace lomarind::python {

namespace py = pybind11;

// The extension's own `submodule`.`name`: what the package's neighbours are
// bound to until a host replaces them.
py::object own(const char* submodule, const char* name);
// The object `name` on `module` now, or null while it is the package's own.
py::object replaced_on(const py::object& module, const char* submodule, const char* name);

// The Python exception behind a C++ error, kept so that the Python caller
// sees the very exception as the cause of GitHistoryError and as the
// argument of the warning that reports it.
class HostCause {
 public:
  explicit HostCause(py::object original) : original_(std::move(original)) {}
  const py::object& original() const { return original_; }

 private:
  py::object original_;
};

template <typename Error>
class HostError : public Error, public HostCause {
 public:
  HostError(const std::string& message, py::object original)
      : Error(message), HostCause(std::move(original)) {}
};

// A GitError as the Python GitError object the host sees, and a ValueError
// raised by a Python parse_time_spec.
using HostGitError = HostError<git_utils::GitError>;
using HostValueError = HostError<std::invalid_argument>;

// The git reader through host.git_utils. `repo_root` is passed back exactly
// as the caller gave it, and the start of a period as the very datetime
// that parse_time_spec returned.
class HostGitReader final : public git_utils::GitReader {
 public:
  // `stop` is what the production reader's git commands stop on; a signal
  // that reaches the host while one runs raises it.
  HostGitReader(py::module_ host, py::object repo_root, const git_utils::GitReader& own,
                std::atomic<bool>& stop)
      : host_(std::move(host)), repo_root_(std::move(repo_root)), own_(own), stop_(stop) {}

  std::optional<std::string> resolve_commit(const std::filesystem::path& repo_root,
                                            const std::string& name) const override;
  std::optional<std::string> resolve_display_branch(
      const std::filesystem::path& repo_root) const override;
  std::string get_default_branch(const std::filesystem::path& repo_root) const override;
  std::chrono::sys_seconds parse_time_spec(const std::string& since) const override;
  std::vector<git_utils::FileChange> diff_file_changes(
      const std::filesystem::path& repo_root, const std::string& base_commit,
      const std::string& head_commit) const override;
  std::int64_t count_commits(const std::filesystem::path& repo_root, const std::string& base_commit,
                             const std::string& head_commit) const override;
  std::vector<git_utils::CommitChanges> log_commit_changes(const std::filesystem::path& repo_root,
                                                           std::chrono::sys_seconds since,
                                                           const std::string& ref,
                                                           int max_commits) const override;
  std::optional<std::string> commit_before(const std::filesystem::path& repo_root,
                                           const std::string& tip,
                                           std::chrono::sys_seconds start) const override;
  git_utils::LineSpansByPath diff_line_spans(const std::filesystem::path& repo_root,
                                             const std::string& base_commit,
                                             const std::string& head_commit, bool merge_base,
                                             const std::vector<std::string>& paths) const override;

  // The start of a period as a datetime: the one parse_time_spec gave.
  py::object start_time(std::chrono::sys_seconds start) const;

 private:
  // The operation as host.git_utils holds it now; null while it is the
  // package's own.
  py::object replaced(const char* name) const;
  // Runs `read` on the production reader without the GIL; its GitError
  // becomes a Python GitError.
  template <typename Read>
  auto natively(Read read) const;

  py::module_ host_;
  py::object repo_root_;
  const git_utils::GitReader& own_;
  std::atomic<bool>& stop_;
  mutable py::object last_start_;  // what a Python parse_time_spec last returned
  mutable std::chrono::sys_seconds last_start_seconds_{};
};

// The index through host.repository_changes, with the caller's
// repository.db (the C++ handle it is given is a stand-in).
class HostChangeIndex final : public repository_changes::ChangeIndex {
 public:
  HostChangeIndex(py::module_ host, py::object db, const repository_changes::ChangeIndex& own)
      : host_(std::move(host)), db_(std::move(db)), own_(own) {}

  repository_changes::IndexedPaths indexed_paths(
      const repository_changes::IndexDb& db, const std::vector<std::string>& paths) const override;
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb& db,
      const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view> kinds, int per_file) const override;

 private:
  // The query as host.repository_changes holds it now; null while it is
  // the package's own and the handle is the package's index.
  py::object replaced(const char* name) const;

  py::module_ host_;
  py::object db_;
  const repository_changes::ChangeIndex& own_;
};

class HostSourceFilters final : public git_history::SourceFilters {
 public:
  HostSourceFilters(py::module_ host, const git_history::SourceFilters& own)
      : host_(std::move(host)), own_(own) {}
  bool in_source_languages(std::string_view language) const override;
  bool is_source_extension(std::string_view path) const override;
  bool is_test_path(std::string_view path) const override;
  bool should_skip_path(std::string_view directory) const override;

 private:
  py::module_ host_;
  const git_history::SourceFilters& own_;
};

// The level number of Python's logging module for `level`.
int python_level(LogLevel level);

// Log records to host.logger, format and arguments unformatted. An argument
// that is the repository root is the object the caller gave, and the text
// of a failure being handled is the Python exception itself.
class HostLogSink final : public LogSink {
 public:
  HostLogSink(py::module_ host, py::object repo_root);
  void write(const LogRecord& record) const override;

 private:
  py::module_ host_;
  py::object repo_root_;
  std::string repo_root_text_;
};

// Everything one answer talks to. Holds references to itself: not copyable.
struct HostNeighbours {
  HostNeighbours(const py::module_& host, const py::object& repo_root, const py::object& db);
  HostNeighbours(const HostNeighbours&) = delete;
  HostNeighbours& operator=(const HostNeighbours&) = delete;

  HostLogSink sink;
  std::atomic<bool> stop{false};  // raised by a signal while git runs
  git_history::ProductionHistory production;
  HostGitReader git;
  HostChangeIndex index;
  HostSourceFilters filters;
  Logger logger{std::string(git_history::kLoggerName), sink};
  // The C++ answers want an index handle; the Python one is in `index`.
  repository_changes::IndexDb stand_in;
  repository_changes::Repository repository{stand_in};
  git_history::GitHistory history{git_history::Neighbours{git, index, filters, logger}};
};

// An exception translator: a C++ error that stands for a Python exception
// raises that very exception again.
void translate_host_cause(std::exception_ptr failure);

// Raises the module's Python GitHistoryError for `error`, its __cause__ the
// Python GitError or ValueError behind it, and throws error_already_set.
[[noreturn]] void raise_history_error(const py::module_& host,
                                      const git_history::GitHistoryError& error);

// Runs an answer, turning GitHistoryError into the module's Python one.
template <typename Answer>
py::object answering(const py::module_& host, Answer answer) {
  try {
    return answer();
  } catch (const git_history::GitHistoryError& error) {
    raise_history_error(host, error);
  }
}

}  // namespace lomarind::python
