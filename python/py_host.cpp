#include "py_host.h"

#include <optional>
#include <stdexcept>

#include "lomarind/production/production_history.h"
#include "py_convert.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

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

// Runs a call of a Python neighbour; a Python exception of `type` becomes
// the C++ error `Error` that the answers understand, holding it.
template <typename Error, typename Call>
py::object raising_as(const py::object& type, std::string_view what, Call call) {
  try {
    return call();
  } catch (py::error_already_set& error) {
    if (!error.matches(type)) throw;
    throw HostError<Error>(to_bytes(py::str(error.value()), what), error.value());
  }
}

bool truthy(const py::object& value) {
  const int result = PyObject_IsTrue(value.ptr());
  if (result < 0) throw py::error_already_set();
  return result == 1;
}

// The git reader as host.git_utils holds it at each call. `repo_root` is
// passed back exactly as the caller gave it, and the start of a period as
// the very datetime that parse_time_spec returned.
class HostGitReader final : public git_utils::GitReader {
 public:
  using Path = std::filesystem::path;
  using Time = std::chrono::sys_seconds;

  HostGitReader(py::module_ host, py::object repo_root)
      : host_(std::move(host)), repo_root_(std::move(repo_root)) {}

  std::optional<std::string> resolve_commit(const Path&, const std::string& name) const override {
    return to_optional_bytes(call("resolve_commit", to_str(name)), "a commit id");
  }
  std::optional<std::string> resolve_display_branch(const Path&) const override {
    return to_optional_bytes(call("resolve_display_branch"), "a branch name");
  }
  std::string get_default_branch(const Path&) const override {
    return to_bytes(call("get_default_branch"), "the default branch");
  }
  // Not a git operation, but the reader keeps what it returned.
  Time parse_time_spec(const std::string& since) const {
    const py::object op = host_.attr("git_utils").attr("parse_time_spec");
    const py::object start =
        raising_as<std::invalid_argument>(py::reinterpret_borrow<py::object>(PyExc_ValueError),
                                          "a ValueError's text", [&] { return op(to_str(since)); });
    last_start_seconds_ = to_sys_seconds(start);
    last_start_ = start;
    return last_start_seconds_;
  }
  std::vector<git_utils::FileChange> diff_file_changes(const Path&, const std::string& base,
                                                       const std::string& head) const override {
    return file_changes_from(call("diff_file_changes", to_str(base), to_str(head)));
  }
  std::int64_t count_commits(const Path&, const std::string& base,
                             const std::string& head) const override {
    return call("count_commits", to_str(base), to_str(head)).cast<std::int64_t>();
  }
  std::vector<git_utils::CommitChanges> log_commit_changes(const Path&, Time since,
                                                           const std::string& ref,
                                                           int max_commits) const override {
    using py::arg;
    return from_list(call("log_commit_changes", arg("since") = start_time(since),
                          arg("ref") = to_str(ref), arg("max_commits") = max_commits),
                     commit_changes_from);
  }
  std::optional<std::string> commit_before(const Path&, const std::string& tip,
                                           Time start) const override {
    return to_optional_bytes(call("commit_before", to_str(tip), start_time(start)), "a commit id");
  }
  git_utils::LineSpansByPath diff_line_spans(const Path&, const std::string& base,
                                             const std::string& head, bool merge_base,
                                             const std::vector<std::string>& paths) const override {
    using py::arg;
    return line_spans_from(call("diff_line_spans", to_str(base), to_str(head),
                                arg("merge_base") = merge_base,
                                arg("paths") = to_list(paths, to_str)));
  }

  py::object start_time(Time start) const {
    if (last_start_ && start == last_start_seconds_) return last_start_;
    return to_datetime(start);
  }

 private:
  // Calls host.git_utils.<name>; a Python GitError becomes a C++ one.
  template <typename... Args>
  py::object call(const char* name, Args&&... args) const {
    const py::object op = host_.attr("git_utils").attr(name);
    return raising_as<git_utils::GitError>(host_.attr("GitError"), "a GitError's text", [&] {
      return op(repo_root_, std::forward<Args>(args)...);
    });
  }

  py::module_ host_;
  py::object repo_root_;
  mutable py::object last_start_;  // what parse_time_spec last returned
  mutable Time last_start_seconds_{};
};

// The index as host.repository_changes holds it, with the caller's
// repository.db (the C++ handle it is given is a stand-in) and the kinds
// host.CHANGE_KINDS holds.
class HostChangeIndex final : public repository_changes::ChangeIndex {
 public:
  HostChangeIndex(py::module_ host, py::object db) : host_(std::move(host)), db_(std::move(db)) {}

  repository_changes::IndexedPaths indexed_paths(
      const repository_changes::IndexDb&, const std::vector<std::string>& paths) const override {
    return indexed_paths_from(op("indexed_paths")(db_, to_list(paths, to_str)));
  }
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view>, int per_file) const override {
    // Plain triples, as the module builds a LineRange.
    const py::list triples = to_list(ranges, [](const repository_changes::LineRange& range) {
      return py::make_tuple(to_str(range.path), range.start_line, range.end_line);
    });
    return from_list(op("symbols_on_lines")(db_, triples, host_.attr("CHANGE_KINDS"),
                                            py::arg("per_file") = per_file),
                     symbol_from);
  }

 private:
  py::object op(const char* name) const { return host_.attr("repository_changes").attr(name); }

  py::module_ host_;
  py::object db_;
};

}  // namespace

git_history::SourceFilters source_filters(const py::module_& host, bool own) {
  if (own) return git_history::builtin_source_filters();
  const auto asking = [host](const char* name) {
    return [host, name](std::string_view text) { return truthy(host.attr(name)(to_str(text))); };
  };
  return {.in_source_languages =
              [host](std::string_view language) {
                return host.attr("SOURCE_LANGUAGES").contains(to_str(language));
              },
          .is_source_extension = asking("is_source_extension"),
          .is_test_path = asking("is_test_path"),
          .should_skip_path = asking("should_skip_path")};
}

namespace {

// Log records to host.logger, format and arguments unformatted. An argument
// that is the repository root is the object the caller gave, and the text
// of a git failure being handled is the Python GitError itself: the one a
// host's neighbour raised, or one made here and remembered as the cause to
// raise.
class HostLogSink final : public LogSink {
 public:
  HostLogSink(py::module_ host, py::object repo_root)
      : host_(std::move(host)), repo_root_(std::move(repo_root)) {
    if (!repo_root_.is_none()) repo_root_text_ = to_path(repo_root_).string();
  }

  void write(const LogRecord& record) const override {
    // The production neighbours log while they run without the GIL.
    py::gil_scoped_acquire gil;
    const py::object cause = handled_cause();
    py::list args;
    args.append(python_level(record.level));
    args.append(to_str(record.format));
    // A C++ text ends at its first NUL.
    std::string cause_text;
    if (cause) cause_text = to_bytes(py::str(cause), "an exception's text").c_str();
    for (const std::string& arg : record.args) {
      if (cause && arg == cause_text) {
        args.append(cause);
      } else if (!repo_root_.is_none() && arg == repo_root_text_) {
        args.append(repo_root_);
      } else {
        args.append(to_str(arg));
      }
    }
    host_.attr("logger").attr("log")(*py::tuple(args));
  }

  // The Python exception for `cause`: the one a record was given, else a
  // new GitError or ValueError; None for a cause of another kind.
  py::object python_cause(const std::exception_ptr& cause) const {
    if (!cause) return py::none();
    if (cause == made_for_) return made_;
    try {
      std::rethrow_exception(cause);
    } catch (const HostCause& error) {
      return error.original();
    } catch (const git_utils::GitError& error) {
      return host_.attr("GitError")(to_str(error.what()));
    } catch (const std::invalid_argument& error) {
      return py::reinterpret_borrow<py::object>(PyExc_ValueError)(to_str(error.what()));
    } catch (const std::exception&) {
      // A cause of another kind has no Python counterpart; the message says it all.
    }
    return py::none();
  }

 private:
  py::object handled_cause() const {
    const std::exception_ptr failure = std::current_exception();
    if (!failure) return py::object();
    try {
      std::rethrow_exception(failure);
    } catch (const HostCause& cause) {
      return cause.original();
    } catch (const git_utils::GitError&) {
      made_ = python_cause(failure);
      made_for_ = failure;
      return made_;
    } catch (...) {
      // Any other failure has no Python object of its own.
    }
    return py::object();
  }

  py::module_ host_;
  py::object repo_root_;
  std::string repo_root_text_;
  mutable std::exception_ptr made_for_;  // the C++ error `made_` stands for
  mutable py::object made_;
};

// The message of `error`. A C++ message ends at a NUL, but a translated
// one ends with its cause's text, so the rest comes from the cause.
py::str message_of(const git_history::GitHistoryError& error, const py::object& cause) {
  py::str message = to_str(error.what());
  if (cause.is_none()) return message;
  const py::str text = py::str(cause);
  const Py_ssize_t nul = PyUnicode_FindChar(text.ptr(), 0, 0, PyUnicode_GET_LENGTH(text.ptr()), 1);
  if (nul < 0) return message;
  return py::str(message + text[py::slice(nul, PyUnicode_GET_LENGTH(text.ptr()), 1)]);
}

}  // namespace

// The level numbers of Python's logging module.
int python_level(LogLevel level) {
  switch (level) {
    case LogLevel::kDebug:
      return 10;
    case LogLevel::kWarning:
      return 30;
    case LogLevel::kError:
      return 40;
    case LogLevel::kInfo:
      break;
  }
  return 20;
}

struct CallNeighbours::Parts {
  Parts(const py::module_& host, const py::object& repo_root) : sink(host, repo_root) {}

  HostLogSink sink;
  Logger logger{std::string(git_history::kLoggerName), sink};
  std::optional<git_history::ProductionHistory> production;
  std::optional<HostGitReader> git;
  std::optional<HostChangeIndex> index;
  git_history::SourceFilters filters;
  git_history::TimeSpecParser parse_time_spec;
  py::object db;                         // kept alive while the call reads it
  repository_changes::IndexDb stand_in;  // the handle while the host's index reads
  std::optional<repository_changes::Repository> repository;
  std::optional<git_history::Neighbours> neighbours;
  std::optional<git_history::GitHistory> history;  // over the host's neighbours
};

CallNeighbours::CallNeighbours(const py::module_& host, bool own, const py::object& repo_root,
                               const py::object& db)
    : host_(host), own_(own), parts_(std::make_unique<Parts>(host, repo_root)) {
  Parts& p = *parts_;
  if (own) {
    p.production.emplace(
        git_history::ProductionOptions{.runner = git_utils::GitRunner().stopped_by(&stop_)},
        p.sink);
    p.neighbours.emplace(p.production->neighbours());
    p.db = db;
    p.repository.emplace(db.is_none() ? p.stand_in
                                      : p.db.cast<const repository_changes::IndexDb&>());
  } else {
    p.git.emplace(host, repo_root);
    p.index.emplace(host, db);
    p.filters = source_filters(host, false);
    p.parse_time_spec = [&git = *p.git](const std::string& since) {
      return git.parse_time_spec(since);
    };
    p.neighbours.emplace(
        git_history::Neighbours{*p.git, *p.index, p.filters, p.logger, p.parse_time_spec});
    p.repository.emplace(p.stand_in);
    p.history.emplace(*p.neighbours);
  }
}

CallNeighbours::~CallNeighbours() {
  // The cache may still be storing the commits it read: other Python
  // threads run meanwhile. Nothing in the production neighbours needs Python
  // once the answer is in.
  if (parts_->production) {
    py::gil_scoped_release release;
    parts_->production.reset();
  }
}

const git_history::GitHistory& CallNeighbours::history() const {
  return parts_->production ? parts_->production->history() : *parts_->history;
}

const repository_changes::Repository& CallNeighbours::repository() const {
  return *parts_->repository;
}

const git_history::Neighbours& CallNeighbours::neighbours() const { return *parts_->neighbours; }

py::object CallNeighbours::start_time(std::chrono::sys_seconds start) const {
  return parts_->git ? parts_->git->start_time(start) : to_datetime(start);
}

void CallNeighbours::raise(const git_history::GitHistoryError& error) const {
  raise_history_error(host_, error, parts_->sink.python_cause(error.cause()));
}

void raise_history_error(const py::module_& host, const git_history::GitHistoryError& error,
                         const py::object& cause) {
  py::object exception = host.attr("GitHistoryError")(message_of(error, cause));
  // Like `raise ... from cause`: setting __cause__ also suppresses the context.
  if (!cause.is_none()) exception.attr("__cause__") = cause;
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
  throw py::error_already_set();
}

void translate_host_cause(std::exception_ptr failure) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const HostCause& cause) {
    PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(cause.original().ptr())),
                    cause.original().ptr());
  }
}

}  // namespace lomarind::python
