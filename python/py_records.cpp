#include "py_records.h"

#include "py_convert.h"

namespace lomarind::python {

namespace {

py::object git_utils_class(const char* name) {
  return py::module_::import("lomarind.utils.git_utils").attr(name);
}

py::object index_class(const char* name) {
  return py::module_::import("lomarind.storage.repository_changes").attr(name);
}

std::string text(py::handle record, const char* field) {
  return to_bytes(record.attr(field), field);
}

std::optional<std::string> optional_text(py::handle record, const char* field) {
  return to_optional_bytes(py::getattr(record, field, py::none()), field);
}

std::int64_t integer(py::handle record, const char* field) {
  return record.attr(field).cast<std::int64_t>();
}

}  // namespace

git_utils::FileChange file_change_from(py::handle change) {
  return git_utils::FileChange{text(change, "path"), text(change, "status"),
                               integer(change, "additions"), integer(change, "deletions"),
                               optional_text(change, "old_path")};
}

std::vector<git_utils::FileChange> file_changes_from(py::handle changes) {
  return from_list(changes, file_change_from);
}

git_utils::CommitChanges commit_changes_from(py::handle commit) {
  return git_utils::CommitChanges{optional_text(commit, "commit").value_or(""),
                                  integer(commit, "timestamp"),
                                  file_changes_from(commit.attr("files"))};
}

git_utils::LineSpan line_span_from(py::handle span) {
  return git_utils::LineSpan{integer(span, "start"), integer(span, "end"),
                             py::getattr(span, "whole_file", py::bool_(false)).cast<bool>()};
}

git_utils::LineSpansByPath line_spans_from(py::handle spans_by_path) {
  git_utils::LineSpansByPath result;
  for (const py::handle item : spans_by_path.attr("items")()) {
    result.emplace_back(to_bytes(item[py::int_(0)], "a path"),
                        from_list(item[py::int_(1)], line_span_from));
  }
  return result;
}

repository_changes::IndexedPath indexed_path_from(py::handle facts) {
  return repository_changes::IndexedPath{optional_text(facts, "language"),
                                         optional_text(facts, "component")};
}

repository_changes::LineRange line_range_from(py::handle range) {
  if (py::hasattr(range, "start_line")) {
    return repository_changes::LineRange{text(range, "path"), integer(range, "start_line"),
                                         integer(range, "end_line")};
  }
  const py::tuple triple = py::tuple(py::reinterpret_borrow<py::object>(range));
  if (triple.size() != 3) throw py::type_error("a line range is (path, start_line, end_line)");
  return repository_changes::LineRange{to_bytes(triple[0], "path"), triple[1].cast<std::int64_t>(),
                                       triple[2].cast<std::int64_t>()};
}

repository_changes::SymbolOnLines symbol_from(py::handle symbol) {
  return repository_changes::SymbolOnLines{
      text(symbol, "path"), text(symbol, "name"),          text(symbol, "kind"),
      text(symbol, "fqn"),  integer(symbol, "start_line"), integer(symbol, "end_line")};
}

git_history::detail::PathHistory path_history_from(py::handle history) {
  return git_history::detail::PathHistory{.path = text(history, "path"),
                                          .origin = text(history, "origin"),
                                          .created = history.attr("created").cast<bool>(),
                                          .exists = history.attr("exists").cast<bool>(),
                                          .commits = integer(history, "commits"),
                                          .additions = integer(history, "additions"),
                                          .deletions = integer(history, "deletions"),
                                          .last_changed = integer(history, "last_changed")};
}

repository_changes::IndexedPaths indexed_paths_from(py::handle facts) {
  repository_changes::IndexedPaths result;
  for (const py::handle item : facts.attr("items")()) {
    result.emplace(to_bytes(item[py::int_(0)], "a path"), indexed_path_from(item[py::int_(1)]));
  }
  return result;
}

py::object to_python(const git_utils::FileChange& change) {
  return git_utils_class("FileChange")(to_str(change.path), to_str(change.status), change.additions,
                                       change.deletions, to_optional_str(change.old_path));
}

py::object to_python(const git_utils::CommitChanges& commit) {
  return git_utils_class("CommitChanges")(to_str(commit.commit), commit.timestamp,
                                          py::tuple(to_python_list(commit.files)));
}

py::object to_python(const git_utils::LineSpan& span) {
  return git_utils_class("LineSpan")(span.start, span.end, span.whole_file);
}

py::dict to_python(const git_utils::LineSpansByPath& spans_by_path) {
  py::dict result;
  for (const auto& [path, spans] : spans_by_path) result[to_str(path)] = to_python_list(spans);
  return result;
}

py::object to_python(const repository_changes::IndexedPath& facts) {
  return index_class("IndexedPath")(to_optional_str(facts.language),
                                    to_optional_str(facts.component));
}

py::object to_python(const repository_changes::LineRange& range) {
  return index_class("LineRange")(to_str(range.path), range.start_line, range.end_line);
}

py::object to_python(const repository_changes::SymbolOnLines& symbol) {
  return index_class("SymbolOnLines")(to_str(symbol.path), to_str(symbol.name), to_str(symbol.kind),
                                      to_str(symbol.fqn), symbol.start_line, symbol.end_line);
}

py::object to_python(const py::module_& host, const git_history::detail::PathHistory& history) {
  using py::arg;
  return host.attr("_PathHistory")(
      to_str(history.path), to_str(history.origin), arg("created") = history.created,
      arg("exists") = history.exists, arg("commits") = history.commits,
      arg("additions") = history.additions, arg("deletions") = history.deletions,
      arg("last_changed") = history.last_changed);
}

}  // namespace lomarind::python
