#include "lomarind/extents/source_literals.h"

#include <string>

namespace lomarind::repository_changes::literals {
namespace {

// A template's code may hold templates; deeper than this, nobody writes.
constexpr int kMaxTemplateDepth = 32;
constexpr std::size_t kMaxRawDelimiter = 16;  // C++ allows 16

std::size_t template_end_at(std::string_view text, std::size_t at, int depth);

// From just after "${" to just after its "}".
std::size_t substitution_end(std::string_view text, std::size_t at, int depth) {
  int braces = 0;
  for (std::size_t i = at; i < text.size();) {
    const char c = text[i];
    if (c == '\'' || c == '"') {
      i = quoted_end(text, i, true, false);
    } else if (c == '`') {
      i = depth < kMaxTemplateDepth ? template_end_at(text, i, depth + 1) : text.size();
    } else if (c == '}' && braces == 0) {
      return i + 1;
    } else {
      braces += c == '{' ? 1 : c == '}' ? -1 : 0;
      ++i;
    }
  }
  return text.size();
}

std::size_t template_end_at(std::string_view text, std::size_t at, int depth) {
  for (std::size_t i = at + 1; i < text.size();) {
    if (text[i] == '\\') {
      i += 2;
    } else if (text[i] == '`') {
      return i + 1;
    } else if (text[i] == '$' && i + 1 < text.size() && text[i + 1] == '{') {
      i = substitution_end(text, i + 2, depth);
    } else {
      ++i;
    }
  }
  return text.size();
}

char closer_of(char open) {
  switch (open) {
    case '(':
      return ')';
    case '[':
      return ']';
    case '{':
      return '}';
    case '<':
      return '>';
    default:
      return open;
  }
}

std::size_t one_delimited_end(std::string_view text, std::size_t at) {
  const char open = text[at];
  const char close = closer_of(open);
  int depth = 1;
  for (std::size_t i = at + 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\\') {
      ++i;
    } else if (c == close) {
      if (--depth == 0) return i + 1;
    } else if (c == open) {
      ++depth;
    }
  }
  return text.size();
}

// The offset of `closing` at or after `from`, plus its size; the text's
// size when it never comes.
std::size_t past(std::string_view text, std::size_t from, std::string_view closing) {
  const std::size_t found = text.find(closing, from);
  return found == std::string_view::npos ? text.size() : found + closing.size();
}

// `first`, `middle`, `last`: the closing of a raw string or long bracket.
std::string closing(char first, std::string_view middle, char last) {
  std::string text(1, first);
  text.append(middle);
  text.push_back(last);
  return text;
}

}  // namespace

bool is_word_byte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= '0' && byte <= '9') || byte == '_' || byte >= 0x80;
}

std::size_t line_end(std::string_view text, std::size_t at) {
  const std::size_t end = text.find('\n', at);
  return end == std::string_view::npos ? text.size() : end;
}

std::size_t block_comment_end(std::string_view text, std::size_t at, std::string_view open,
                              std::string_view close, bool nests) {
  int depth = 1;
  for (std::size_t i = at + open.size(); i < text.size();) {
    if (text.substr(i, close.size()) == close) {
      i += close.size();
      if (--depth == 0) return i;
    } else if (nests && text.substr(i, open.size()) == open) {
      i += open.size();
      ++depth;
    } else {
      ++i;
    }
  }
  return text.size();
}

std::size_t quoted_end(std::string_view text, std::size_t at, bool escapes, bool multiline) {
  const char quote = text[at];
  for (std::size_t i = at + 1; i < text.size(); ++i) {
    const char c = text[i];
    if (c == quote) return i + 1;
    if (c == '\\' && escapes) {
      ++i;
    } else if (c == '\n' && !multiline) {
      return i;
    }
  }
  return text.size();
}

std::optional<std::size_t> character_end(std::string_view text, std::size_t at) {
  std::size_t i = at + 1;
  if (i >= text.size() || text[i] == '\'' || text[i] == '\n') return std::nullopt;
  if (text[i] == '\\') {
    // '\n', '\x41', '\u{1F600}', '\'': the quote is near.
    for (i += 2; i < text.size() && i < at + 14 && text[i] != '\n'; ++i) {
      if (text[i] == '\'') return i + 1;
    }
    return std::nullopt;
  }
  // One character, however many bytes UTF-8 takes for it.
  const auto lead = static_cast<unsigned char>(text[i]);
  i += lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc0 ? 2 : 1;
  if (i < text.size() && text[i] == '\'') return i + 1;
  return std::nullopt;
}

std::size_t triple_quoted_end(std::string_view text, std::size_t at) {
  const char quote = text[at];
  for (std::size_t i = at + 3; i < text.size(); ++i) {
    if (text[i] == '\\') {
      ++i;
    } else if (text[i] == quote && i + 2 < text.size() && text[i + 1] == quote &&
               text[i + 2] == quote) {
      return i + 3;
    }
  }
  return text.size();
}

std::size_t template_end(std::string_view text, std::size_t at) {
  return template_end_at(text, at, 0);
}

std::optional<std::size_t> rust_raw_end(std::string_view text, std::size_t at) {
  std::size_t i = at + 1;
  while (i < text.size() && text[i] == '#') ++i;
  if (i >= text.size() || text[i] != '"') return std::nullopt;
  std::string terminator(i - at, '#');  // the quote, then as many #s as opened
  terminator.front() = '"';
  return past(text, i + 1, terminator);
}

std::optional<std::size_t> cpp_raw_end(std::string_view text, std::size_t at) {
  if (at + 1 >= text.size() || text[at + 1] != '"') return std::nullopt;
  const std::size_t open = text.substr(0, at + 3 + kMaxRawDelimiter).find('(', at + 2);
  if (open == std::string_view::npos) return std::nullopt;
  const std::string_view delimiter = text.substr(at + 2, open - at - 2);
  if (delimiter.find_first_of(" )\\\t\n\"") != std::string_view::npos) return std::nullopt;
  return past(text, open + 1, closing(')', delimiter, '"'));
}

std::optional<std::size_t> long_bracket_end(std::string_view text, std::size_t at) {
  std::size_t i = at + 1;
  while (i < text.size() && text[i] == '=') ++i;
  if (i >= text.size() || text[i] != '[') return std::nullopt;
  return past(text, i + 1, closing(']', std::string(i - at - 1, '='), ']'));
}

std::optional<std::size_t> regex_end(std::string_view text, std::size_t at, std::size_t max_bytes,
                                     bool multiline) {
  bool in_class = false;
  for (std::size_t i = at + 1; i < text.size() && i - at < max_bytes; ++i) {
    const char c = text[i];
    if (c == '\n' && !multiline) return std::nullopt;
    if (c == '\\') {
      ++i;
    } else if (c == '[') {
      in_class = true;
    } else if (c == ']') {
      in_class = false;
    } else if (c == '/' && !in_class) {
      return i + 1;
    }
  }
  return std::nullopt;
}

std::size_t delimited_end(std::string_view text, std::size_t at, int parts) {
  std::size_t end = one_delimited_end(text, at);
  if (parts < 2 || end >= text.size()) return end;
  if (closer_of(text[at]) == text[at]) return one_delimited_end(text, end - 1);
  while (end < text.size() && (text[end] == ' ' || text[end] == '\t' || text[end] == '\n')) ++end;
  return end < text.size() ? one_delimited_end(text, end) : end;
}

}  // namespace lomarind::repository_changes::literals
