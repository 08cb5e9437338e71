// The history module's internal functions for Python: the git-error guard,
// periods and ref resolution, the fold of a log into path histories, the
// row builders and the page cut. Each runs the library's own code.
#include <vector>

#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/hotspots.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/period.h"
#include "lomarind/workers/git_history/source.h"
#include "lomarind/workers/git_history/symbols.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

namespace detail = git_history::detail;

// The guard of a block of git reads, as a Python context manager.
class ReadingGit {
 public:
  explicit ReadingGit(py::module_ host) : host_(std::move(host)) {}

  // A GitError leaving the block becomes GitHistoryError, with one warning;
  // anything else leaves it unchanged.
  bool exit(py::handle, py::handle error, py::handle) const {
    if (error.is_none() || !py::isinstance(error, host_.attr("GitError"))) return false;
    const auto original = py::reinterpret_borrow<py::object>(error);
    HostNeighbours n(host_, py::none(), py::none());
    answering(host_, [&]() -> py::object {
      detail::reading_git(n.logger, [&] {
        throw HostGitError(to_bytes(py::str(original), "a GitError's text"), original);
      });
      return py::none();
    });
    return false;
  }

 private:
  py::module_ host_;
};

py::object resolved(const std::optional<detail::ResolvedRef>& ref) {
  if (!ref) return py::none();
  return py::make_tuple(to_str(ref->name), to_str(ref->commit));
}

py::object period_start(const py::module_& host, py::handle since) {
  HostNeighbours n(host, py::none(), py::none());
  return answering(host, [&] {
    return n.git.start_time(detail::period_start(n.git, to_bytes(since, "since")));
  });
}

py::object resolve_base(const py::module_& host, const py::object& repo_root, py::handle name) {
  HostNeighbours n(host, repo_root, py::none());
  return answering(host, [&] {
    return resolved(
        detail::resolve_base(n.git, to_path(repo_root), to_optional_bytes(name, "name")));
  });
}

py::object resolve_head(const py::module_& host, const py::object& repo_root, py::handle name,
                        py::handle parameter) {
  HostNeighbours n(host, repo_root, py::none());
  return answering(host, [&] {
    return resolved(detail::resolve_head(n.git, to_path(repo_root), to_optional_bytes(name, "name"),
                                         to_bytes(parameter, "parameter")));
  });
}

py::object resolve_branch(const py::module_& host, const py::object& repo_root, py::handle name) {
  HostNeighbours n(host, repo_root, py::none());
  return resolved(detail::resolve_branch(n.git, to_path(repo_root), to_bytes(name, "name")));
}

py::list histories(const py::module_& host, py::handle commits) {
  return to_list(detail::histories(from_list(commits, commit_changes_from)),
                 [&](const detail::PathHistory& history) { return to_python(host, history); });
}

bool is_source(const py::module_& host, py::handle path, py::handle facts) {
  HostNeighbours n(host, py::none(), py::none());
  return detail::is_source(n.filters, to_bytes(path, "path"), indexed_paths_from(facts));
}

std::vector<detail::PathHistory> path_histories_from(py::handle histories) {
  return from_list(histories, path_history_from);
}

py::object period_fields(py::handle since, py::handle branch, py::handle commits) {
  // Only the number of commits read shapes the fields.
  const std::vector<git_utils::CommitChanges> read(py::len(commits));
  return json_to_python(git_history::to_json(
      detail::period_fields(to_bytes(since, "since"), to_bytes(branch, "branch"), read)));
}

py::list page(py::handle items, ClampedInt limit, ClampedInt offset) {
  const auto all =
      from_list(items, [](py::handle item) { return py::reinterpret_borrow<py::object>(item); });
  return to_list(detail::page(all, limit.value, offset.value),
                 [](const py::object& item) { return item; });
}

py::object as_change(py::handle history) {
  return to_python(path_history_from(history).as_change());
}

py::object branch_note(py::handle base_commit, py::handle head_commit) {
  const git_history::BranchChanges changes("", "", to_bytes(base_commit, "base_commit"),
                                           to_bytes(head_commit, "head_commit"), 0, {});
  return to_optional_str(changes.note());
}

}  // namespace

void bind_git_history_internals(py::module_& module) {
  using py::arg;
  py::class_<ReadingGit>(module, "ReadingGit", "The guard of a block of git reads.")
      .def(py::init<py::module_>(), arg("host"))
      .def("__enter__", [](const ReadingGit&) {})
      .def("__exit__", &ReadingGit::exit);
  module.def("period_start", period_start, arg("host"), arg("since"));
  module.def("resolve_base", resolve_base, arg("host"), arg("repo_root"), arg("name"));
  module.def("resolve_head", resolve_head, arg("host"), arg("repo_root"), arg("name"),
             arg("parameter"));
  module.def("resolve_branch", resolve_branch, arg("host"), arg("repo_root"), arg("name"));
  module.def("histories", histories, arg("host"), arg("commits"));
  module.def("is_source", is_source, arg("host"), arg("path"), arg("facts"));
  module.def(
      "history_row",
      [](py::handle history) {
        return json_to_python(
            git_history::to_json(detail::history_row(path_history_from(history))));
      },
      arg("history"));
  module.def("period_fields", period_fields, arg("since"), arg("branch"), arg("commits"));
  module.def(
      "file_rows",
      [](py::handle histories, py::handle facts) {
        return json_to_python(
            to_json(detail::file_rows(path_histories_from(histories), indexed_paths_from(facts))));
      },
      arg("histories"), arg("facts"));
  module.def(
      "component_rows",
      [](py::handle histories, py::handle facts) {
        return json_to_python(git_history::to_json(
            detail::component_rows(path_histories_from(histories), indexed_paths_from(facts))));
      },
      arg("histories"), arg("facts"));
  module.def("page", page, arg("items"), arg("limit"), arg("offset"));
  module.def(
      "path_status", [](py::handle history) { return to_str(path_history_from(history).status()); },
      arg("history"));
  module.def("as_change", as_change, arg("history"));
  module.def("branch_note", branch_note, arg("base_commit"), arg("head_commit"));
  const git_utils::LineSpan& whole = detail::kWholeFile;
  module.attr("WHOLE_FILE") = py::make_tuple(whole.start, whole.end, whole.whole_file);
  module.attr("SAME_COMMIT_NOTE") = to_str(detail::kSameCommitNote);
}

}  // namespace lomarind::python
