// The source filters, the pagination hint and the retrievable kinds for
// Python.
#include "lomarind/utils/language_filter.h"
#include "lomarind/utils/pagination.h"
#include "lomarind/utils/path_filter.h"
#include "lomarind/workers/retrieval.h"
#include "py_bindings.h"
#include "py_convert.h"

namespace lomarind::python {

namespace {

template <std::size_t N>
py::frozenset frozen_strings(const std::array<std::string_view, N>& names) {
  py::set set;
  for (std::string_view name : names) set.add(to_str(name));
  return py::frozenset(set);
}

}  // namespace

void bind_filters(py::module_& module) {
  using py::arg;
  module.attr("SOURCE_LANGUAGES") = frozen_strings(language_filter::SOURCE_LANGUAGES);
  module.attr("RETRIEVABLE_KINDS") = frozen_strings(retrieval::RETRIEVABLE_KINDS);
  module.def(
      "is_source_extension",
      [](py::handle path) { return language_filter::is_source_extension(to_bytes(path, "path")); },
      arg("path"));
  module.def(
      "language_of",
      [](py::handle path) -> py::object {
        const auto language = language_filter::language_of(to_bytes(path, "path"));
        if (!language) return py::none();
        return to_str(*language);
      },
      arg("path"));
  module.def(
      "is_test_path",
      [](py::handle path) { return path_filter::is_test_path(to_bytes(path, "path")); },
      arg("path"));
  module.def(
      "should_skip_path",
      [](py::handle directory) {
        return path_filter::should_skip_path(to_bytes(directory, "directory"));
      },
      arg("directory"));
  module.def(
      "add_pagination_hint",
      [](py::object result, std::int64_t count) -> py::object {
        const Json hinted = pagination::add_pagination_hint(json_from_python(result), count);
        if (!py::isinstance<py::dict>(result)) return json_to_python(hinted);
        // The record itself, with the hint's keys added in place.
        py::dict record = result.cast<py::dict>();
        for (const auto& [key, value] : hinted.items()) {
          const py::str name = to_str(key);
          if (!record.contains(name)) record[name] = json_to_python(value);
        }
        return record;
      },
      arg("result"), arg("count"));
}

}  // namespace lomarind::python
