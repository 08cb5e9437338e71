// The records that cross between Python and the library. Python holds them
// as frozen dataclasses of the package (lomarind.utils.git_utils and
// lomarind.storage.repository_changes); they are read back by attribute, so
// any object with the same fields (a test's own record) works as well.
#pragma once

#include <pybind11/pybind11.h>

#include <vector>

#include "lomarind/storage/repository_changes.h"
#include "lomarind/utils/git_utils.h"
#include "lomarind/workers/git_history/records.h"
#include "py_convert.h"

namespace lomarind::python {

namespace py = pybind11;

git_utils::FileChange file_change_from(py::handle change);
std::vector<git_utils::FileChange> file_changes_from(py::handle changes);
git_utils::CommitChanges commit_changes_from(py::handle commit);
git_utils::LineSpan line_span_from(py::handle span);
git_utils::LineSpansByPath line_spans_from(py::handle spans_by_path);
repository_changes::IndexedPath indexed_path_from(py::handle facts);
// A LineRange or a (path, start_line, end_line) triple.
repository_changes::LineRange line_range_from(py::handle range);
repository_changes::SymbolOnLines symbol_from(py::handle symbol);
// A _PathHistory, read by attribute.
git_history::detail::PathHistory path_history_from(py::handle history);
// A map from path to IndexedPath.
repository_changes::IndexedPaths indexed_paths_from(py::handle facts);

// New records of the package's classes.
py::object to_python(const git_utils::FileChange& change);
py::object to_python(const git_utils::CommitChanges& commit);
py::object to_python(const git_utils::LineSpan& span);
py::dict to_python(const git_utils::LineSpansByPath& spans_by_path);
py::object to_python(const repository_changes::IndexedPath& facts);
py::object to_python(const repository_changes::LineRange& range);
py::object to_python(const repository_changes::SymbolOnLines& symbol);
// A new record of `host`._PathHistory.
py::object to_python(const py::module_& host, const git_history::detail::PathHistory& history);

// A list of the records, each as to_python makes it.
template <typename Record>
py::list to_python_list(const std::vector<Record>& records) {
  return to_list(records, [](const Record& record) { return to_python(record); });
}

}  // namespace lomarind::python
