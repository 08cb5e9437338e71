// Where a declaration ends in a language whose bodies are the lines
// indented deeper than their head (Python, Haskell): at the last code line
// of the last statement indented deeper than the declaration's own,
// before a statement that is not. Lines inside brackets, strings or after
// a backslash continue their statement; blank and comment lines count for
// nothing. Internal to storage/.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "lomarind/extents/source_lexer.h"

namespace lomarind::repository_changes {

class IndentExtents {
 public:
  // REQUIRES: `source` was lexed from `text`; both outlive this.
  IndentExtents(std::string_view text, const LexedSource& source);

  // The last line (0-based) of the declaration on `line`; `line` itself
  // for a line without code or one the file does not have.
  std::uint32_t end_of(std::uint32_t line) const;

 private:
  bool starts_statement(std::uint32_t line) const;
  std::uint32_t indentation(const SourceLine& line) const;

  std::string_view text_;
  const LexedSource& source_;
  std::vector<std::uint32_t> block_end_;  // for each line that starts a statement
  // For each line with code, the line its statement starts on.
  std::vector<std::uint32_t> statement_;
};

}  // namespace lomarind::repository_changes
