// The quote-like literals of scripting languages: heredocs, Ruby's
// %w[..], Elixir's sigils, Perl's quote operators. Like source_literals.h,
// each function returns the offset just past its literal, reading each
// byte at most once. Internal to the source lexer.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "lomarind/extents/source_syntax.h"

namespace lomarind::repository_changes::literals {

// The heredoc whose body starts at `at` (the line after its opener) and
// ends with the line holding only `terminator`, blanks around it allowed
// when `indented`.
std::size_t heredoc_end(std::string_view text, std::size_t at, std::string_view terminator,
                        bool indented);

struct HeredocOpener {
  std::size_t end = 0;     // just past the opener: <<~EOS, <<<'EOT'
  std::string terminator;  // the line that ends the body
  bool indented = false;   // the terminator may be indented
};

// The heredoc opener at `at` (its "<<"), in the given style; nullopt for
// a shift or anything else.
std::optional<HeredocOpener> heredoc_opener(std::string_view text, std::size_t at, Heredoc style);

// Ruby's %w[..], %q(..), %(..) with the '%' at `at`.
std::optional<std::size_t> percent_literal_end(std::string_view text, std::size_t at);

// Elixir's ~r/../, ~s(..), ~S"""..""" with the '~' at `at`.
std::optional<std::size_t> sigil_end(std::string_view text, std::size_t at);

// Perl's q{..}, qw(..), m/../, s{..}{..}, tr/../../ whose operator is the
// word text[begin, end); nullopt when the word is none or is a variable
// ($s) or a hash key (s => 1).
std::optional<std::size_t> perl_quote_end(std::string_view text, std::size_t begin,
                                          std::size_t end);

}  // namespace lomarind::repository_changes::literals
