#include "lomarind/extents/script_literals.h"

#include <algorithm>
#include <iterator>

#include "lomarind/extents/source_literals.h"

namespace lomarind::repository_changes::literals {
namespace {

// Perl's quote-like operators; the last three take two parts (s/a/b/).
constexpr std::string_view kPerlQuotes[] = {"q", "qq", "qw", "qr", "qx", "m", "s", "tr", "y"};

bool perl_quote_delimiter(char c) {
  return !is_word_byte(c) && c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '=' &&
         c != ';' && c != ')';
}

}  // namespace

std::size_t heredoc_end(std::string_view text, std::size_t at, std::string_view terminator,
                        bool indented) {
  for (std::size_t begin = at; begin < text.size();) {
    const std::size_t end = line_end(text, begin);
    std::size_t first = begin;
    while (indented && first < end && (text[first] == ' ' || text[first] == '\t')) ++first;
    const std::string_view line = text.substr(first, end - first);
    if (line.starts_with(terminator) &&
        (line.size() == terminator.size() || !is_word_byte(line[terminator.size()]))) {
      return end;
    }
    begin = end + 1;
  }
  return text.size();
}

std::optional<HeredocOpener> heredoc_opener(std::string_view text, std::size_t at, Heredoc style) {
  const auto at_byte = [&](std::size_t i) { return i < text.size() ? text[i] : '\0'; };
  std::size_t i = at + 2;
  HeredocOpener opener;
  // Ruby's and Perl's bare <<NAME must be upper case: a << b appends.
  bool upper_case = false;
  if (style == Heredoc::kPhp) {
    if (at_byte(i++) != '<') return std::nullopt;
    opener.indented = true;
  } else if (style == Heredoc::kShell) {
    if (at_byte(i) == '<') return std::nullopt;  // <<< is a here-string
    opener.indented = at_byte(i) == '-';
  } else if (at_byte(i) == '~' || (style == Heredoc::kRuby && at_byte(i) == '-')) {
    opener.indented = true;
  } else {
    upper_case = true;
  }
  if (opener.indented && style != Heredoc::kPhp) ++i;  // past the - or ~
  while (style == Heredoc::kShell || style == Heredoc::kPhp) {
    if (at_byte(i) != ' ' && at_byte(i) != '\t') break;
    ++i;
  }
  if (style == Heredoc::kShell && at_byte(i) == '\\') ++i;
  const char quote = at_byte(i) == '"' || at_byte(i) == '\'' ? text[i++] : '\0';
  const std::size_t begin = i;
  while (i < text.size() && is_word_byte(text[i])) ++i;
  if (i == begin || (quote != '\0' && at_byte(i++) != quote)) return std::nullopt;
  const char first = text[begin];
  if (quote == '\0' && (first >= '0' && first <= '9')) return std::nullopt;
  if (quote == '\0' && upper_case && !((first >= 'A' && first <= 'Z') || first == '_')) {
    return std::nullopt;
  }
  opener.end = i;
  opener.terminator = std::string(text.substr(begin, i - begin - (quote != '\0' ? 1 : 0)));
  return opener;
}

std::optional<std::size_t> percent_literal_end(std::string_view text, std::size_t at) {
  ++at;
  if (at < text.size() && std::string_view("qQwWiIrsx").find(text[at]) != std::string_view::npos) {
    ++at;
  }
  if (at >= text.size() || std::string_view("([{<|!/^").find(text[at]) == std::string_view::npos) {
    return std::nullopt;
  }
  return delimited_end(text, at);
}

std::optional<std::size_t> sigil_end(std::string_view text, std::size_t at) {
  const std::size_t letters = ++at;
  while (at < text.size() &&
         ((text[at] >= 'a' && text[at] <= 'z') || (text[at] >= 'A' && text[at] <= 'Z'))) {
    ++at;
  }
  if (at == letters || at >= text.size()) return std::nullopt;
  if (text.substr(at, 3) == "\"\"\"" || text.substr(at, 3) == "'''") {
    return triple_quoted_end(text, at);
  }
  if (std::string_view("/|\"'([{<").find(text[at]) == std::string_view::npos) return std::nullopt;
  return delimited_end(text, at);
}

std::optional<std::size_t> perl_quote_end(std::string_view text, std::size_t begin,
                                          std::size_t end) {
  if (end >= text.size() || !perl_quote_delimiter(text[end])) return std::nullopt;
  // $s{x}, @y[0], %m, ->s, {s}: a variable, method or key, not an operator.
  const char before = begin > 0 ? text[begin - 1] : '\0';
  if (std::string_view("$@%&>{").find(before) != std::string_view::npos && before != '\0') {
    return std::nullopt;
  }
  const auto* quote =
      std::find(std::begin(kPerlQuotes), std::end(kPerlQuotes), text.substr(begin, end - begin));
  if (quote == std::end(kPerlQuotes)) return std::nullopt;
  return delimited_end(text, end, quote >= std::end(kPerlQuotes) - 3 ? 2 : 1);
}

}  // namespace lomarind::repository_changes::literals
