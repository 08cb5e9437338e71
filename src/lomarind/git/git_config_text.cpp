#include "lomarind/git/git_config_text.h"

#include <cctype>

namespace lomarind::git_utils {
namespace {

// Characters as git's config reader takes them: "\r\n" reads as "\n", and
// the end of the text as one last "\n" (a last line needs none).
class Chars {
 public:
  explicit Chars(std::string_view text) : text_(text) {
    if (text_.starts_with("\xef\xbb\xbf")) text_.remove_prefix(3);  // a UTF-8 byte order mark
  }

  char next() {
    if (text_.empty()) {
      end_ = true;
      return '\n';
    }
    char c = text_.front();
    text_.remove_prefix(1);
    if (c == '\r' && text_.starts_with('\n')) {
      text_.remove_prefix(1);
      c = '\n';
    }
    return c;
  }
  bool at_end() const { return end_; }

 private:
  std::string_view text_;
  bool end_ = false;
};

// git's own classes, whatever the locale: no \v or \f among the blanks.
bool is_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool is_alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_key_char(char c) { return is_alpha(c) || (c >= '0' && c <= '9') || c == '-'; }
char lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

// The quoted subsection of [section "sub"], after the blank that ended the
// section name. False for a line git rejects.
bool read_subsection(Chars& in, char c, std::string& subsection) {
  while (is_space(c)) {
    if (c == '\n') return false;
    c = in.next();
  }
  if (c != '"') return false;
  for (c = in.next(); c != '"'; c = in.next()) {
    if (c == '\\') c = in.next();  // any character escapes as itself
    if (c == '\n') return false;
    subsection.push_back(c);
  }
  return in.next() == ']';
}

// What follows "[": the section, and the subsection in either form.
bool read_section(Chars& in, ConfigEntry& entry) {
  std::string name;
  for (char c = in.next();; c = in.next()) {
    if (in.at_end()) return false;
    if (c == ']') break;
    if (is_space(c)) {
      entry.section = name;
      entry.subsection.clear();
      return read_subsection(in, c, entry.subsection);
    }
    if (!is_key_char(c) && c != '.') return false;
    name.push_back(lower(c));
  }
  // The old form [section.sub] names a lower-cased subsection.
  const std::size_t dot = name.find('.');
  entry.section = name.substr(0, dot);
  entry.subsection = dot == std::string::npos ? "" : name.substr(dot + 1);
  return !name.empty();
}

// What `\c` stands for in a value; nullopt for an escape git rejects.
std::optional<char> unescaped(char c) {
  switch (c) {
    case 't':
      return '\t';
    case 'b':
      return '\b';
    case 'n':
      return '\n';
    case '\\':
    case '"':
      return c;
  }
  return std::nullopt;
}

// A value after "=", up to the end of its (last continued) line. Nullopt
// for one git rejects: an unknown escape, or a quote left open.
std::optional<std::string> read_value(Chars& in) {
  std::string value;
  bool quoted = false, comment = false;
  std::size_t blanks = 0;  // pending: kept only if more of the value follows
  for (;;) {
    char c = in.next();
    if (c == '\n') return quoted ? std::nullopt : std::make_optional(value);
    if (comment) continue;
    if (is_space(c) && !quoted) {
      if (!value.empty()) ++blanks;
      continue;
    }
    if (!quoted && (c == ';' || c == '#')) {
      comment = true;
      continue;
    }
    value.append(blanks, ' ');
    blanks = 0;
    if (c == '"') {
      quoted = !quoted;
      continue;
    }
    if (c == '\\') {
      c = in.next();
      if (c == '\n') continue;  // the value goes on on the next line
      const std::optional<char> plain = unescaped(c);
      if (!plain) return std::nullopt;
      c = *plain;
    }
    value.push_back(c);
  }
}

// A key starting with `first`, and its value if it has one. False for a
// line git rejects.
bool read_entry(Chars& in, char first, ConfigEntry& entry) {
  entry.key.assign(1, lower(first));
  char c = in.next();
  for (; !in.at_end() && is_key_char(c); c = in.next()) entry.key.push_back(lower(c));
  while (c == ' ' || c == '\t') c = in.next();
  entry.value.reset();
  if (c == '\n') return true;
  if (c != '=') return false;
  entry.value = read_value(in);
  return entry.value.has_value();
}

}  // namespace

std::vector<ConfigEntry> parse_git_config(std::string_view text) {
  std::vector<ConfigEntry> entries;
  Chars in(text);
  ConfigEntry current;  // a key before any section has none
  bool comment = false;
  for (;;) {
    const char c = in.next();
    if (c == '\n') {
      if (in.at_end()) return entries;
      comment = false;
    } else if (comment || is_space(c)) {
      continue;
    } else if (c == '#' || c == ';') {
      comment = true;
    } else if (c == '[') {
      if (!read_section(in, current)) return entries;
    } else if (!is_alpha(c) || !read_entry(in, c, current)) {
      return entries;  // git stops here: "bad config line"
    } else {
      entries.push_back(current);
    }
  }
}

}  // namespace lomarind::git_utils
