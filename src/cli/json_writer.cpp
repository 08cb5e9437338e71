#include "cli/json_writer.h"

#include <fmt/format.h>

#include <cmath>

#include "lomarind/utils/json_text.h"

namespace lomarind::cli {

namespace {

void append_double(std::string& out, double value) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  // nlohmann writes the shortest text that reads back as the same double.
  const std::string text = Json(value).dump();
  out += text;
  if (text.find_first_of(".eE") == std::string::npos) out += ".0";
}

void append_newline(std::string& out, int depth) {
  out += '\n';
  out.append(static_cast<std::size_t>(depth) * 2, ' ');
}

void append_value(std::string& out, const Json& value, int depth);

void append_object(std::string& out, const Json& object, int depth) {
  if (object.empty()) {
    out += "{}";
    return;
  }
  out += '{';
  bool first = true;
  for (const auto& [key, member] : object.items()) {
    if (!first) out += ',';
    first = false;
    append_newline(out, depth + 1);
    json_text::append_string(out, key, json_text::NonUtf8::kSurrogateEscape);
    out += ": ";
    append_value(out, member, depth + 1);
  }
  append_newline(out, depth);
  out += '}';
}

void append_array(std::string& out, const Json& array, int depth) {
  if (array.empty()) {
    out += "[]";
    return;
  }
  out += '[';
  bool first = true;
  for (const Json& element : array) {
    if (!first) out += ',';
    first = false;
    append_newline(out, depth + 1);
    append_value(out, element, depth + 1);
  }
  append_newline(out, depth);
  out += ']';
}

void append_value(std::string& out, const Json& value, int depth) {
  switch (value.type()) {
    case Json::value_t::object:
      append_object(out, value, depth);
      return;
    case Json::value_t::array:
      append_array(out, value, depth);
      return;
    case Json::value_t::string:
      json_text::append_string(out, value.get_ref<const std::string&>(),
                               json_text::NonUtf8::kSurrogateEscape);
      return;
    case Json::value_t::boolean:
      out += value.get<bool>() ? "true" : "false";
      return;
    case Json::value_t::number_integer:
      out += std::to_string(value.get<std::int64_t>());
      return;
    case Json::value_t::number_unsigned:
      out += std::to_string(value.get<std::uint64_t>());
      return;
    case Json::value_t::number_float:
      append_double(out, value.get<double>());
      return;
    case Json::value_t::null:
    case Json::value_t::discarded:
    case Json::value_t::binary:
      out += "null";
      return;
  }
}

}  // namespace

std::string write_json(const Json& value) {
  std::string out;
  append_value(out, value, 0);
  return out;
}

std::string json_string(std::string_view text) {
  std::string out;
  json_text::append_string(out, text, json_text::NonUtf8::kSurrogateEscape);
  return out;
}

}  // namespace lomarind::cli
