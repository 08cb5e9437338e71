// Conversions between Python objects and the library's values. Strings
// cross as raw bytes: a path that is not valid UTF-8 becomes a str with
// surrogate escapes (as os.fsdecode gives) and goes back to the same bytes.
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "lomarind/utils/json.h"

namespace lomarind::python {

namespace py = pybind11;

// The bytes as a str, undecodable bytes as surrogate escapes.
py::str to_str(std::string_view bytes);
py::object to_optional_str(const std::optional<std::string>& bytes);

// A str (surrogate escapes back to their bytes) or bytes object. Throws
// TypeError for anything else, naming `what`.
std::string to_bytes(py::handle value, std::string_view what);
// None is absent.
std::optional<std::string> to_optional_bytes(py::handle value, std::string_view what);

// A str, bytes or os.PathLike, as os.fsencode reads it.
std::filesystem::path to_path(py::handle value);

// An aware datetime in UTC.
py::object to_datetime(std::chrono::sys_seconds time);
// A datetime (a naive one is taken as UTC), to whole seconds.
std::chrono::sys_seconds to_sys_seconds(py::handle datetime);

// dicts (keys in order), lists, str, int, float, bool and None.
py::object json_to_python(const Json& value);
// Mappings with str keys keep their order; sequences other than str and
// bytes become arrays. Throws TypeError for anything else.
Json json_from_python(py::handle value);

}  // namespace lomarind::python
