#include "lomarind/extents/source_lexer.h"

#include <algorithm>
#include <string>
#include <utility>

#include "lomarind/extents/script_literals.h"
#include "lomarind/extents/source_lexer_state.h"
#include "lomarind/extents/source_literals.h"

namespace lomarind::repository_changes {
namespace {

namespace lit = literals;

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

constexpr std::string_view kOpeners = "([{";
constexpr TokenKind kOpenerKinds[] = {TokenKind::kOpenParen, TokenKind::kOpenBracket,
                                      TokenKind::kOpenBrace};
constexpr std::string_view kClosers = ")]}";
constexpr TokenKind kCloserKinds[] = {TokenKind::kCloseParen, TokenKind::kCloseBracket,
                                      TokenKind::kCloseBrace};

// A regular expression longer than this is taken for a division.
constexpr std::size_t kMaxRegexBytes = 1024;
constexpr std::size_t kMaxPerlRegexBytes = 16 * 1024;  // with /x, spread over lines

class Lexer : public LexerState {
 public:
  Lexer(std::string_view text, const SourceSyntax& syntax)
      : LexerState(text, syntax), regex_budget_(kMaxRegexBytes * 64 + 2 * text.size()) {}

  LexedSource run() && {
    if (syntax_.php_tags) skip_html(0);
    while (pos_ < text_.size()) step();
    return std::move(*this).finish();
  }

 private:
  void step() {
    const char c = text_[pos_];
    if (c == '\n') {
      newline();
    } else if (is_blank(c)) {
      ++pos_;
    } else if (!(at_line_start() && line_start_construct()) && !comment() && !literal()) {
      if (lit::is_word_byte(c)) {
        word();
      } else {
        punctuation(c);
      }
    }
  }

  bool at_line_start() const { return !out_.lines.back().has_code(); }

  // Constructs that exist only at the start of a line: directives, doc
  // blocks, the end of the code.
  bool line_start_construct() {
    const bool column_zero = pos_ == out_.lines.back().begin;
    const std::string_view rest = text_.substr(pos_);
    if (syntax_.preprocessor && rest.front() == '#') {
      directive();
      return true;
    }
    if (column_zero && doc_block_here(rest)) {
      const std::size_t after = lit::line_end(text_, pos_);
      skip_comment(lit::heredoc_end(text_, std::min(after + 1, text_.size()),
                                    syntax_.doc_block_close, false));
      return true;
    }
    if (column_zero && syntax_.data_end &&
        (rest.starts_with("__END__") || rest.starts_with("__DATA__"))) {
      skip_comment(text_.size());
      return true;
    }
    return false;
  }

  // Ruby's =begin, Perl's =pod or =head1: the opener as a word of its own.
  bool doc_block_here(std::string_view rest) const {
    const std::string_view open = syntax_.doc_block_open;
    if (open.empty() || !rest.starts_with(open)) return false;
    const char after = rest.size() > open.size() ? rest[open.size()] : '\0';
    if (lit::is_word_byte(open.back())) return !lit::is_word_byte(after);
    return (after >= 'a' && after <= 'z') || (after >= 'A' && after <= 'Z');
  }

  bool comment() {
    const std::string_view rest = text_.substr(pos_);
    const char next = rest.size() > 1 ? rest[1] : '\0';
    if (!syntax_.block_comment_open.empty() && rest.starts_with(syntax_.block_comment_open)) {
      skip_comment(lit::block_comment_end(text_, pos_, syntax_.block_comment_open,
                                          syntax_.block_comment_close, syntax_.nested_comments));
      return true;
    }
    if (syntax_.slash_comments && rest.front() == '/' && (next == '/' || next == '*')) {
      skip_comment(next == '/'
                       ? line_comment_end()
                       : lit::block_comment_end(text_, pos_, "/*", "*/", syntax_.nested_comments));
      return true;
    }
    if (syntax_.dash_comments && rest.starts_with("--")) {
      const auto long_comment = syntax_.long_brackets && rest.size() > 2 && rest[2] == '['
                                    ? lit::long_bracket_end(text_, pos_ + 2)
                                    : std::nullopt;
      skip_comment(long_comment ? *long_comment : lit::line_end(text_, pos_));
      return true;
    }
    if ((syntax_.hash_comments && rest.front() == '#' && hash_starts_comment(next)) ||
        (syntax_.percent_comments && rest.front() == '%') ||
        (syntax_.semicolon_comments && rest.front() == ';')) {
      skip_comment(line_comment_end());
      return true;
    }
    return false;
  }

  // PHP's ?> ends a // or # comment along with the code.
  std::size_t line_comment_end() const {
    const std::size_t end = lit::line_end(text_, pos_);
    if (!syntax_.php_tags) return end;
    return std::min(end, text_.substr(0, end).find("?>", pos_));
  }

  bool hash_starts_comment(char next) const {
    const char before = pos_ > 0 ? text_[pos_ - 1] : '\n';
    if (before == '$') return false;                    // Perl's $#array, the shell's $#
    if (syntax_.php_tags && next == '[') return false;  // a PHP attribute
    return !syntax_.hash_at_word_start || is_blank(before) || before == '\n' ||
           std::string_view(";|&()<>").find(before) != std::string_view::npos;
  }

  bool literal() {
    const char c = text_[pos_];
    switch (c) {
      case '"':
      case '\'':
        return quote(c == '"' ? syntax_.double_quote : syntax_.single_quote);
      case '`':
        if (syntax_.template_literals) return skip_string(lit::template_end(text_, pos_));
        return quote(syntax_.backtick);
      default:
        return other_literal(c);
    }
  }

  bool quote(Quote kind) {
    if (syntax_.triple_quotes && pos_ + 2 < text_.size() && text_[pos_ + 1] == text_[pos_] &&
        text_[pos_ + 2] == text_[pos_]) {
      return skip_string(lit::triple_quoted_end(text_, pos_));
    }
    switch (kind) {
      case Quote::kString:
        return skip_string(lit::quoted_end(text_, pos_, true, syntax_.multiline_strings));
      case Quote::kRaw:
        return skip_string(lit::quoted_end(text_, pos_, false, true));
      case Quote::kCharacter:
        if (const auto end = lit::character_end(text_, pos_)) return skip_string(*end);
        return false;
      case Quote::kNone:
        return false;
    }
    return false;
  }

  bool other_literal(char c) {
    const char next = pos_ + 1 < text_.size() ? text_[pos_ + 1] : '\0';
    std::optional<std::size_t> end;
    if (c == '[' && syntax_.long_brackets) {
      end = lit::long_bracket_end(text_, pos_);
    } else if (c == '/' && syntax_.regex_literals && expects_operand()) {
      end = regex_end();
    } else if (c == '\\' && syntax_.line_strings && next == '\\') {
      end = lit::line_end(text_, pos_);
    } else if ((c == '\\' && syntax_.backslash_chars) || (c == '$' && syntax_.dollar_chars) ||
               (c == '$' && syntax_.quote_operators &&
                (next == '"' || next == '\'' || next == '`'))) {
      // A character literal, or Perl's $" and $' variables.
      end = std::min(pos_ + 2, text_.size());
    } else if (c == '@' && next == '"' && syntax_.raw_strings == RawString::kCsharp) {
      end = lit::quoted_end(text_, pos_ + 1, false, true);
    } else if (c == '%' && syntax_.percent_literals && expects_operand()) {
      end = lit::percent_literal_end(text_, pos_);
    } else if (c == '~' && syntax_.sigils) {
      end = lit::sigil_end(text_, pos_);
    } else if (c == '<' && next == '<' && syntax_.heredoc != Heredoc::kNone) {
      return heredoc_opener();
    }
    return end && skip_string(*end);
  }

  // A slash where an operand may stand starts a regular expression, if it
  // closes soon enough: on its line, or for Perl within a few kilobytes.
  // What a file's failed tries may read is bounded, so that a file of
  // slashes stays linear.
  std::optional<std::size_t> regex_end() {
    const bool multiline = syntax_.quote_operators;
    const std::size_t limit =
        std::min(multiline ? kMaxPerlRegexBytes : kMaxRegexBytes, regex_budget_);
    const std::optional<std::size_t> end = lit::regex_end(text_, pos_, limit, multiline);
    regex_budget_ -= end ? std::min(*end - pos_, regex_budget_) : limit;
    return end;
  }

  void word() {
    const std::size_t begin = pos_;
    std::size_t end = begin;
    while (end < text_.size() && lit::is_word_byte(text_[end])) ++end;
    const std::string_view word = text_.substr(begin, end - begin);
    if (prefixed_literal(word, end)) return;
    mark_code(begin, end);
    pos_ = end;
    keyword(word, begin);
    last_char_ = 'a';
    last_word_ = word;
  }

  // A string whose prefix reads as a word: Rust r#".."#, C++ R"(..)",
  // Perl's q{..}.
  bool prefixed_literal(std::string_view word, std::size_t end) {
    if (end >= text_.size()) return false;
    const char next = text_[end];
    std::optional<std::size_t> literal_end;
    if (syntax_.raw_strings == RawString::kRust && (word == "r" || word == "br") &&
        (next == '"' || next == '#')) {
      literal_end = lit::rust_raw_end(text_, end - 1);
    } else if (syntax_.raw_strings == RawString::kCpp && next == '"' &&
               (word == "R" || word == "u8R" || word == "uR" || word == "UR" || word == "LR")) {
      literal_end = lit::cpp_raw_end(text_, end - 1);
    } else if (syntax_.quote_operators) {
      literal_end = lit::perl_quote_end(text_, pos_, end);
    }
    return literal_end && skip_string(*literal_end);
  }

  void punctuation(char c) {
    const std::size_t at = pos_;
    mark_code(at, at + 1);
    ++pos_;
    last_char_ = c;
    if (const std::size_t i = kOpeners.find(c); i != std::string_view::npos) {
      open(kOpenerKinds[i], at);
      return;
    }
    if (const std::size_t i = kClosers.find(c); i != std::string_view::npos) {
      close(kCloserKinds[i], at);
      return;
    }
    switch (c) {
      case ',':
        emit(TokenKind::kComma, at);
        break;
      case ';':
        if (syntax_.blocks != BlockStyle::kStatements) emit(TokenKind::kStop, at);
        break;
      case '.':
        // Erlang ends a form with a full stop before a blank or comment.
        if (syntax_.blocks == BlockStyle::kStatements &&
            (pos_ == text_.size() || is_blank(text_[pos_]) || text_[pos_] == '\n' ||
             text_[pos_] == '%')) {
          emit(TokenKind::kStop, at);
        }
        break;
      case '@':
        if (syntax_.objc_blocks) objc_keyword(at);
        break;
      case '?':
        if (syntax_.php_tags && pos_ < text_.size() && text_[pos_] == '>') skip_html(pos_ + 1);
        break;
      default:
        break;
    }
  }

  void objc_keyword(std::size_t at) {
    std::size_t end = pos_;
    while (end < text_.size() && lit::is_word_byte(text_[end])) ++end;
    const std::string_view word = text_.substr(pos_, end - pos_);
    if (word == "interface" || word == "implementation") open(TokenKind::kOpenBlock, at);
    if (word == "end") close(TokenKind::kCloseBlock, at);
    mark_code(pos_, end);
    pos_ = end;
    last_char_ = 'a';
    last_word_ = word;
  }

  bool heredoc_opener() {
    std::optional<lit::HeredocOpener> opener = lit::heredoc_opener(text_, pos_, syntax_.heredoc);
    if (!opener) return false;
    mark_code(pos_, opener->end);
    pos_ = opener->end;
    heredocs_.emplace_back(std::move(opener->terminator), opener->indented);
    last_char_ = '"';
    return true;
  }

  // PHP: what lies outside <?php .. ?> is the page, not code.
  void skip_html(std::size_t from) {
    pos_ = from;
    const std::size_t open = text_.find("<?", from);
    if (open > from) skip_comment(std::min(open, text_.size()));
    if (open == std::string_view::npos) return;
    pos_ = open + (text_.substr(open).starts_with("<?php") ? 5
                   : text_.substr(open, 3) == "<?="        ? 3
                                                           : 2);
  }

  std::size_t regex_budget_;  // bytes that tries for regular expressions may still read
};

}  // namespace

LexedSource lex_source(std::string_view text, const SourceSyntax& syntax) {
  return Lexer(text, syntax).run();
}

}  // namespace lomarind::repository_changes
