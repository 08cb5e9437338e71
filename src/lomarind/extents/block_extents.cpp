#include "lomarind/extents/block_extents.h"

#include <algorithm>

#include "lomarind/extents/source_literals.h"

namespace lomarind::repository_changes {
namespace {

// Steps (tokens, lines or bytes looked at) a file may take over all its
// declarations: a few per token and line is plenty for real code, where a
// declaration's walk steps over its brackets in one step each.
constexpr std::size_t kStepsPerUnit = 16;
constexpr std::size_t kMinimumSteps = 1 << 16;
constexpr std::size_t kStepsPerByte = 2;  // for the text read between tokens
// A declaration still unfinished after this many steps keeps one line.
constexpr std::size_t kStepsPerDeclaration = 1 << 14;
// A statement goes on across at most this many lines without code.
constexpr std::uint32_t kMaxGapLines = 1000;

bool is_closer(TokenKind kind) {
  return kind == TokenKind::kCloseParen || kind == TokenKind::kCloseBracket ||
         kind == TokenKind::kCloseBrace || kind == TokenKind::kCloseBlock;
}

}  // namespace

BlockExtents::BlockExtents(std::string_view text, const LexedSource& source,
                           const SourceSyntax& syntax)
    : text_(text),
      source_(source),
      syntax_(syntax),
      budget_(kMinimumSteps + kStepsPerUnit * (source.tokens.size() + source.lines.size()) +
              kStepsPerByte * text.size()) {
  for (std::uint32_t line = 0; line < source.lines.size(); ++line) {
    if (source.lines[line].has_code()) last_code_line_ = line;
  }
}

std::uint32_t BlockExtents::end_of(std::uint32_t start) {
  const auto& lines = source_.lines;
  if (start >= lines.size()) return start;
  if (lines[start].directive_lines > 0) return start + lines[start].directive_lines - 1;
  Walk walk{.start = start,
            .t = first_token_of_statement(start),
            .last = start,
            .scanned = lines[start].has_code() ? lines[start].code_begin : lines[start].begin};
  for (std::size_t steps = 0; steps < kStepsPerDeclaration && spend(1); ++steps) {
    const std::uint32_t next_line = walk.t < source_.tokens.size()
                                        ? source_.tokens[walk.t].line
                                        : static_cast<std::uint32_t>(lines.size());
    if (syntax_.newline_ends_statements && walk.last < next_line) {
      if (const auto end = statement_end_between(walk.last, next_line)) return *end;
    }
    if (walk.t >= source_.tokens.size()) return walk.last;
    if (const auto end = step(walk)) return *end;
  }
  return start;
}

bool BlockExtents::spend(std::size_t steps) {
  if (budget_ < steps) {
    budget_ = 0;
    return false;
  }
  budget_ -= steps;
  return true;
}

std::optional<std::uint32_t> BlockExtents::step(Walk& walk) {
  const auto& tokens = source_.tokens;
  const Token& token = tokens[walk.t];
  scan_to(walk, token.offset);
  if (token.kind == TokenKind::kStop) return token.line;
  if (token.kind == TokenKind::kWhere) walk.list_goes_on = true;
  if (token.kind == TokenKind::kComma && !walk.list_goes_on && walk.angles == 0 &&
      ends_list(token)) {
    return token.line;
  }
  // A closer here closes the block that holds the declaration.
  if (is_closer(token.kind)) return walk.last;
  // Braces inside generics are a type (Shape<T = {}>), not the body.
  if (is_body(token.kind) && walk.angles == 0) {
    return token.partner == kNoPartner ? std::max(walk.start, last_code_line_)
                                       : tokens[token.partner].line;
  }
  if (token.kind != TokenKind::kComma && token.kind != TokenKind::kWhere) {
    // Another bracket pair: stepped over whole.
    if (token.partner == kNoPartner || static_cast<std::size_t>(token.partner) <= walk.t) {
      return walk.start;
    }
    walk.t = static_cast<std::size_t>(token.partner);
  }
  walk.last = std::max(walk.last, tokens[walk.t].line);
  walk.scanned = tokens[walk.t].offset + 1;
  ++walk.t;
  return std::nullopt;
}

// Looks at the statement's own text up to `offset` for what makes its
// trailing commas separate rather than end: an open `<` of generics
// (template <class A,), a `:` list (class C : public A,).
void BlockExtents::scan_to(Walk& walk, std::size_t offset) {
  if (offset <= walk.scanned || !spend(offset - walk.scanned)) return;
  for (std::size_t i = walk.scanned; i < offset; ++i) {
    const char c = text_[i];
    const char before = i > 0 ? text_[i - 1] : '\0';
    const char after = i + 1 < text_.size() ? text_[i + 1] : '\0';
    if (c == '"') {
      const std::size_t quote = text_.substr(0, offset).find('"', i + 1);
      i = quote == std::string_view::npos ? offset : quote;
    } else if (c == '<' && after != '<' && after != '=' && before != '<' &&
               syntax_.blocks == BlockStyle::kBraces && !after_operator_keyword(i)) {
      ++walk.angles;
    } else if (c == '>' && before != '-' && before != '=' && after != '=' && walk.angles > 0) {
      --walk.angles;
    } else if (c == ':' && syntax_.colon_lists && after != ':' && before != ':') {
      // Not a bit field's width (unsigned a : 1,).
      const std::size_t next = text_.find_first_not_of(" \t", i + 1);
      if (next < offset && !(text_[next] >= '0' && text_[next] <= '9')) walk.list_goes_on = true;
    }
  }
  walk.scanned = offset;
}

// C++'s operator< names a function; its `<` opens no generics.
bool BlockExtents::after_operator_keyword(std::size_t at) const {
  const std::size_t end = text_.substr(0, at).find_last_not_of(" \t");
  return end != std::string_view::npos && text_.substr(0, end + 1).ends_with("operator");
}

bool BlockExtents::is_body(TokenKind kind) const {
  switch (syntax_.blocks) {
    case BlockStyle::kBraces:
      return kind == TokenKind::kOpenBrace || kind == TokenKind::kOpenBlock;
    case BlockStyle::kKeywords:
      return kind == TokenKind::kOpenBlock;
    case BlockStyle::kParens:
      return kind == TokenKind::kOpenParen;
    default:
      return false;
  }
}

// A comma that ends its line ends a list item (an enumerator, a field, an
// object's member); one inside a line separates `a, b` of one statement.
bool BlockExtents::ends_list(const Token& comma) const {
  return (syntax_.blocks == BlockStyle::kBraces || syntax_.blocks == BlockStyle::kKeywords) &&
         comma.offset + 1 == source_.lines[comma.line].code_end;
}

std::optional<std::uint32_t> BlockExtents::statement_end_between(std::uint32_t from,
                                                                 std::uint32_t to) {
  for (std::uint32_t line = from; line < to && line < source_.lines.size() && spend(1); ++line) {
    if (ends_statement(line)) return line;
  }
  return std::nullopt;
}

bool BlockExtents::ends_statement(std::uint32_t index) {
  const auto& lines = source_.lines;
  const SourceLine& line = lines[index];
  if (!line.has_code()) return false;
  if (index + 1 < lines.size() && lines[index + 1].starts_in_string) return false;
  if (!line.code_ends_in_string && continues_from_line_end(line)) return false;
  for (std::uint32_t next = index + 1;
       next < lines.size() && next <= index + kMaxGapLines && spend(1); ++next) {
    if (lines[next].has_code()) return !continues_at_line_start(lines[next]);
  }
  return true;
}

// A line ending in an operator goes on: `x =`, `a &&`, `=>`, `.`.
bool BlockExtents::continues_from_line_end(const SourceLine& line) const {
  const char last = text_[line.code_end - 1];
  if (std::string_view("=+-*/%&|^:.,\\<(").find(last) != std::string_view::npos) return true;
  const char before = line.code_end - 1 > line.code_begin ? text_[line.code_end - 2] : '\0';
  return last == '>' && (before == '=' || before == '-');
}

// A line starting with `.member`, `? :`, `| T`, `{` or a word such as
// `extends` continues the statement above it.
bool BlockExtents::continues_at_line_start(const SourceLine& line) const {
  const char first = text_[line.code_begin];
  if (std::string_view(".?:|&={").find(first) != std::string_view::npos) return true;
  std::size_t end = line.code_begin;
  while (end < line.code_end && literals::is_word_byte(text_[end])) ++end;
  const std::string_view word = text_.substr(line.code_begin, end - line.code_begin);
  return std::find(syntax_.continuation_words.begin(), syntax_.continuation_words.end(), word) !=
         syntax_.continuation_words.end();
}

// The statement's tokens start after what its line closes first: the `}`
// of `} name;`, the `},` before an object's next member.
std::size_t BlockExtents::first_token_of_statement(std::uint32_t line) {
  const auto& tokens = source_.tokens;
  std::size_t t = source_.lines[line].first_token;
  for (std::size_t at = source_.lines[line].code_begin;
       t < tokens.size() && tokens[t].offset == at &&
       (is_closer(tokens[t].kind) || tokens[t].kind == TokenKind::kStop ||
        tokens[t].kind == TokenKind::kComma) &&
       spend(1);
       ++t) {
    at = text_.find_first_not_of(" \t", at + 1);
  }
  return t;
}

}  // namespace lomarind::repository_changes
