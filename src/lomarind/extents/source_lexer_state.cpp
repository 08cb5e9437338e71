#include "lomarind/extents/source_lexer_state.h"

#include <algorithm>

#include "lomarind/extents/script_literals.h"
#include "lomarind/extents/source_literals.h"
#include "lomarind/utils/text.h"

namespace lomarind::repository_changes {
namespace {

namespace lit = literals;

// Words after which an operand, so a regular expression, may follow.
constexpr std::string_view kOperandWords[] = {
    "return", "typeof", "case",  "do",    "else", "in",  "of",   "new",       "delete",
    "void",   "throw",  "yield", "await", "and",  "or",  "not",  "if",        "unless",
    "when",   "while",  "until", "split", "grep", "map", "join", "instanceof"};

}  // namespace

LexerState::LexerState(std::string_view text, const SourceSyntax& syntax)
    : text_(text), syntax_(syntax) {
  out_.lines.push_back({});
}

std::size_t LexerState::progress(std::size_t end) const {
  return std::clamp(end, std::min(pos_ + 1, text_.size()), text_.size());
}

// Never past `end`: a literal on a long line must not cost the line's length.
std::size_t LexerState::line_break_before(std::size_t from, std::size_t end) const {
  const std::size_t at = text_.substr(0, end).find('\n', from);
  return at == std::string_view::npos ? end : at;
}

void LexerState::push_line(std::size_t begin, bool in_string) {
  SourceLine next;
  next.begin = static_cast<std::uint32_t>(begin);
  next.first_token = static_cast<std::uint32_t>(brackets_.size());
  next.depth = static_cast<std::uint32_t>(brackets_.open_count());
  next.starts_in_string = in_string;
  out_.lines.push_back(next);
}

void LexerState::newline() {
  ++pos_;
  do_line_ = kNoCode;
  push_line(pos_, !heredocs_.empty());
  if (heredocs_.empty()) return;
  // Bodies follow one another, each from the line after the last one's end.
  std::size_t body = pos_;
  std::size_t end = pos_;
  for (const auto& [terminator, indented] : heredocs_) {
    end = lit::heredoc_end(text_, body, terminator, indented);
    body = std::min(end + 1, text_.size());
  }
  heredocs_.clear();
  if (end > pos_) skip_string(end);
}

void LexerState::mark_code(std::size_t begin, std::size_t end) {
  if (begin >= end) return;
  SourceLine& current = out_.lines.back();
  if (!current.has_code()) current.code_begin = static_cast<std::uint32_t>(begin);
  current.code_end = static_cast<std::uint32_t>(end);
  current.code_ends_in_string = false;
}

bool LexerState::skip_string(std::size_t end) {
  end = progress(end);
  for (std::size_t from = pos_;;) {
    const std::size_t line_break = line_break_before(from, end);
    const std::size_t stop = line_break < end ? line_break : end;
    mark_code(from, stop);
    if (from < stop) out_.lines.back().code_ends_in_string = true;
    if (stop == end) break;
    push_line(line_break + 1, true);
    from = line_break + 1;
  }
  pos_ = end;
  last_char_ = '"';
  return true;
}

void LexerState::skip_comment(std::size_t end) {
  end = progress(end);
  for (std::size_t at = line_break_before(pos_, end); at < end;
       at = line_break_before(at + 1, end)) {
    push_line(at + 1, false);
  }
  pos_ = end;
}

void LexerState::emit(TokenKind kind, std::size_t offset) {
  brackets_.emit(kind, static_cast<std::uint32_t>(offset), line());
}

void LexerState::open(TokenKind kind, std::size_t offset) {
  brackets_.open(kind, static_cast<std::uint32_t>(offset), line());
}

void LexerState::close(TokenKind kind, std::size_t offset) {
  brackets_.close(kind, static_cast<std::uint32_t>(offset), line());
}

std::size_t LexerState::directive_end(std::size_t at) const {
  while (at < text_.size()) {
    const char c = text_[at];
    const char next = at + 1 < text_.size() ? text_[at + 1] : '\0';
    if (c == '\n') {
      std::size_t last = at;
      while (last > pos_ && text_[last - 1] == '\r') --last;
      if (last == pos_ || text_[last - 1] != '\\') return at;
      ++at;
    } else if (c == '/' && next == '*') {
      at = lit::block_comment_end(text_, at, "/*", "*/", false);
    } else if (c == '/' && next == '/') {
      at = lit::line_end(text_, at);
    } else if (c == '"') {
      at = lit::quoted_end(text_, at, true, false);
    } else {
      ++at;
    }
  }
  return text_.size();
}

void LexerState::directive() {
  const std::size_t end = directive_end(pos_ + 1);
  std::size_t name = pos_ + 1;
  while (name < end && (text_[name] == ' ' || text_[name] == '\t')) ++name;
  std::size_t name_end = name;
  while (name_end < end && lit::is_word_byte(text_[name_end])) ++name_end;
  const std::string_view directive = text_.substr(name, name_end - name);
  if (directive == "if" || directive == "ifdef" || directive == "ifndef") {
    // #if 0 is how C comments code out.
    const std::string_view condition = text::trim(text_.substr(name_end, end - name_end));
    brackets_.begin_if(directive == "if" && condition.starts_with('0') &&
                       (condition.size() == 1 || !lit::is_word_byte(condition[1])));
  } else if (directive.starts_with("elif") || directive == "else") {
    brackets_.begin_else();
  } else if (directive == "endif") {
    brackets_.end_if();
  }
  const std::uint32_t first = line();
  skip_comment(end);
  out_.lines[first].directive_lines = line() - first + 1;
}

void LexerState::keyword(std::string_view word, std::size_t begin) {
  if (syntax_.keywords.empty()) return;
  const auto rule = std::find_if(syntax_.keywords.begin(), syntax_.keywords.end(),
                                 [&](const Keyword& k) { return k.word == word; });
  if (rule == syntax_.keywords.end() || !keyword_here(*rule, begin)) return;
  if (word == "do" && do_line_ == line()) {
    do_line_ = kNoCode;
    return;
  }
  if (rule->takes_do) do_line_ = line();
  switch (rule->role) {
    case KeywordRole::kOpen:
      open(TokenKind::kOpenBlock, begin);
      break;
    case KeywordRole::kClose:
      close(TokenKind::kCloseBlock, begin);
      break;
    case KeywordRole::kWhere:
      emit(TokenKind::kWhere, begin);
      break;
  }
}

// Whether the keyword at `begin` (its word ends at pos_) is one here, not
// a method (x.end), a symbol (:end), a hash key (do: 1) or a name (end?).
bool LexerState::keyword_here(const Keyword& rule, std::size_t begin) const {
  const char before = begin > 0 ? text_[begin - 1] : '\0';
  const char after = pos_ < text_.size() ? text_[pos_] : '\0';
  const char after_next = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
  if (before == '.' || before == ':' || before == '@' || before == '$') return false;
  if ((after == ':' && after_next != ':') || after == '?' || (after == '!' && after_next != '=')) {
    return false;
  }
  if (!syntax_.keywords_in_brackets && in_brackets()) return false;
  if (rule.statement_start && !statement_start(begin)) return false;
  if (rule.before_paren) {
    const std::size_t next = text_.find_first_not_of(" \t", pos_);
    return next != std::string_view::npos && text_[next] == '(';
  }
  return true;
}

// Whether a statement starts at `begin`: nothing before it on its line,
// or an operator.
bool LexerState::statement_start(std::size_t begin) const {
  return out_.lines.back().code_begin >= begin ||
         std::string_view("=([{,;|&!?:+-*/%<>~^").find(last_char_) != std::string_view::npos;
}

bool LexerState::expects_operand() const {
  if (last_char_ == '\0') return true;
  if (last_char_ == 'a') {
    return std::find(std::begin(kOperandWords), std::end(kOperandWords), last_word_) !=
           std::end(kOperandWords);
  }
  return std::string_view("(,=:[!&|?{};+-*%<>~^").find(last_char_) != std::string_view::npos;
}

LexedSource LexerState::finish() && {
  out_.tokens = std::move(brackets_).finish();
  return std::move(out_);
}

}  // namespace lomarind::repository_changes
