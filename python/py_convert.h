// Conversions between Python objects and the library's values. Strings
// cross as raw bytes: a path that is not valid UTF-8 becomes a str with
// surrogate escapes (as os.fsdecode gives) and goes back to the same bytes.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "lomarind/utils/json.h"

namespace lomarind::python {

namespace py = pybind11;

// A count or position (limit, offset, total) as Python passes it: an int of
// any size, or anything with __index__. One beyond 64 bits is clamped to
// them, which pages as the unbounded value would.
struct ClampedInt {
  std::int64_t value = 0;
};

// The bytes as a str, undecodable bytes as surrogate escapes.
py::str to_str(std::string_view bytes);
py::object to_optional_str(const std::optional<std::string>& bytes);

// A str (surrogate escapes back to their bytes) or bytes object. Throws
// TypeError for anything else, naming `what`.
std::string to_bytes(py::handle value, std::string_view what);
// None is absent.
std::optional<std::string> to_optional_bytes(py::handle value, std::string_view what);

// A list of `convert(item)` for each item.
template <typename Items, typename Convert>
py::list to_list(const Items& items, Convert convert) {
  py::list list;
  for (const auto& item : items) list.append(convert(item));
  return list;
}

// `convert(item)` for each item of a Python iterable.
template <typename Convert>
auto from_list(py::handle items, Convert convert) {
  std::vector<std::decay_t<std::invoke_result_t<Convert, py::handle>>> result;
  for (const py::handle item : items) result.push_back(convert(item));
  return result;
}

// Each item of a Python iterable as to_bytes reads it.
std::vector<std::string> to_bytes_list(py::handle items, std::string_view what);

// A str, bytes or os.PathLike, as os.fsencode reads it.
std::filesystem::path to_path(py::handle value);

// An aware datetime in UTC, within the years 1 to 9999.
py::object to_datetime(std::chrono::sys_seconds time);
// A datetime (a naive one is taken as UTC), to whole seconds.
std::chrono::sys_seconds to_sys_seconds(py::handle datetime);

// dicts (keys in order), lists, str, int, float, bool and None.
py::object json_to_python(const Json& value);
// Mappings with str keys keep their order; sequences other than str and
// bytes become arrays. Throws TypeError for anything else.
Json json_from_python(py::handle value);

// An exception translator's body: sets the Python exception `module`.`name`
// with the text of the C++ `Error` that `failure` holds, and lets any other
// failure pass on to the next translator.
template <typename Error>
void raise_as(std::exception_ptr failure, const char* module, const char* name) {
  try {
    if (failure) std::rethrow_exception(failure);
  } catch (const Error& error) {
    PyErr_SetObject(py::module_::import(module).attr(name).ptr(), to_str(error.what()).ptr());
  }
}

}  // namespace lomarind::python

namespace pybind11::detail {

template <>
struct type_caster<lomarind::python::ClampedInt> {
  PYBIND11_TYPE_CASTER(lomarind::python::ClampedInt, const_name("int"));

  bool load(handle source, bool) {
    const object index = reinterpret_steal<object>(PyNumber_Index(source.ptr()));
    if (!index) {
      PyErr_Clear();
      return false;
    }
    int overflow = 0;
    const long long number = PyLong_AsLongLongAndOverflow(index.ptr(), &overflow);
    value.value = overflow > 0   ? INT64_MAX
                  : overflow < 0 ? INT64_MIN
                                 : static_cast<std::int64_t>(number);
    return true;
  }

  static handle cast(lomarind::python::ClampedInt number, return_value_policy, handle) {
    return PyLong_FromLongLong(number.value);
  }
};

}  // namespace pybind11::detail
