// The history module's internal functions for Python: periods and ref
// resolution, the fold of a log into path histories, the row builders and
// the page cut. Each runs the library's own code.
#include <vector>

#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/git_access.h"
#include "lomarind/workers/git_history/hotspots.h"
#include "lomarind/workers/git_history/paging.h"
#include "lomarind/workers/git_history/period.h"
#include "lomarind/workers/git_history/source.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

namespace detail = git_history::detail;

py::object json_of(const auto& value) { return json_to_python(git_history::to_json(value)); }

py::object resolved(const std::optional<detail::ResolvedRef>& ref) {
  if (!ref) return py::none();
  return py::make_tuple(to_str(ref->name), to_str(ref->commit));
}

py::object period_start(const py::module_& host, bool own, py::handle since) {
  CallNeighbours n(host, own, py::none(), py::none());
  const std::string spec = to_bytes(since, "since");
  return n.answer([&] { return detail::period_start(n.neighbours().parse_time_spec, spec); },
                  [&](std::chrono::sys_seconds start) { return n.start_time(start); });
}

// Runs `resolve` on the call's git reader and root.
template <typename Resolve>
py::object resolving(const py::module_& host, bool own, const py::object& repo_root,
                     Resolve resolve) {
  CallNeighbours n(host, own, repo_root, py::none());
  const std::filesystem::path root = to_path(repo_root);
  return n.answer([&] { return resolve(n.neighbours().git, root); },
                  [](const auto& ref) { return resolved(ref); });
}

py::object resolve_base(const py::module_& host, bool own, const py::object& repo_root,
                        py::handle name) {
  const auto base = to_optional_bytes(name, "name");
  return resolving(host, own, repo_root, [&](const auto& git, const auto& root) {
    return detail::resolve_base(git, root, base);
  });
}

py::object resolve_head(const py::module_& host, bool own, const py::object& repo_root,
                        py::handle name, py::handle parameter) {
  const auto head = to_optional_bytes(name, "name");
  const std::string named_as = to_bytes(parameter, "parameter");
  return resolving(host, own, repo_root, [&](const auto& git, const auto& root) {
    return detail::resolve_head(git, root, head, named_as);
  });
}

py::object resolve_branch(const py::module_& host, bool own, const py::object& repo_root,
                          py::handle name) {
  const std::string branch = to_bytes(name, "name");
  return resolving(host, own, repo_root, [&](const auto& git, const auto& root) {
    return detail::resolve_branch(git, root, branch);
  });
}

py::list histories(const py::module_& host, py::handle commits) {
  return to_list(detail::histories(from_list(commits, commit_changes_from)),
                 [&](const detail::PathHistory& history) { return to_python(host, history); });
}

bool is_source(const py::module_& host, bool own, py::handle path, py::handle facts) {
  return detail::is_source(source_filters(host, own), to_bytes(path, "path"),
                           indexed_paths_from(facts));
}

std::vector<detail::PathHistory> path_histories_from(py::handle histories) {
  return from_list(histories, path_history_from);
}

py::object period_fields(py::handle since, py::handle branch, py::handle commits) {
  // Only the number of commits read shapes the fields.
  const std::vector<git_utils::CommitChanges> read(py::len(commits));
  return json_of(detail::period_fields(to_bytes(since, "since"), to_bytes(branch, "branch"), read));
}

py::list page(py::handle items, ClampedInt limit, ClampedInt offset) {
  const auto all =
      from_list(items, [](py::handle item) { return py::reinterpret_borrow<py::object>(item); });
  return to_list(detail::page(all, limit.value, offset.value),
                 [](const py::object& item) { return item; });
}

py::object branch_note(py::handle base_commit, py::handle head_commit) {
  const git_history::BranchChanges changes("", "", to_bytes(base_commit, "base_commit"),
                                           to_bytes(head_commit, "head_commit"), 0, {});
  return to_optional_str(changes.note());
}

}  // namespace

void bind_git_history_internals(py::module_& module) {
  module.def("period_start", period_start);
  module.def("resolve_base", resolve_base);
  module.def("resolve_head", resolve_head);
  module.def("resolve_branch", resolve_branch);
  module.def("histories", histories);
  module.def("is_source", is_source);
  module.def("history_row", [](py::handle history) {
    return json_of(detail::history_row(path_history_from(history)));
  });
  module.def("period_fields", period_fields);
  module.def("file_rows", [](py::handle histories, py::handle facts) {
    return json_of(detail::file_rows(path_histories_from(histories), indexed_paths_from(facts)));
  });
  module.def("component_rows", [](py::handle histories, py::handle facts) {
    return json_of(
        detail::component_rows(path_histories_from(histories), indexed_paths_from(facts)));
  });
  module.def("page", page);
  module.def("path_status",
             [](py::handle history) { return to_str(path_history_from(history).status()); });
  module.def("as_change",
             [](py::handle history) { return to_python(path_history_from(history).as_change()); });
  module.def("branch_note", branch_note);
  const git_utils::LineSpan& whole = detail::kWholeFile;
  module.attr("WHOLE_FILE") = py::make_tuple(whole.start, whole.end, whole.whole_file);
  module.attr("SAME_COMMIT_NOTE") = to_str(detail::kSameCommitNote);
}

}  // namespace lomarind::python
