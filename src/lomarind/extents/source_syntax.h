// How a language writes its blocks, strings and comments: just enough to
// find where a declaration ends when ctags does not say. Each language is
// described by data, read by one lexer (source_lexer.h) and one of two
// extent finders (block_extents.h, indent_extents.h).
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace lomarind::repository_changes {

enum class BlockStyle : std::uint8_t {
  kBraces,       // a body is a { } group (C, Java, JavaScript, Rust, Go...)
  kKeywords,     // a keyword opens a body, `end` closes it (Lua, Ruby...)
  kParens,       // a declaration is one ( ) form (Clojure)
  kStatements,   // a declaration runs to its terminating `.` (Erlang)
  kIndentation,  // a body is the lines indented deeper (Python, Haskell)
};

// What a quote character starts.
enum class Quote : std::uint8_t {
  kNone,       // an ordinary character (Clojure's quote, Swift's ')
  kString,     // a string with backslash escapes
  kRaw,        // a string without escapes (shell '...', Go `...`)
  kCharacter,  // 'x' or '\n' only; any other ' is ordinary (Rust
               // lifetimes, C++ digit separators, OCaml type variables)
};

enum class Heredoc : std::uint8_t { kNone, kShell, kPerl, kRuby, kPhp };

// Extra ways to write strings, by language.
enum class RawString : std::uint8_t {
  kNone,
  kRust,    // r"..", r#".."#, br".."
  kCpp,     // R"delim(..)delim"
  kCsharp,  // @".." with "" for a quote
};

enum class KeywordRole : std::uint8_t {
  kOpen,   // opens a body (`def`, `function`, `do`)
  kClose,  // closes one (`end`, `until`)
  kWhere,  // starts a clause whose trailing commas do not end it (Rust `where`)
};

struct Keyword {
  std::string_view word = {};
  KeywordRole role = KeywordRole::kOpen;
  // Opens only where a statement starts: Ruby's `x = 1 if y` opens nothing.
  bool statement_start = false;
  // A `do` later on the same line belongs to it (Ruby `while x do`).
  bool takes_do = false;
  // Opens only when `(` follows (Erlang's `fun(X) -> .. end`, not `fun f/1`).
  bool before_paren = false;
};

struct SourceSyntax {
  BlockStyle blocks = BlockStyle::kBraces;
  // A line break ends a statement unless the line or the next one shows it
  // goes on (JavaScript, Go, Kotlin, Ruby...); otherwise only `;` or a
  // body does (C, Java, Rust).
  bool newline_ends_statements = false;

  bool slash_comments = false;               // // and /* */
  bool nested_comments = false;              // /* */ (or the language's block comment) nests
  bool hash_comments = false;                // # to the end of the line, but not $#
  bool hash_at_word_start = false;           // ...only where a word may start (shell)
  bool dash_comments = false;                // -- to the end of the line
  bool percent_comments = false;             // % to the end of the line (Erlang)
  bool semicolon_comments = false;           // ; to the end of the line (Clojure)
  std::string_view block_comment_open = {};  // another block comment: "{-", "(*", "#="
  std::string_view block_comment_close = {};
  // A documentation block from a line starting with the open (as a word;
  // "=" stands for any =word) to a line starting with the close: Ruby's
  // =begin .. =end, Perl's POD (=head1 .. =cut).
  std::string_view doc_block_open = {};
  std::string_view doc_block_close = {};

  Quote double_quote = Quote::kString;
  Quote single_quote = Quote::kNone;
  Quote backtick = Quote::kNone;
  bool multiline_strings = false;  // a quoted string may hold line breaks
  bool template_literals = false;  // `..${code}..` (JavaScript)
  bool triple_quotes = false;      // """..""" and '''..'''
  bool long_brackets = false;      // Lua [[..]], [==[..]==] and --[[..]]
  bool regex_literals = false;     // /../ where an operand is expected
  bool percent_literals = false;   // Ruby %w[..], %q(..)
  bool quote_operators = false;    // Perl q{..}, qw(..), m/../, s{..}{..}
  bool sigils = false;             // Elixir ~r/../, ~s(..)
  bool backslash_chars = false;    // \x is one character (Clojure)
  bool dollar_chars = false;       // $x is one character (Erlang)
  bool line_strings = false;       // \\ to the end of the line (Zig)
  RawString raw_strings = RawString::kNone;
  Heredoc heredoc = Heredoc::kNone;

  bool preprocessor = false;  // # directives on their own lines (C, C#)
  bool php_tags = false;      // code only between <?php and ?>
  bool objc_blocks = false;   // @interface/@implementation .. @end
  bool data_end = false;      // __END__ or __DATA__ ends the code
  // A `:` starts a list that trailing commas do not end (C++ base classes
  // and member initializers, Kotlin supertypes).
  bool colon_lists = false;
  // False: keywords inside ( ) or [ ] are plain words (Julia's a[end]).
  bool keywords_in_brackets = true;
  std::span<const Keyword> keywords = {};
  // Words that, starting a line, continue the statement of the line
  // before (`where`, `extends`).
  std::span<const std::string_view> continuation_words = {};
};

// The syntax of a language (the index's language names: "rust", "cpp"),
// or null when extents are not derived for it.
const SourceSyntax* syntax_for_language(std::string_view language);

}  // namespace lomarind::repository_changes
