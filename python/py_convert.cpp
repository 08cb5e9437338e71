#include "py_convert.h"

#include <algorithm>
#include <cmath>

namespace lomarind::python {

py::str to_str(std::string_view bytes) {
  PyObject* text =
      PyUnicode_DecodeUTF8(bytes.data(), static_cast<Py_ssize_t>(bytes.size()), "surrogateescape");
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

py::object to_optional_str(const std::optional<std::string>& bytes) {
  if (!bytes) return py::none();
  return to_str(*bytes);
}

std::string to_bytes(py::handle value, std::string_view what) {
  if (PyBytes_Check(value.ptr())) return std::string(py::reinterpret_borrow<py::bytes>(value));
  if (!PyUnicode_Check(value.ptr())) {
    throw py::type_error(std::string(what) + " must be a str, not " +
                         std::string(py::str(py::type::handle_of(value).attr("__name__"))));
  }
  PyObject* encoded = PyUnicode_AsEncodedString(value.ptr(), "utf-8", "surrogateescape");
  if (encoded == nullptr) throw py::error_already_set();
  return std::string(py::reinterpret_steal<py::bytes>(encoded));
}

std::optional<std::string> to_optional_bytes(py::handle value, std::string_view what) {
  if (value.is_none()) return std::nullopt;
  return to_bytes(value, what);
}

std::vector<std::string> to_bytes_list(py::handle items, std::string_view what) {
  return from_list(items, [what](py::handle item) { return to_bytes(item, what); });
}

std::filesystem::path to_path(py::handle value) {
  const py::object encoded = py::module_::import("os").attr("fsencode")(value);
  return std::filesystem::path(std::string(py::reinterpret_borrow<py::bytes>(encoded)));
}

py::object to_datetime(std::chrono::sys_seconds time) {
  // 0001-01-01T00:00:00 and 9999-12-31T23:59:59 UTC, the years a datetime
  // holds. No commit lies beyond them, so a period that starts outside
  // starts at the nearest of the two and reads the same commits.
  constexpr std::int64_t kFirst = -62135596800;
  constexpr std::int64_t kLast = 253402300799;
  const std::int64_t seconds = std::clamp(time.time_since_epoch().count(), kFirst, kLast);
  const py::module_ datetime = py::module_::import("datetime");
  const py::object utc = datetime.attr("timezone").attr("utc");
  return datetime.attr("datetime").attr("fromtimestamp")(0, utc) +
         datetime.attr("timedelta")(py::arg("seconds") = seconds);
}

std::chrono::sys_seconds to_sys_seconds(py::handle datetime) {
  py::object aware = py::reinterpret_borrow<py::object>(datetime);
  if (aware.attr("tzinfo").is_none()) {
    const py::object utc = py::module_::import("datetime").attr("timezone").attr("utc");
    aware = aware.attr("replace")(py::arg("tzinfo") = utc);
  }
  // floor, not truncation, so instants before 1970 keep their second.
  const double seconds = aware.attr("timestamp")().cast<double>();
  return std::chrono::sys_seconds(
      std::chrono::seconds(static_cast<std::int64_t>(std::floor(seconds))));
}

py::object json_to_python(const Json& value) {
  switch (value.type()) {
    case Json::value_t::object: {
      py::dict dict;
      for (const auto& [key, member] : value.items()) dict[to_str(key)] = json_to_python(member);
      return dict;
    }
    case Json::value_t::array: {
      py::list list;
      for (const Json& element : value) list.append(json_to_python(element));
      return list;
    }
    case Json::value_t::string:
      return to_str(value.get_ref<const std::string&>());
    case Json::value_t::boolean:
      return py::bool_(value.get<bool>());
    case Json::value_t::number_integer:
      return py::int_(value.get<std::int64_t>());
    case Json::value_t::number_unsigned:
      return py::int_(value.get<std::uint64_t>());
    case Json::value_t::number_float:
      return py::float_(value.get<double>());
    default:
      return py::none();
  }
}

Json json_from_python(py::handle value) {
  if (value.is_none()) return nullptr;
  if (PyBool_Check(value.ptr())) return value.cast<bool>();
  if (PyLong_Check(value.ptr())) return value.cast<std::int64_t>();
  if (PyFloat_Check(value.ptr())) return value.cast<double>();
  if (PyUnicode_Check(value.ptr()) || PyBytes_Check(value.ptr())) {
    return to_bytes(value, "a string value");
  }
  const py::module_ abc = py::module_::import("collections.abc");
  if (py::isinstance(value, abc.attr("Mapping"))) {
    Json object = Json::object();
    for (const py::handle item : value.attr("items")()) {
      const py::tuple pair = py::reinterpret_borrow<py::tuple>(item);
      object[to_bytes(pair[0], "a key")] = json_from_python(pair[1]);
    }
    return object;
  }
  if (py::isinstance(value, abc.attr("Iterable"))) {
    Json array = Json::array();
    for (const py::handle element : value) array.push_back(json_from_python(element));
    return array;
  }
  throw py::type_error("cannot hold a " +
                       std::string(py::str(py::type::handle_of(value).attr("__name__"))) +
                       " in an answer");
}

}  // namespace lomarind::python
