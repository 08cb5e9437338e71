#include "lomarind/storage/ctags_tags.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace lomarind::repository_changes {
namespace {

void append_utf8(std::string& out, std::uint32_t code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// A reader for ctags' flat JSON objects: string keys whose values are
// strings, integers, booleans or null. Thousands of tags per second pass
// through here, so values the index does not keep are skipped undecoded.
class FlatJson {
 public:
  explicit FlatJson(std::string_view text) : text_(text) {}

  void skip_blanks() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
  }

  bool consume(char c) {
    skip_blanks();
    if (pos_ >= text_.size() || text_[pos_] != c) return false;
    ++pos_;
    return true;
  }

  // A string's raw bytes, escapes left in place; nullopt if malformed.
  std::optional<std::string_view> raw_string() {
    if (!consume('"')) return std::nullopt;
    const std::size_t start = pos_;
    while (pos_ < text_.size() && text_[pos_] != '"') pos_ += text_[pos_] == '\\' ? 2 : 1;
    if (pos_ >= text_.size()) return std::nullopt;
    return text_.substr(start, pos_++ - start);
  }

  std::optional<std::string> string() {
    const std::optional<std::string_view> raw = raw_string();
    if (!raw) return std::nullopt;
    return unescape(*raw);
  }

  std::optional<std::int64_t> integer() {
    skip_blanks();
    std::int64_t value = 0;
    const auto [end, error] =
        std::from_chars(text_.data() + pos_, text_.data() + text_.size(), value);
    if (error != std::errc()) return std::nullopt;
    pos_ = static_cast<std::size_t>(end - text_.data());
    return value;
  }

  // Skips a value of any kind the format uses.
  bool skip_value() {
    skip_blanks();
    if (pos_ < text_.size() && text_[pos_] == '"') return raw_string().has_value();
    const std::size_t start = pos_;
    while (pos_ < text_.size() && text_[pos_] != ',' && text_[pos_] != '}') ++pos_;
    return pos_ > start;
  }

 private:
  static std::optional<std::string> unescape(std::string_view raw) {
    if (raw.find('\\') == std::string_view::npos) return std::string(raw);
    std::string out;
    out.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
      if (raw[i] != '\\') {
        out += raw[i];
        continue;
      }
      if (++i >= raw.size()) return std::nullopt;
      switch (raw[i]) {
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'n':
          out += '\n';
          break;
        case 'r':
          out += '\r';
          break;
        case 't':
          out += '\t';
          break;
        case 'u': {
          std::optional<std::uint32_t> code = code_point(raw, i);
          if (!code) return std::nullopt;
          append_utf8(out, *code);
          break;
        }
        default:
          out += raw[i];  // \" \\ \/
      }
    }
    return out;
  }

  // Reads the \uXXXX at raw[i] (i on the 'u'), joining a surrogate pair;
  // leaves i on the last digit read.
  static std::optional<std::uint32_t> code_point(std::string_view raw, std::size_t& i) {
    auto hex4 = [&](std::size_t at) -> std::optional<std::uint32_t> {
      std::uint32_t value = 0;
      if (at + 4 > raw.size()) return std::nullopt;
      const auto [end, error] = std::from_chars(raw.data() + at, raw.data() + at + 4, value, 16);
      if (error != std::errc() || end != raw.data() + at + 4) return std::nullopt;
      return value;
    };
    std::optional<std::uint32_t> high = hex4(i + 1);
    if (!high) return std::nullopt;
    i += 4;
    if (*high < 0xD800 || *high > 0xDBFF) return high;
    if (i + 2 >= raw.size() || raw[i + 1] != '\\' || raw[i + 2] != 'u') return std::nullopt;
    std::optional<std::uint32_t> low = hex4(i + 3);
    if (!low || *low < 0xDC00 || *low > 0xDFFF) return std::nullopt;
    i += 6;
    return 0x10000 + ((*high - 0xD800) << 10) + (*low - 0xDC00);
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

bool read_field(FlatJson& json, std::string_view key, CtagsTag& tag, bool& is_tag) {
  auto into = [&json](std::string& field) {
    std::optional<std::string> value = json.string();
    if (value) field = std::move(*value);
    return value.has_value();
  };
  if (key == "_type") {
    const std::optional<std::string_view> type = json.raw_string();
    is_tag = type == "tag";
    return type.has_value();
  }
  if (key == "name") return into(tag.name);
  if (key == "path") return into(tag.path);
  if (key == "kind") return into(tag.kind);
  if (key == "scope") return into(tag.scope);
  if (key == "scopeKind") return into(tag.scope_kind);
  if (key == "line" || key == "end") {
    const std::optional<std::int64_t> number = json.integer();
    if (!number) return false;
    if (key == "line") {
      tag.line = *number;
    } else {
      tag.end = *number;
    }
    return true;
  }
  return json.skip_value();
}

constexpr std::string_view kTypeScopes[] = {"class",          "struct", "interface", "trait",
                                            "implementation", "enum",   "union",     "protocol"};

bool is_type_scope(std::string_view scope_kind) {
  return std::find(std::begin(kTypeScopes), std::end(kTypeScopes), scope_kind) !=
         std::end(kTypeScopes);
}

}  // namespace

std::optional<CtagsTag> parse_ctags_line(std::string_view line) {
  FlatJson json(line);
  if (!json.consume('{')) return std::nullopt;
  CtagsTag tag;
  bool is_tag = false;
  if (!json.consume('}')) {
    do {
      const std::optional<std::string_view> key = json.raw_string();
      if (!key || !json.consume(':') || !read_field(json, *key, tag, is_tag)) return std::nullopt;
    } while (json.consume(','));
    if (!json.consume('}')) return std::nullopt;
  }
  if (!is_tag || tag.path.empty() || tag.name.empty() || tag.kind.empty() || tag.line <= 0) {
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
  std::string fqn = tag.scope.empty() ? tag.name : tag.scope + (colons ? "::" : ".") + tag.name;
  return {tag.name, symbol_kind(tag.kind, tag.scope_kind, language), std::move(fqn), tag.line,
          std::max(tag.line, tag.end.value_or(tag.line))};
}

}  // namespace lomarind::repository_changes
