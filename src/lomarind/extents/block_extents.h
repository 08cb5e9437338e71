// Where a declaration ends in a language whose bodies are delimited by
// tokens: a { } body, a keyword block up to its `end`, a parenthesised
// form, or a terminator. A declaration runs from the start of its line
// through the first body that opens in it, or to its `;` (a trailing `,`,
// a closer of the enclosing block, or, where line breaks end statements, a
// line that does not go on), stepping over any other bracket pair on the
// way. Internal to storage/.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "lomarind/extents/source_lexer.h"
#include "lomarind/extents/source_syntax.h"

namespace lomarind::repository_changes {

class BlockExtents {
 public:
  // REQUIRES: `source` is lex_source(text, syntax); all three outlive this.
  BlockExtents(std::string_view text, const LexedSource& source, const SourceSyntax& syntax);

  // The last line (0-based) of the declaration that starts on `line`.
  // `line` itself for a line the file does not have, and once the file's
  // budget of steps is spent (a pathological file stays linear).
  std::uint32_t end_of(std::uint32_t line);

 private:
  // One declaration's way through its tokens.
  struct Walk {
    std::uint32_t start = 0;
    std::size_t t = 0;          // the next token
    std::uint32_t last = 0;     // the statement's last line known so far
    std::size_t scanned = 0;    // its text before this offset was looked at
    int angles = 0;             // < of generics still open in it
    bool list_goes_on = false;  // in a where clause or a : list
  };

  // Takes the walk past its next token; the declaration's end when that
  // token ends it.
  std::optional<std::uint32_t> step(Walk& walk);
  void scan_to(Walk& walk, std::size_t offset);
  // Takes `steps` from the file's budget; false once it is spent.
  bool spend(std::size_t steps);
  bool after_operator_keyword(std::size_t at) const;
  bool is_body(TokenKind kind) const;
  bool ends_list(const Token& comma) const;
  std::optional<std::uint32_t> statement_end_between(std::uint32_t from, std::uint32_t to);
  bool ends_statement(std::uint32_t line);
  bool continues_from_line_end(const SourceLine& line) const;
  bool continues_at_line_start(const SourceLine& line) const;
  std::size_t first_token_of_statement(std::uint32_t line);

  std::string_view text_;
  const LexedSource& source_;
  const SourceSyntax& syntax_;
  std::uint32_t last_code_line_ = 0;
  std::size_t budget_;
};

}  // namespace lomarind::repository_changes
