// The history module's public operations for Python. Each call runs over
// the neighbours the Python side chose (py_host.h) and returns plain
// Python values, or the package's records where the contract names them.
#include <string>

#include "lomarind/workers/git_history/answer_json.h"
#include "lomarind/workers/git_history/source.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_host.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

namespace gh = git_history;

py::object json_of(const auto& value) { return json_to_python(gh::to_json(value)); }

// Runs one answer of GitHistory. Without `hint` the answer leaves out the
// next-page hint: the host has its own, which the Python side applies.
template <typename Answer, typename Options>
py::object answer(Answer (gh::GitHistory::*ask)(const repository_changes::Repository&,
                                                const std::filesystem::path&, const Options&) const,
                  const py::module_& host, bool own, const py::object& repository,
                  const py::object& repo_root, const Options& options, bool hint) {
  return python_answer(
      host, own, repository, repo_root,
      [&](const gh::GitHistory& history, const repository_changes::Repository& index,
          const std::filesystem::path& root) {
        Answer answer = (history.*ask)(index, root, options);
        if (!hint) {
          answer.page.next_offset.reset();
          answer.page.hint.reset();
        }
        return answer;
      });
}

py::object recent_changes(const py::module_& host, bool own, const py::object& repository,
                          const py::object& repo_root, py::handle since, py::handle branch,
                          bool include_symbols, ClampedInt limit, ClampedInt offset,
                          bool source_only, bool hint) {
  return answer(&gh::GitHistory::recent_changes, host, own, repository, repo_root,
                gh::RecentChangesOptions{.since = to_bytes(since, "since"),
                                         .branch = to_optional_bytes(branch, "branch"),
                                         .include_symbols = include_symbols,
                                         .limit = limit.value,
                                         .offset = offset.value,
                                         .source_only = source_only},
                hint);
}

py::object hotspots(const py::module_& host, bool own, const py::object& repository,
                    const py::object& repo_root, py::handle since, py::handle branch,
                    py::handle group_by, ClampedInt limit, ClampedInt offset, bool source_only,
                    bool hint) {
  return answer(&gh::GitHistory::hotspots, host, own, repository, repo_root,
                gh::HotspotsOptions{.since = to_bytes(since, "since"),
                                    .branch = to_optional_bytes(branch, "branch"),
                                    .group_by = to_bytes(group_by, "group_by"),
                                    .limit = limit.value,
                                    .offset = offset.value,
                                    .source_only = source_only},
                hint);
}

py::object branch_diff(const py::module_& host, bool own, const py::object& repository,
                       const py::object& repo_root, py::handle base_branch, py::handle head_branch,
                       bool include_symbols, ClampedInt limit, ClampedInt offset, bool source_only,
                       bool hint) {
  return answer(&gh::GitHistory::branch_diff, host, own, repository, repo_root,
                gh::BranchDiffOptions{.base_branch = to_optional_bytes(base_branch, "base_branch"),
                                      .head_branch = to_optional_bytes(head_branch, "head_branch"),
                                      .include_symbols = include_symbols,
                                      .limit = limit.value,
                                      .offset = offset.value,
                                      .source_only = source_only},
                hint);
}

py::object branch_changes(const py::module_& host, bool own, const py::object& repo_root,
                          py::handle base_branch, py::handle head_branch,
                          py::handle head_parameter) {
  CallNeighbours n(host, own, repo_root, py::none());
  const std::filesystem::path root = to_path(repo_root);
  const auto base = to_optional_bytes(base_branch, "base_branch");
  const auto head = to_optional_bytes(head_branch, "head_branch");
  const gh::BranchChangesOptions options{.head_parameter =
                                             to_bytes(head_parameter, "head_parameter")};
  return n.answer([&] { return n.history().branch_changes(root, base, head, options); },
                  [&](const gh::BranchChanges& changes) {
                    return host.attr("BranchChanges")(
                        to_str(changes.base_branch()), to_str(changes.head_branch()),
                        to_str(changes.base_commit()), to_str(changes.head_commit()),
                        changes.commit_count(), py::tuple(to_python_list(changes.files())));
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
  return to_list(gh::by_lines_changed(changes), [&](const git_utils::FileChange& change) {
    return given[std::stoul(change.status)];
  });
}

py::object changed_line_spans(const py::module_& host, bool own, const py::object& repo_root,
                              py::handle base_commit, py::handle head_commit, py::handle files,
                              bool merge_base) {
  CallNeighbours n(host, own, repo_root, py::none());
  const std::filesystem::path root = to_path(repo_root);
  const auto base = to_optional_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  const auto changes = file_changes_from(files);
  return n.answer(
      [&] {
        return n.history().changed_line_spans(root, base, head, changes,
                                              {.merge_base = merge_base});
      },
      [&](const git_utils::LineSpansByPath& spans_by_path) {
        // Whole-file spans are the module's one shared value.
        const py::object whole_file = host.attr("_WHOLE_FILE");
        py::dict result;
        for (const auto& [path, spans] : spans_by_path) {
          result[to_str(path)] = to_list(spans, [&](const git_utils::LineSpan& span) {
            return span == gh::detail::kWholeFile ? whole_file : to_python(span);
          });
        }
        return result;
      });
}

// Plain (path, start, end) triples, which the index's LineRange accepts.
py::list line_ranges(py::handle spans, py::handle paths) {
  return to_list(gh::line_ranges(line_spans_from(spans), to_bytes_list(paths, "a path")),
                 [](const repository_changes::LineRange& range) {
                   return py::make_tuple(to_str(range.path), range.start_line, range.end_line);
                 });
}

py::object touched_symbols(const py::module_& host, bool own, const py::object& repository,
                           const py::object& repo_root, py::handle base_commit,
                           py::handle head_commit, py::handle files, bool merge_base,
                           int per_file) {
  CallNeighbours n(host, own, repo_root, repository.attr("db"));
  const std::filesystem::path root = to_path(repo_root);
  const auto base = to_optional_bytes(base_commit, "base_commit");
  const std::string head = to_bytes(head_commit, "head_commit");
  const auto changes = file_changes_from(files);
  return n.answer(
      [&] {
        return n.history().touched_symbols(n.repository(), root, base, head, changes,
                                           {.merge_base = merge_base, .per_file = per_file});
      },
      [](const gh::SymbolsByPath& symbols) {
        py::dict result;
        for (const auto& [path, rows] : symbols) result[to_str(path)] = json_of(rows);
        return result;
      });
}

bool is_source_path(const py::module_& host, bool own, py::handle path, py::handle language) {
  return gh::detail::is_source_path(source_filters(host, own), to_bytes(path, "path"),
                                    to_optional_bytes(language, "language"));
}

}  // namespace

// The internal ones; defined in py_git_history_internals.cpp.
void bind_git_history_internals(py::module_& module);

void bind_git_history(py::module_& module) {
  // Called only by the module's Python functions, which hold the names and
  // signatures; these take their arguments in order.
  module.def("recent_changes", recent_changes);
  module.def("hotspots", hotspots);
  module.def("branch_diff", branch_diff);
  module.def("branch_changes", branch_changes);
  module.def("by_lines_changed", by_lines_changed);
  module.def("change_row",
             [](py::handle change) { return json_of(gh::change_row(file_change_from(change))); });
  module.def("changed_line_spans", changed_line_spans);
  module.def("line_ranges", line_ranges);
  module.def("touched_symbols", touched_symbols);
  module.def("symbol_row",
             [](py::handle symbol) { return json_of(gh::symbol_row(symbol_from(symbol))); });
  module.def("is_source_path", is_source_path);
  module.attr("MAX_COMMITS") = gh::MAX_COMMITS;
  module.attr("SYMBOLS_PER_ROW") = gh::SYMBOLS_PER_ROW;
  bind_git_history_internals(module);
  py::register_exception_translator(translate_host_cause);
}

}  // namespace lomarind::python
