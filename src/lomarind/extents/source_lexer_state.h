// The state of one pass of the source lexer, and the steps every construct
// ends in: code marked on its lines, literals skipped line by line, tokens
// handed to the bracket pairing, preprocessor directives read. Internal to
// the lexer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lomarind/extents/source_brackets.h"
#include "lomarind/extents/source_lexer.h"
#include "lomarind/extents/source_syntax.h"

namespace lomarind::repository_changes {

class LexerState {
 protected:
  LexerState(std::string_view text, const SourceSyntax& syntax);

  std::uint32_t line() const { return static_cast<std::uint32_t>(out_.lines.size() - 1); }
  bool in_brackets() const { return brackets_.in_round_or_square(); }

  // At the line break at pos_: starts the next line, and skips the bodies
  // of heredocs opened on the line that ended.
  void newline();
  void mark_code(std::size_t begin, std::size_t end);
  // Skips from pos_ to `end` (past pos_); true, for callers that return it.
  bool skip_string(std::size_t end);
  void skip_comment(std::size_t end);

  void emit(TokenKind kind, std::size_t offset);
  void open(TokenKind kind, std::size_t offset);
  void close(TokenKind kind, std::size_t offset);

  // A preprocessor directive from the '#' at pos_ to the end of its line
  // (and the lines its backslashes join): it holds no tokens, and #if,
  // #else and #endif say which code counts.
  void directive();

  // What the word at `begin` (ending at pos_) means to the blocks: a
  // keyword of the syntax that opens or closes one, or nothing.
  void keyword(std::string_view word, std::size_t begin);
  // Whether an operand may start at pos_ (so a / starts a regular
  // expression, a % a Ruby literal).
  bool expects_operand() const;

  // The lexed text, once read to its end.
  LexedSource finish() &&;

  std::string_view text_;
  const SourceSyntax& syntax_;
  std::size_t pos_ = 0;
  LexedSource out_;  // its lines; the tokens are in brackets_
  // The last code before pos_, for what a / or a keyword means there: an
  // operator character, 'a' for a word (then last_word_), '"' for a
  // string; '\0' at the start.
  char last_char_ = '\0';
  std::string_view last_word_;
  // Heredocs opened on this line: terminator and whether it may be indented.
  std::vector<std::pair<std::string, bool>> heredocs_;
  std::uint32_t do_line_ = kNoCode;  // the line of a loop whose `do` is not a body

 private:
  bool keyword_here(const Keyword& rule, std::size_t begin) const;
  bool statement_start(std::size_t begin) const;
  void push_line(std::size_t begin, bool in_string);
  // `end`, moved past pos_ (so that the lexer always advances) and kept
  // within the text.
  std::size_t progress(std::size_t end) const;
  std::size_t directive_end(std::size_t at) const;
  // The first line break in [from, end); `end` when there is none.
  std::size_t line_break_before(std::size_t from, std::size_t end) const;

  BracketPairs brackets_;
};

}  // namespace lomarind::repository_changes
