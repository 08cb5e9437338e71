// The index for Python: open_index gives the database handle that
// Repository(db) carries; the two queries run without the GIL.
#include <memory>
#include <string_view>

#include "lomarind/storage/sqlite_index.h"
#include "py_bindings.h"
#include "py_convert.h"
#include "py_records.h"

namespace lomarind::python {

namespace {

using repository_changes::IndexDb;

std::shared_ptr<IndexDb> open_index(py::handle path) {
  const auto file = to_path(path);
  py::gil_scoped_release release;
  return std::make_shared<IndexDb>(IndexDb::open_for_queries(file));
}

py::dict indexed_paths(const IndexDb& db, py::handle paths) {
  const std::vector<std::string> path_list = to_bytes_list(paths, "a path");
  repository_changes::IndexedPaths facts;
  {
    py::gil_scoped_release release;
    facts = repository_changes::SqliteIndex().indexed_paths(db, path_list);
  }
  // In the order asked, so the answer does not depend on hashing.
  py::dict result;
  for (const std::string& path : path_list) {
    const auto found = facts.find(path);
    if (found != facts.end()) result[to_str(path)] = to_python(found->second);
  }
  return result;
}

py::list symbols_on_lines(const IndexDb& db, py::handle ranges, py::handle kinds, int per_file) {
  const auto range_list = from_list(ranges, line_range_from);
  const std::vector<std::string> kind_names = to_bytes_list(kinds, "a kind");
  const std::vector<std::string_view> kind_views(kind_names.begin(), kind_names.end());
  std::vector<repository_changes::SymbolOnLines> symbols;
  {
    py::gil_scoped_release release;
    symbols =
        repository_changes::SqliteIndex().symbols_on_lines(db, range_list, kind_views, per_file);
  }
  return to_python_list(symbols);
}

void translate_index_error(std::exception_ptr failure) {
  raise_as<repository_changes::IndexError>(failure, "lomarind.storage.repository_changes",
                                           "IndexFileError");
}

}  // namespace

void bind_storage(py::module_& module) {
  using py::arg;
  py::class_<IndexDb, std::shared_ptr<IndexDb>>(module, "IndexDb",
                                                "An open index file, or an empty index.")
      .def_property_readonly("empty", &IndexDb::empty);
  module.def("open_index", open_index, arg("path"));
  module.def("indexed_paths", indexed_paths, arg("db"), arg("paths"));
  module.def("symbols_on_lines", symbols_on_lines, arg("db"), arg("ranges"), arg("kinds"),
             py::kw_only(), arg("per_file"));
  py::register_exception_translator(translate_index_error);
}

}  // namespace lomarind::python
