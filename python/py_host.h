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
#include <optional>
#include <stdexcept>

#include "lomarind/production/production_history.h"
#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/git_history.h"
#include "py_interrupt.h"

namespace lomarind::python {

namespace py = pybind11;

// A C++ error standing for a Python exception, kept so that the caller sees
// that very exception as the cause of GitHistoryError and as the argument
// of the warning that reports it.
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

// A Python GitError, and a ValueError raised by a Python parse_time_spec.
using HostGitError = HostError<git_utils::GitError>;
using HostValueError = HostError<std::invalid_argument>;

// The git reader as host.git_utils holds it at each call. `repo_root` is
// passed back exactly as the caller gave it, and the start of a period as
// the very datetime that parse_time_spec returned.
class HostGitReader final : public git_utils::GitReader {
 public:
  HostGitReader(py::module_ host, py::object repo_root)
      : host_(std::move(host)), repo_root_(std::move(repo_root)) {}

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
  // Calls host.git_utils.<name>; a Python GitError becomes a HostGitError.
  template <typename... Args>
  py::object call(const char* name, Args&&... args) const;

  py::module_ host_;
  py::object repo_root_;
  mutable py::object last_start_;  // what parse_time_spec last returned
  mutable std::chrono::sys_seconds last_start_seconds_{};
};

// The index as host.repository_changes holds it, with the caller's
// repository.db (the C++ handle it is given is a stand-in) and the kinds
// host.CHANGE_KINDS holds.
class HostChangeIndex final : public repository_changes::ChangeIndex {
 public:
  HostChangeIndex(py::module_ host, py::object db) : host_(std::move(host)), db_(std::move(db)) {}

  repository_changes::IndexedPaths indexed_paths(
      const repository_changes::IndexDb& db, const std::vector<std::string>& paths) const override;
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb& db,
      const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view> kinds, int per_file) const override;

 private:
  py::module_ host_;
  py::object db_;
};

// The filters and SOURCE_LANGUAGES as the host module holds them.
class HostSourceFilters final : public git_history::SourceFilters {
 public:
  explicit HostSourceFilters(py::module_ host) : host_(std::move(host)) {}
  bool in_source_languages(std::string_view language) const override;
  bool is_source_extension(std::string_view path) const override;
  bool is_test_path(std::string_view path) const override;
  bool should_skip_path(std::string_view directory) const override;

 private:
  bool ask(const char* name, std::string_view text) const;

  py::module_ host_;
};

// The level number of Python's logging module for `level`.
int python_level(LogLevel level);

// Log records to host.logger, format and arguments unformatted. An argument
// that is the repository root is the object the caller gave, and the text
// of a git failure being handled is the Python GitError itself: the one the
// host raised, or one made here and remembered as the cause to raise.
class HostLogSink final : public LogSink {
 public:
  HostLogSink(py::module_ host, py::object repo_root);
  void write(const LogRecord& record) const override;
  // The Python exception for `cause`: the one a record was given, else a
  // new GitError or ValueError; None for a cause of another kind.
  py::object python_cause(const std::exception_ptr& cause) const;

 private:
  py::object handled_cause() const;

  py::module_ host_;
  py::object repo_root_;
  std::string repo_root_text_;
  mutable std::exception_ptr made_for_;  // the C++ error `made_` stands for
  mutable py::object made_;
};

// Everything one call talks to. Holds references to itself: not copyable.
class CallNeighbours {
 public:
  // `own`: the Python side found every neighbour the package's own. `db`
  // is repository.db, or None for a call that does not use the index.
  CallNeighbours(const py::module_& host, bool own, const py::object& repo_root,
                 const py::object& db);
  CallNeighbours(const CallNeighbours&) = delete;
  CallNeighbours& operator=(const CallNeighbours&) = delete;

  const git_history::GitHistory& history() const { return *history_; }
  const repository_changes::Repository& repository() const { return *repository_; }
  const git_history::Neighbours& neighbours() const { return *neighbours_; }
  // The git reader a host replaced, if it did.
  const HostGitReader* host_git() const { return host_git_ ? &*host_git_ : nullptr; }

  // `convert(work())`. The work needs no Python: on the production
  // neighbours it runs off the GIL, and a signal ends it. GitHistoryError
  // becomes the module's Python one, its __cause__ the Python GitError or
  // ValueError behind it.
  template <typename Work, typename Convert>
  py::object answer(Work work, Convert convert) {
    try {
      if (production_) return convert(interruptibly(stop_, work));
      return convert(work());
    } catch (const git_history::GitHistoryError& error) {
      raise(error);
    }
  }

  // Raises the module's GitHistoryError for `error`; throws error_already_set.
  [[noreturn]] void raise(const git_history::GitHistoryError& error) const;

 private:
  py::module_ host_;
  HostLogSink sink_;
  std::atomic<bool> stop_{false};  // raised by a signal while git runs
  std::optional<git_history::ProductionHistory> production_;
  std::optional<HostGitReader> host_git_;
  std::optional<HostChangeIndex> host_index_;
  std::optional<HostSourceFilters> host_filters_;
  Logger logger_;
  repository_changes::IndexDb stand_in_;
  std::optional<repository_changes::Repository> repository_;
  std::optional<git_history::Neighbours> neighbours_;
  std::optional<git_history::GitHistory> history_;
};

// An exception translator: a C++ error that stands for a Python exception
// raises that very exception again.
void translate_host_cause(std::exception_ptr failure);

}  // namespace lomarind::python
