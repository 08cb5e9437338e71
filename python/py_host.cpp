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
    throw Host(message, std::move(error));
  }
}

template <typename Call>
py::object calling_git(const py::module_& host, Call call) {
  return raising_as<HostGitError>(host.attr("GitError"), "a GitError's text", call);
}

bool truthy(const py::object& value) {
  const int result = PyObject_IsTrue(value.ptr());
  if (result < 0) throw py::error_already_set();
  return result == 1;
}

}  // namespace

py::object HostGitReader::operation(const char* name) const {
  return host_.attr("git_utils").attr(name);
}

py::object HostGitReader::start_time(std::chrono::sys_seconds start) const {
  if (last_start_ && start == last_start_seconds_) return last_start_;
  return to_datetime(start);
}

std::optional<std::string> HostGitReader::resolve_commit(const std::filesystem::path&,
                                                         const std::string& name) const {
  const py::object commit =
      calling_git(host_, [&] { return operation("resolve_commit")(repo_root_, to_str(name)); });
  return to_optional_bytes(commit, "a commit id");
}

std::optional<std::string> HostGitReader::resolve_display_branch(
    const std::filesystem::path&) const {
  const py::object name =
      calling_git(host_, [&] { return operation("resolve_display_branch")(repo_root_); });
  return to_optional_bytes(name, "a branch name");
}

std::string HostGitReader::get_default_branch(const std::filesystem::path&) const {
  const py::object name =
      calling_git(host_, [&] { return operation("get_default_branch")(repo_root_); });
  return to_bytes(name, "the default branch");
}

std::chrono::sys_seconds HostGitReader::parse_time_spec(const std::string& since) const {
  const py::object start = raising_as<HostValueError>(
      py::reinterpret_borrow<py::object>(PyExc_ValueError), "a ValueError's text",
      [&] { return operation("parse_time_spec")(to_str(since)); });
  last_start_seconds_ = to_sys_seconds(start);
  last_start_ = start;
  return last_start_seconds_;
}

std::vector<git_utils::FileChange> HostGitReader::diff_file_changes(
    const std::filesystem::path&, const std::string& base_commit,
    const std::string& head_commit) const {
  const py::object files = calling_git(host_, [&] {
    return operation("diff_file_changes")(repo_root_, to_str(base_commit), to_str(head_commit));
  });
  return file_changes_from(files);
}

std::int64_t HostGitReader::count_commits(const std::filesystem::path&,
                                          const std::string& base_commit,
                                          const std::string& head_commit) const {
  const py::object count = calling_git(host_, [&] {
    return operation("count_commits")(repo_root_, to_str(base_commit), to_str(head_commit));
  });
  return count.cast<std::int64_t>();
}

std::vector<git_utils::CommitChanges> HostGitReader::log_commit_changes(
    const std::filesystem::path&, std::chrono::sys_seconds since, const std::string& ref,
    int max_commits) const {
  using py::arg;
  const py::object commits = calling_git(host_, [&] {
    return operation("log_commit_changes")(repo_root_, arg("since") = start_time(since),
                                           arg("ref") = to_str(ref),
                                           arg("max_commits") = max_commits);
  });
  return from_list(commits, commit_changes_from);
}

std::optional<std::string> HostGitReader::commit_before(const std::filesystem::path&,
                                                        const std::string& tip,
                                                        std::chrono::sys_seconds start) const {
  const py::object commit = calling_git(host_, [&] {
    return operation("commit_before")(repo_root_, to_str(tip), start_time(start));
  });
  return to_optional_bytes(commit, "a commit id");
}

git_utils::LineSpansByPath HostGitReader::diff_line_spans(
    const std::filesystem::path&, const std::string& base_commit, const std::string& head_commit,
    bool merge_base, const std::vector<std::string>& paths) const {
  using py::arg;
  const py::object spans = calling_git(host_, [&] {
    return operation("diff_line_spans")(repo_root_, to_str(base_commit), to_str(head_commit),
                                        arg("merge_base") = merge_base,
                                        arg("paths") = to_list(paths, to_str));
  });
  return line_spans_from(spans);
}

repository_changes::IndexedPaths HostChangeIndex::indexed_paths(
    const repository_changes::IndexDb&, const std::vector<std::string>& paths) const {
  const py::object facts =
      host_.attr("repository_changes").attr("indexed_paths")(db_, to_list(paths, to_str));
  repository_changes::IndexedPaths result;
  for (const py::handle item : facts.attr("items")()) {
    result.emplace(to_bytes(item[py::int_(0)], "a path"), indexed_path_from(item[py::int_(1)]));
  }
  return result;
}

std::vector<repository_changes::SymbolOnLines> HostChangeIndex::symbols_on_lines(
    const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
    std::span<const std::string_view>, int per_file) const {
  const py::object line_range = host_.attr("LineRange");
  const py::list range_list = to_list(ranges, [&](const repository_changes::LineRange& range) {
    return line_range(to_str(range.path), range.start_line, range.end_line);
  });
  const py::object symbols =
      host_.attr("repository_changes")
          .attr("symbols_on_lines")(db_, range_list, host_.attr("CHANGE_KINDS"),
                                    py::arg("per_file") = per_file);
  return from_list(symbols, symbol_from);
}

bool HostSourceFilters::in_source_languages(std::string_view language) const {
  return host_.attr("SOURCE_LANGUAGES").contains(to_str(language));
}

bool HostSourceFilters::is_source_extension(std::string_view path) const {
  return truthy(host_.attr("is_source_extension")(to_str(path)));
}

bool HostSourceFilters::is_test_path(std::string_view path) const {
  return truthy(host_.attr("is_test_path")(to_str(path)));
}

bool HostSourceFilters::should_skip_path(std::string_view directory) const {
  return truthy(host_.attr("should_skip_path")(to_str(directory)));
}

Json HostPaginationHint::add_pagination_hint(Json result, std::int64_t count) const {
  return json_from_python(host_.attr("add_pagination_hint")(json_to_python(result), count));
}

namespace {

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

}  // namespace

void HostLogSink::write(const LogRecord& record) const {
  py::list args;
  args.append(python_level(record.level));
  args.append(to_str(record.format));
  for (const std::string& arg : record.args) args.append(to_str(arg));
  host_.attr("logger").attr("log")(*py::tuple(args));
}

namespace {

py::object python_cause(const py::module_& host, const std::exception_ptr& cause) {
  if (!cause) return py::none();
  try {
    std::rethrow_exception(cause);
  } catch (const HostCause& error) {
    return error.original().value();
  } catch (const git_utils::GitError& error) {
    return host.attr("GitError")(to_str(error.what()));
  } catch (const std::invalid_argument& error) {
    return py::reinterpret_borrow<py::object>(PyExc_ValueError)(to_str(error.what()));
  } catch (const std::exception&) {
    // A cause of another kind has no Python counterpart; the message says it all.
  }
  return py::none();
}

}  // namespace

void raise_history_error(const py::module_& host, const git_history::GitHistoryError& error) {
  py::object exception = host.attr("GitHistoryError")(to_str(error.what()));
  const py::object cause = python_cause(host, error.cause());
  // Like `raise ... from cause`: setting __cause__ also suppresses the context.
  if (!cause.is_none()) exception.attr("__cause__") = cause;
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
  throw py::error_already_set();
}

}  // namespace lomarind::python
