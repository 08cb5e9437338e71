#include "py_host.h"

#include "py_convert.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

// Runs a call of a Python neighbour; a Python exception of `type` becomes
// the C++ error `Host` that the answers understand.
template <typename Host, typename Call>
py::object raising_as(const py::object& type, std::string_view what, Call call) {
  try {
    return call();
  } catch (py::error_already_set& error) {
    if (!error.matches(type)) throw;
    const std::string message = to_bytes(py::str(error.value()), what);
    throw Host(message, error.value());
  }
}

bool truthy(const py::object& value) {
  const int result = PyObject_IsTrue(value.ptr());
  if (result < 0) throw py::error_already_set();
  return result == 1;
}

}  // namespace

template <typename... Args>
py::object HostGitReader::call(const char* name, Args&&... args) const {
  const py::object op = host_.attr("git_utils").attr(name);
  return raising_as<HostGitError>(host_.attr("GitError"), "a GitError's text",
                                  [&] { return op(repo_root_, std::forward<Args>(args)...); });
}

py::object HostGitReader::start_time(std::chrono::sys_seconds start) const {
  if (last_start_ && start == last_start_seconds_) return last_start_;
  return to_datetime(start);
}

std::optional<std::string> HostGitReader::resolve_commit(const std::filesystem::path&,
                                                         const std::string& name) const {
  return to_optional_bytes(call("resolve_commit", to_str(name)), "a commit id");
}

std::optional<std::string> HostGitReader::resolve_display_branch(
    const std::filesystem::path&) const {
  return to_optional_bytes(call("resolve_display_branch"), "a branch name");
}

std::string HostGitReader::get_default_branch(const std::filesystem::path&) const {
  return to_bytes(call("get_default_branch"), "the default branch");
}

std::chrono::sys_seconds HostGitReader::parse_time_spec(const std::string& since) const {
  const py::object op = host_.attr("git_utils").attr("parse_time_spec");
  const py::object start =
      raising_as<HostValueError>(py::reinterpret_borrow<py::object>(PyExc_ValueError),
                                 "a ValueError's text", [&] { return op(to_str(since)); });
  last_start_seconds_ = to_sys_seconds(start);
  last_start_ = start;
  return last_start_seconds_;
}

std::vector<git_utils::FileChange> HostGitReader::diff_file_changes(
    const std::filesystem::path&, const std::string& base_commit,
    const std::string& head_commit) const {
  return file_changes_from(call("diff_file_changes", to_str(base_commit), to_str(head_commit)));
}

std::int64_t HostGitReader::count_commits(const std::filesystem::path&,
                                          const std::string& base_commit,
                                          const std::string& head_commit) const {
  return call("count_commits", to_str(base_commit), to_str(head_commit)).cast<std::int64_t>();
}

std::vector<git_utils::CommitChanges> HostGitReader::log_commit_changes(
    const std::filesystem::path&, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  using py::arg;
  return from_list(call("log_commit_changes", arg("since") = start_time(since),
                        arg("ref") = to_str(ref), arg("max_commits") = max_commits),
                   commit_changes_from);
}

std::optional<std::string> HostGitReader::commit_before(const std::filesystem::path&,
                                                        const std::string& tip,
                                                        std::chrono::sys_seconds start) const {
  return to_optional_bytes(call("commit_before", to_str(tip), start_time(start)), "a commit id");
}

git_utils::LineSpansByPath HostGitReader::diff_line_spans(
    const std::filesystem::path&, const std::string& base_commit, const std::string& head_commit,
    bool merge_base, const std::vector<std::string>& paths) const {
  using py::arg;
  return line_spans_from(call("diff_line_spans", to_str(base_commit), to_str(head_commit),
                              arg("merge_base") = merge_base,
                              arg("paths") = to_list(paths, to_str)));
}

repository_changes::IndexedPaths HostChangeIndex::indexed_paths(
    const repository_changes::IndexDb&, const std::vector<std::string>& paths) const {
  const py::object op = host_.attr("repository_changes").attr("indexed_paths");
  return indexed_paths_from(op(db_, to_list(paths, to_str)));
}

std::vector<repository_changes::SymbolOnLines> HostChangeIndex::symbols_on_lines(
    const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
    std::span<const std::string_view>, int per_file) const {
  // Plain triples, as the module builds a LineRange.
  const py::list range_list = to_list(ranges, [](const repository_changes::LineRange& range) {
    return py::make_tuple(to_str(range.path), range.start_line, range.end_line);
  });
  const py::object op = host_.attr("repository_changes").attr("symbols_on_lines");
  return from_list(op(db_, range_list, host_.attr("CHANGE_KINDS"), py::arg("per_file") = per_file),
                   symbol_from);
}

bool HostSourceFilters::ask(const char* name, std::string_view text) const {
  return truthy(host_.attr(name)(to_str(text)));
}

bool HostSourceFilters::in_source_languages(std::string_view language) const {
  return host_.attr("SOURCE_LANGUAGES").contains(to_str(language));
}

bool HostSourceFilters::is_source_extension(std::string_view path) const {
  return ask("is_source_extension", path);
}

bool HostSourceFilters::is_test_path(std::string_view path) const {
  return ask("is_test_path", path);
}

bool HostSourceFilters::should_skip_path(std::string_view directory) const {
  return ask("should_skip_path", directory);
}

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

HostLogSink::HostLogSink(py::module_ host, py::object repo_root)
    : host_(std::move(host)), repo_root_(std::move(repo_root)) {
  if (!repo_root_.is_none()) repo_root_text_ = to_path(repo_root_).string();
}

py::object HostLogSink::handled_cause() const {
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

void HostLogSink::write(const LogRecord& record) const {
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

py::object HostLogSink::python_cause(const std::exception_ptr& cause) const {
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

CallNeighbours::CallNeighbours(const py::module_& host, bool own, const py::object& repo_root,
                               const py::object& db)
    : host_(host), sink_(host, repo_root), logger_(std::string(git_history::kLoggerName), sink_) {
  if (own) {
    production_.emplace(
        git_history::ProductionOptions{.runner = git_utils::GitRunner().stopped_by(&stop_)}, sink_);
    const git_history::Neighbours n = production_->neighbours();
    neighbours_.emplace(git_history::Neighbours{n.git, n.index, n.filters, logger_});
    repository_.emplace(db.is_none() ? stand_in_ : db.cast<const repository_changes::IndexDb&>());
  } else {
    host_git_.emplace(host, repo_root);
    host_index_.emplace(host, db);
    host_filters_.emplace(host);
    neighbours_.emplace(git_history::Neighbours{*host_git_, *host_index_, *host_filters_, logger_});
    repository_.emplace(stand_in_);
  }
  history_.emplace(*neighbours_);
}

namespace {

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

void CallNeighbours::raise(const git_history::GitHistoryError& error) const {
  const py::object cause = sink_.python_cause(error.cause());
  py::object exception = host_.attr("GitHistoryError")(message_of(error, cause));
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
