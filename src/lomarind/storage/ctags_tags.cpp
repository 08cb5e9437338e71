#include "lomarind/storage/ctags_tags.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace lomarind::repository_changes {
namespace {

using Object = nlohmann::json;

// Copies a string member into `field`; false when it is there but no string.
bool read_string(const Object& tag, const char* key, std::string& field) {
  const auto it = tag.find(key);
  if (it == tag.end()) return true;
  if (!it->is_string()) return false;
  field = it->get<std::string>();
  return true;
}

// An integer that fits int64; nullopt for anything else.
std::optional<std::int64_t> read_integer(const Object& value) {
  if (value.is_number_unsigned()) {
    const auto number = value.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return std::nullopt;
    }
    return static_cast<std::int64_t>(number);
  }
  if (value.is_number_integer()) return value.get<std::int64_t>();
  return std::nullopt;
}

// ctags calls an anonymous type "__anon" and a hash ("__anon05d898540108");
// no answer shows that name.
constexpr std::string_view kGeneratedName = "__anon";
constexpr std::string_view kAnonymous = "(anonymous)";

std::string without_generated_names(std::string text) {
  for (std::size_t at = 0; (at = text.find(kGeneratedName, at)) != std::string::npos;) {
    std::size_t end = at + kGeneratedName.size();
    while (end < text.size() && std::isxdigit(static_cast<unsigned char>(text[end]))) ++end;
    text.replace(at, end - at, kAnonymous);
    at += kAnonymous.size();
  }
  return text;
}

constexpr std::string_view kTypeScopes[] = {"class",          "struct", "interface", "trait",
                                            "implementation", "enum",   "union",     "protocol"};

bool is_type_scope(std::string_view scope_kind) {
  return std::find(std::begin(kTypeScopes), std::end(kTypeScopes), scope_kind) !=
         std::end(kTypeScopes);
}

}  // namespace

std::optional<CtagsTag> parse_ctags_line(std::string_view line) {
  // Without exceptions: a malformed line (ctags cut off, a file that is no
  // JSON) is skipped, as ctags' own notices are.
  const Object tag_object = Object::parse(line, nullptr, false);
  if (!tag_object.is_object() || tag_object.value("_type", Object()) != "tag") return std::nullopt;
  CtagsTag tag;
  for (const auto& [key, field] :
       {std::pair{"name", &tag.name}, std::pair{"path", &tag.path}, std::pair{"kind", &tag.kind},
        std::pair{"scope", &tag.scope}, std::pair{"scopeKind", &tag.scope_kind}}) {
    if (!read_string(tag_object, key, *field)) return std::nullopt;
  }
  const auto line_number = tag_object.find("line");
  if (line_number == tag_object.end()) return std::nullopt;
  const std::optional<std::int64_t> start = read_integer(*line_number);
  if (!start) return std::nullopt;
  tag.line = *start;
  if (const auto end = tag_object.find("end"); end != tag_object.end()) {
    tag.end = read_integer(*end);
    if (!tag.end) return std::nullopt;
  }
  if (tag.path.empty() || tag.name.empty() || tag.kind.empty() || tag.line <= 0) {
    return std::nullopt;
  }
  return tag;
}

std::string symbol_kind(std::string_view kind, std::string_view scope_kind,
                        std::string_view language) {
  if (kind == "function" || kind == "func" || kind == "subroutine" || kind == "procedure") {
    // A Go method or an out-of-class C++ member definition: a function
    // scoped by a type.
    return is_type_scope(scope_kind) ? "method" : "function";
  }
  if ((kind == "member" && language == "python") || kind == "singletonMethod") return "method";
  if (kind == "interface" && language == "rust") return "trait";
  if (kind == "protocol") return "interface";
  if (kind == "typedef" || kind == "typealias" || (kind == "alias" && language == "typescript")) {
    return "type";
  }
  return std::string(kind);
}

IndexedSymbol to_symbol(const CtagsTag& tag, std::string_view language) {
  const bool colons = language == "c" || language == "cpp" || language == "rust";
  std::string name = without_generated_names(tag.name);
  std::string fqn =
      tag.scope.empty() ? name : without_generated_names(tag.scope) + (colons ? "::" : ".") + name;
  return {std::move(name), symbol_kind(tag.kind, tag.scope_kind, language), std::move(fqn),
          tag.line, std::max(tag.line, tag.end.value_or(tag.line))};
}

}  // namespace lomarind::repository_changes
