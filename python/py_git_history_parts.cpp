// The history module's smaller public operations for Python: the branch
// record, row builders, changed lines, symbols and the source test.
#include "lomarind/workers/git_history/answer_json.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

py::object branch_changes(const py::module_& host, const py::object& repo_root,
                          py::handle base_branch, py::handle head_branch,
                          py::handle head_parameter) {
  HostNeighbours n(host, repo_root, py::none());
  const auto base = to_optional_bytes(base_branch, "base_branch");
  const auto head = to_optional_bytes(head_branch, "head_branch");
  const git_history::BranchChangesOptions options{.head_parameter =
                                                      to_bytes(head_parameter, "head_parameter")};
  return answering(host, [&] {
    const git_history::BranchChanges changes =
        n.history.branch_changes(to_path(repo_root), base, head, options);
    return host.attr("BranchChanges")(to_str(changes.base_branch()), to_str(changes.head_branch()),
                                      to_str(changes.base_commit()), to_str(changes.head_commit()),
                                      changes.commit_count(),
                                      py::tuple(to_python_list(changes.files())));
  });
}

// The caller's own records, in answer order. The order depends only on
// lines changed and path, so each file's status can carry its position
// through the sort.
py::list by_lines_changed(py::handle files) {
  const std::vector<py::object> given =
      from_list(files, [](py::handle file) { return py::reinterpret_borrow<py::object>(file); });
  std::vector<git_utils::FileChange> changes;
  for (const py::object& file : given) changes.push_back(file_change_from(file));
  for (std::size_t i = 0; i < changes.size(); ++i) changes[i].status = std::to_string(i);
  return to_list(git_history::by_lines_changed(changes), [&](const git_utils::FileChange& change) {
    return given[std::stoul(change.status)];
  });
}

py::object changed_line_spans(const py::module_& host, const py::object& repo_root,
                              py::handle base_commit, py::handle head_commit, py::handle files,
                              bool merge_base) {
  HostNeighbours n(host, repo_root, py::none());
  const auto base = to_optional_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  const auto changes = file_changes_from(files);
  return answering(host, [&]() -> py::object {
    const py::object whole_file = host.attr("_WHOLE_FILE");
    py::dict result;
    for (const auto& [path, spans] : n.history.changed_line_spans(
             to_path(repo_root), base, head, changes, {.merge_base = merge_base})) {
      // Whole-file spans are the module's one shared value.
      result[to_str(path)] = to_list(spans, [&](const git_utils::LineSpan& span) {
        return span == git_history::detail::kWholeFile ? whole_file : to_python(span);
      });
    }
    return result;
  });
}

// Plain (path, start, end) triples, which the index's LineRange accepts.
py::list line_ranges(py::handle spans, py::handle paths) {
  return to_list(git_history::line_ranges(line_spans_from(spans), to_bytes_list(paths, "a path")),
                 [](const repository_changes::LineRange& range) {
                   return py::make_tuple(to_str(range.path), range.start_line, range.end_line);
                 });
}

py::object touched_symbols(const py::module_& host, const py::object& repository,
                           const py::object& repo_root, py::handle base_commit,
                           py::handle head_commit, py::handle files, bool merge_base,
                           int per_file) {
  HostNeighbours n(host, repo_root, repository.attr("db"));
  const auto base = to_optional_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  const auto changes = file_changes_from(files);
  return answering(host, [&]() -> py::object {
    py::dict result;
    for (const auto& [path, rows] :
         n.history.touched_symbols(n.repository, to_path(repo_root), base, head, changes,
                                   {.merge_base = merge_base, .per_file = per_file})) {
      result[to_str(path)] = json_to_python(git_history::to_json(rows));
    }
    return result;
  });
}

bool is_source_path(const py::module_& host, py::handle path, py::handle language) {
  HostNeighbours n(host, py::none(), py::none());
  return n.history.is_source_path(to_bytes(path, "path"), to_optional_bytes(language, "language"));
}

}  // namespace

void bind_git_history_parts(py::module_& module) {
  using py::arg;
  module.def("branch_changes", branch_changes, arg("host"), arg("repo_root"), arg("base_branch"),
             arg("head_branch"), arg("head_parameter"));
  module.def("by_lines_changed", by_lines_changed, arg("files"));
  module.def(
      "change_row",
      [](py::handle change) {
        return json_to_python(
            git_history::to_json(git_history::change_row(file_change_from(change))));
      },
      arg("change"));
  module.def("changed_line_spans", changed_line_spans, arg("host"), arg("repo_root"),
             arg("base_commit"), arg("head_commit"), arg("files"), arg("merge_base"));
  module.def("line_ranges", line_ranges, arg("spans"), arg("paths"));
  module.def("touched_symbols", touched_symbols, arg("host"), arg("repository"), arg("repo_root"),
             arg("base_commit"), arg("head_commit"), arg("files"), arg("merge_base"),
             arg("per_file"));
  module.def(
      "symbol_row",
      [](py::handle symbol) {
        return json_to_python(git_history::to_json(git_history::symbol_row(symbol_from(symbol))));
      },
      arg("symbol"));
  module.def("is_source_path", is_source_path, arg("host"), arg("path"), arg("language"));
}

}  // namespace lomarind::python
