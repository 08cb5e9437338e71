// One pass over a source file that keeps what decides where declarations
// end: its brackets (each paired with its partner), statement ends, and
// for each line where its code lies. Strings, comments and inactive
// preprocessor branches are skipped as the language writes them.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "lomarind/extents/source_syntax.h"

namespace lomarind::repository_changes {

enum class TokenKind : std::uint8_t {
  kOpenParen,
  kCloseParen,
  kOpenBracket,
  kCloseBracket,
  kOpenBrace,
  kCloseBrace,
  kOpenBlock,   // a keyword that opens a body (`do`, `function`, @interface)
  kCloseBlock,  // `end`, `until`, @end
  kStop,        // ends a statement: `;` (Erlang: `.`)
  kComma,
  kWhere,  // a keyword after which trailing commas do not end the statement
};

constexpr std::int32_t kNoPartner = -1;

struct Token {
  std::uint32_t offset = 0;  // in the text
  std::uint32_t line = 0;    // 0-based
  // For a bracket or block, the index of the token that closes (or, for a
  // closer, opens) it; kNoPartner when there is none. An opener closed by
  // a mismatched closer, in text the lexer misread, gets that closer.
  std::int32_t partner = kNoPartner;
  TokenKind kind = TokenKind::kStop;
};

constexpr std::uint32_t kNoCode = 0xffffffff;

struct SourceLine {
  std::uint32_t begin = 0;  // offset of its first byte
  // Offsets of its first code byte and one past its last: code is what is
  // not a blank or a comment (strings are code). kNoCode for a line
  // without code.
  std::uint32_t code_begin = kNoCode;
  std::uint32_t code_end = kNoCode;
  std::uint32_t first_token = 0;  // index of the first token on or after it
  // For a preprocessor directive's first line, how many lines it takes
  // (continued with a backslash); else 0.
  std::uint32_t directive_lines = 0;
  std::uint32_t depth = 0;           // brackets and blocks open where it starts
  bool starts_in_string = false;     // it begins inside a multi-line string
  bool code_ends_in_string = false;  // its last code byte closes a string

  bool has_code() const { return code_begin != kNoCode; }
};

struct LexedSource {
  std::vector<Token> tokens;
  std::vector<SourceLine> lines;  // at least one
};

// REQUIRES: text.size() < 4 GiB. Runs in time linear in the text's size
// for any bytes; unbalanced input leaves tokens without partners.
LexedSource lex_source(std::string_view text, const SourceSyntax& syntax);

}  // namespace lomarind::repository_changes
