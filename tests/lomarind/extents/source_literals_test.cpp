#include "lomarind/extents/source_literals.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "lomarind/extents/script_literals.h"

namespace lomarind::repository_changes::literals {
namespace {

// A literal starting at the first byte of `text`, and the text it takes:
// nullopt when none starts there.
struct Case {
  std::string_view name;
  std::function<std::optional<std::size_t>(std::string_view)> end;
  std::string_view text;
  std::optional<std::string_view> literal;
};

void expect_literals(std::span<const Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::optional<std::size_t> end = c.end(c.text);
    const std::optional<std::string_view> literal =
        end ? std::optional(c.text.substr(0, *end)) : std::nullopt;
    EXPECT_EQ(literal, c.literal);
  }
}

std::optional<std::size_t> character(std::string_view text) { return character_end(text, 0); }
std::optional<std::size_t> rust_raw(std::string_view text) { return rust_raw_end(text, 0); }
std::optional<std::size_t> cpp_raw(std::string_view text) { return cpp_raw_end(text, 0); }
std::optional<std::size_t> long_bracket(std::string_view text) { return long_bracket_end(text, 0); }
std::optional<std::size_t> regex(std::string_view text) { return regex_end(text, 0, 64, false); }
std::optional<std::size_t> template_literal(std::string_view text) { return template_end(text, 0); }
std::optional<std::size_t> quoted(std::string_view text) {
  return quoted_end(text, 0, true, false);
}
std::optional<std::size_t> nested_comment(std::string_view text) {
  return block_comment_end(text, 0, "/*", "*/", true);
}

TEST(SourceLiteralsTest, StringsCharactersAndComments) {
  const Case cases[] = {
      {"a character", character, "'}' x", "'}'"},
      {"an escaped quote", character, "'\\'' x", "'\\''"},
      {"a Unicode escape", character, "'\\u{1F600}')", "'\\u{1F600}'"},
      {"a character of two UTF-8 bytes", character, "'\xc3\xa9')", "'\xc3\xa9'"},
      {"a Rust lifetime", character, "'a>(x: &'a str)", std::nullopt},
      {"a C++ digit separator", character, "'000'000", std::nullopt},
      {"Rust r#\"..\"# holds a quote", rust_raw, "r#\"say \"}\"\"# x", "r#\"say \"}\"\"#"},
      {"Rust r\"..\"", rust_raw, "r\"\\\" x", "r\"\\\""},
      {"a Rust word starting with r", rust_raw, "return x", std::nullopt},
      {"C++ R\"delim(..)delim\"", cpp_raw, "R\"x()\" )x\" y", "R\"x()\" )x\""},
      {"a C++ delimiter that is too long", cpp_raw, "R\"abcdefghijklmnopq(x)\"", std::nullopt},
      {"Lua [==[..]==] holds ]]", long_bracket, "[==[ ]] ]==] x", "[==[ ]] ]==]"},
      {"Lua indexing", long_bracket, "[=x]", std::nullopt},
      {"a regular expression with a class", regex, "/[/]'/g, x", "/[/]'/"},
      {"a division", regex, "/ 2\nx / 3", std::nullopt},
      {"a template's code holds strings and templates", template_literal,
       "`a${ {b: '}'}[`${c}`] }`;", "`a${ {b: '}'}[`${c}`] }`"},
      {"a string ends at its line", quoted, "\"abc\ndef\"", "\"abc"},
      {"a backslash joins lines", quoted, "\"abc\\\ndef\" x", "\"abc\\\ndef\""},
      {"block comments nest", nested_comment, "/* /* */ } */ x", "/* /* */ } */"},
      {"an unclosed comment runs to the end", nested_comment, "/* }", "/* }"},
  };
  expect_literals(cases);
}

// The opener at the start of `text` and its body.
std::optional<std::size_t> heredoc(Heredoc style, std::string_view text) {
  const std::optional<HeredocOpener> opener = heredoc_opener(text, 0, style);
  if (!opener) return std::nullopt;
  const std::size_t body = text.find('\n', opener->end);
  if (body == std::string_view::npos) return opener->end;
  return heredoc_end(text, body + 1, opener->terminator, opener->indented);
}

std::optional<std::size_t> ruby(std::string_view text) { return heredoc(Heredoc::kRuby, text); }
std::optional<std::size_t> shell(std::string_view text) { return heredoc(Heredoc::kShell, text); }
std::optional<std::size_t> php(std::string_view text) { return heredoc(Heredoc::kPhp, text); }
std::optional<std::size_t> perl(std::string_view text) { return heredoc(Heredoc::kPerl, text); }

TEST(SourceLiteralsTest, HeredocsRunToTheirTerminatorLine) {
  const Case cases[] = {
      {"ruby <<~ with an indented terminator", ruby, "<<~EOS\n  }\n  EOS\nx", "<<~EOS\n  }\n  EOS"},
      {"ruby appends: a << b", ruby, "<< item\n", std::nullopt},
      {"ruby appends to lower-case names", ruby, "<<item\n", std::nullopt},
      {"shell <<-'EOF' with a tab", shell, "<<-'EOF'\n}\n\tEOF\nx", "<<-'EOF'\n}\n\tEOF"},
      {"shell here-string", shell, "<<< \"$x\"\n", std::nullopt},
      {"shell arithmetic shift", shell, "<< 2))\n", std::nullopt},
      {"shell: a longer word is not the terminator", shell, "<<EOF\nEOFX\nEOF\n",
       "<<EOF\nEOFX\nEOF"},
      {"php <<<\"EOT\" closed by EOT;", php, "<<<\"EOT\"\n{\n    EOT;\n",
       "<<<\"EOT\"\n{\n    EOT;"},
      {"perl <<\"END\"", perl, "<<\"END\";\n}\nEND\n", "<<\"END\";\n}\nEND"},
      {"an unterminated heredoc runs to the end", ruby, "<<~EOS\n}\n", "<<~EOS\n}\n"},
  };
  expect_literals(cases);
}

std::optional<std::size_t> percent(std::string_view text) { return percent_literal_end(text, 0); }
std::optional<std::size_t> sigil(std::string_view text) { return sigil_end(text, 0); }
// The Perl operator is the leading word of `text`, after one byte of context.
std::optional<std::size_t> perl_quote(std::string_view text) {
  std::size_t end = 1;
  while (end < text.size() && is_word_byte(text[end])) ++end;
  return perl_quote_end(text, 1, end);
}

TEST(SourceLiteralsTest, QuoteLikeLiteralsOfScriptingLanguages) {
  const Case cases[] = {
      {"ruby %w[] nests its brackets", percent, "%w[a [b] }] x", "%w[a [b] }]"},
      {"ruby modulo", percent, "% 2", std::nullopt},
      {"elixir ~r/../", sigil, "~r/}/i x", "~r/}/"},
      {"elixir ~S\"\"\"..\"\"\"", sigil, "~S\"\"\"\n}\n\"\"\" x", "~S\"\"\"\n}\n\"\"\""},
      {"perl s{..}{..}", perl_quote, " s{a}\n  {}}x", " s{a}\n  {}"},
      {"perl tr/a/b/", perl_quote, " tr/}/{/ x", " tr/}/{/"},
      {"perl qw(..)", perl_quote, " qw(a }) x", " qw(a })"},
      {"perl m,..,", perl_quote, " m,[/\\\\],s x", " m,[/\\\\],"},
      {"perl $s{x} is a hash element", perl_quote, "$s{x}", std::nullopt},
      {"perl y => 1 is a hash key", perl_quote, " y => 1", std::nullopt},
      {"perl ->s is a method", perl_quote, ">s(1)", std::nullopt},
  };
  expect_literals(cases);
}

}  // namespace
}  // namespace lomarind::repository_changes::literals
