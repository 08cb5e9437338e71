// Where a string or comment that starts at `at` ends: each function
// returns the offset just past it, never beyond the text, and looks at
// each byte at most once. One that is never closed runs to the text's end.
// Internal to the source lexer.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace lomarind::repository_changes::literals {

bool is_word_byte(char c);  // letters, digits, '_' and any non-ASCII byte

// The line break ending the line at `at`, or the text's size.
std::size_t line_end(std::string_view text, std::size_t at);

// A comment from `open` at `at` to `close`, counting nested opens when
// `nests`.
std::size_t block_comment_end(std::string_view text, std::size_t at, std::string_view open,
                              std::string_view close, bool nests);

// A string quoted by text[at]. Without `escapes` a backslash is ordinary;
// without `multiline` the string also ends at a line break (left unread).
std::size_t quoted_end(std::string_view text, std::size_t at, bool escapes, bool multiline);

// 'x', '\n', '\u{1F600}': nullopt when the quote at `at` starts none.
std::optional<std::size_t> character_end(std::string_view text, std::size_t at);

// """..""" or '''..''' (backslash escapes).
std::size_t triple_quoted_end(std::string_view text, std::size_t at);

// A JavaScript template `..${ code }..`, whose code may hold strings and
// templates of its own.
std::size_t template_end(std::string_view text, std::size_t at);

// Rust r#"..."# with the `r` at `at`: nullopt when no such string starts.
std::optional<std::size_t> rust_raw_end(std::string_view text, std::size_t at);

// C++ R"delim(..)delim" with the `R` at `at`.
std::optional<std::size_t> cpp_raw_end(std::string_view text, std::size_t at);

// Lua's [[..]] or [==[..]==] with the first `[` at `at`.
std::optional<std::size_t> long_bracket_end(std::string_view text, std::size_t at);

// /regex/ with [classes] and escapes, within `max_bytes` and, unless
// `multiline` (Perl's /x), on one line; nullopt when it does not close
// there (the slash divides).
std::optional<std::size_t> regex_end(std::string_view text, std::size_t at, std::size_t max_bytes,
                                     bool multiline);

// A literal delimited by text[at]: a bracket pairs with its closer and
// nests, any other byte closes itself. With `parts` = 2 a second part
// follows (Perl s{..}{..}, s/../../).
std::size_t delimited_end(std::string_view text, std::size_t at, int parts = 1);

}  // namespace lomarind::repository_changes::literals
