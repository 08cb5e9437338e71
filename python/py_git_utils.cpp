// The git reader for Python: each call runs the production reader, whose
// clock is the wall clock, off the GIL.
#include <atomic>

#include "lomarind/production/production_history.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_interrupt.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

// Log lines of the reader (a cache it cannot use, say) to Python's logging,
// under the logger that the record names.
class LoggingSink final : public LogSink {
 public:
  void write(const LogRecord& record) const override {
    py::gil_scoped_acquire gil;
    py::list args;
    args.append(python_level(record.level));
    args.append(to_str(record.format));
    for (const std::string& arg : record.args) args.append(to_str(arg));
    py::module_::import("logging")
        .attr("getLogger")(to_str(record.logger))
        .attr("log")(*py::tuple(args));
  }
};

// Runs `read` on the production reader, off the GIL and ended at once by
// a signal.
template <typename Read>
auto without_gil(Read read) {
  const LoggingSink sink;
  std::atomic<bool> stop{false};
  const git_history::ProductionHistory production(
      {.runner = git_utils::GitRunner().stopped_by(&stop)}, sink);
  return interruptibly(stop, [&] { return read(production.neighbours().git); });
}

py::object resolve_commit(py::handle repo_root, py::handle name) {
  const auto root = to_path(repo_root);
  const std::string revision = to_bytes(name, "name");
  return to_optional_str(without_gil(
      [&](const git_utils::GitReader& git) { return git.resolve_commit(root, revision); }));
}

py::object resolve_display_branch(py::handle repo_root) {
  const auto root = to_path(repo_root);
  return to_optional_str(without_gil(
      [&](const git_utils::GitReader& git) { return git.resolve_display_branch(root); }));
}

py::str get_default_branch(py::handle repo_root) {
  const auto root = to_path(repo_root);
  return to_str(
      without_gil([&](const git_utils::GitReader& git) { return git.get_default_branch(root); }));
}

py::object parse_time_spec(py::handle since) {
  const std::string spec = to_bytes(since, "since");
  return to_datetime(git_utils::parse_time_spec(spec, git_history::wall_clock()));
}

py::list diff_file_changes(py::handle repo_root, py::handle base_commit, py::handle head_commit) {
  const auto root = to_path(repo_root);
  const std::string base = to_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  return to_python_list(without_gil(
      [&](const git_utils::GitReader& git) { return git.diff_file_changes(root, base, head); }));
}

std::int64_t count_commits(py::handle repo_root, py::handle base_commit, py::handle head_commit) {
  const auto root = to_path(repo_root);
  const std::string base = to_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  return without_gil(
      [&](const git_utils::GitReader& git) { return git.count_commits(root, base, head); });
}

py::list log_commit_changes(py::handle repo_root, py::handle since, py::handle ref,
                            int max_commits) {
  const auto root = to_path(repo_root);
  const auto start = to_sys_seconds(since);
  const std::string tip = to_bytes(ref, "ref");
  return to_python_list(without_gil([&](const git_utils::GitReader& git) {
    return git.log_commit_changes(root, start, tip, max_commits);
  }));
}

py::object commit_before(py::handle repo_root, py::handle tip, py::handle start) {
  const auto root = to_path(repo_root);
  const std::string tip_commit = to_bytes(tip, "tip");
  const auto start_time = to_sys_seconds(start);
  return to_optional_str(without_gil([&](const git_utils::GitReader& git) {
    return git.commit_before(root, tip_commit, start_time);
  }));
}

py::dict diff_line_spans(py::handle repo_root, py::handle base_commit, py::handle head_commit,
                         bool merge_base, py::handle paths) {
  const auto root = to_path(repo_root);
  const std::string base = to_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  const std::vector<std::string> path_list = to_bytes_list(paths, "a path");
  return to_python(without_gil([&](const git_utils::GitReader& git) {
    return git.diff_line_spans(root, base, head, merge_base, path_list);
  }));
}

void translate_git_error(std::exception_ptr failure) {
  raise_as<git_utils::GitError>(failure, "lomarind.utils.git_utils", "GitError");
}

}  // namespace

void bind_git_utils(py::module_& module) {
  using py::arg;
  module.def("resolve_commit", resolve_commit, arg("repo_root"), arg("name"));
  module.def("resolve_display_branch", resolve_display_branch, arg("repo_root"));
  module.def("get_default_branch", get_default_branch, arg("repo_root"));
  module.def("parse_time_spec", parse_time_spec, arg("since"));
  module.def("diff_file_changes", diff_file_changes, arg("repo_root"), arg("base_commit"),
             arg("head_commit"));
  module.def("count_commits", count_commits, arg("repo_root"), arg("base_commit"),
             arg("head_commit"));
  module.def("log_commit_changes", log_commit_changes, arg("repo_root"), py::kw_only(),
             arg("since"), arg("ref"), arg("max_commits"));
  module.def("commit_before", commit_before, arg("repo_root"), arg("tip"), arg("start"));
  module.def("diff_line_spans", diff_line_spans, arg("repo_root"), arg("base_commit"),
             arg("head_commit"), py::kw_only(), arg("merge_base"), arg("paths"));
  py::register_exception_translator(translate_git_error);
}

}  // namespace lomarind::python
