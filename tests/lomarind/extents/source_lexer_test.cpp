#include "lomarind/extents/source_lexer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace lomarind::repository_changes {
namespace {

using ::testing::ElementsAreArray;

// Each line as `"` when it starts inside a string, its [code], `#n` for a
// directive of n lines, then its tokens, each with its partner's line.
std::vector<std::string> lexed(std::string_view text, std::string_view language) {
  const LexedSource source = lex_source(text, *syntax_for_language(language));
  std::vector<std::string> rows;
  for (std::uint32_t i = 0; i < source.lines.size(); ++i) {
    const SourceLine& line = source.lines[i];
    std::string row = line.starts_in_string ? "\"[" : "[";
    if (line.has_code()) row += text.substr(line.code_begin, line.code_end - line.code_begin);
    row += "]";
    if (line.directive_lines > 0) row += " #" + std::to_string(line.directive_lines);
    for (std::size_t t = line.first_token; t < source.tokens.size() && source.tokens[t].line == i;
         ++t) {
      const Token& token = source.tokens[t];
      row += std::string(" ") + "()[]{}BE;,W"[static_cast<int>(token.kind)];
      if (token.partner != kNoPartner) row += std::to_string(source.tokens[token.partner].line + 1);
    }
    rows.push_back(row);
  }
  return rows;
}

struct Case {
  std::string_view name;
  std::string_view language;
  std::string_view text;
  std::vector<std::string> rows;
};

TEST(SourceLexerTest, LinesKeepTheirCodeAndTokensTheirPartners) {
  const Case cases[] = {
      {"c: two heads of one body in #if branches; comments are not code",
       "c",
       "#ifdef A\nint f(int a) {\n#else\nint f(int a, int b) {\n#endif\n"
       "  return \"}\"; /* { */\n}\n#define M \\\n  {\n",
       {"[] #1", "[int f(int a) {] (2 )2 {7", "[] #1", "[int f(int a, int b) {] (4 , )4 {7",
        "[] #1", "[return \"}\";] ;", "[}] }2", "[] #2", "[]", "[]"}},
      {"c: code under #if 0 has no tokens; its #else does",
       "c",
       "#if 0\n{ (\n#else\n{\n#endif\n}\n",
       {"[] #1", "[{ (]", "[] #1", "[{] {6", "[] #1", "[}] }4", "[]"}},
      {"javascript: a template over lines, then a regular expression",
       "javascript",
       "const s = `a\n}`; /}/\n",
       {"[const s = `a]", "\"[}`; /}/] ;", "[]"}},
      {"shell: a case pattern's ) closes nothing of the function",
       "shell",
       "f() {\n  case $x in\n    a) :;;\n  esac\n}\n",
       {"[f() {] (1 )1 {5", "[case $x in]", "[a) :;;] ) ; ;", "[esac]", "[}] }1", "[]"}},
      {"ruby: keywords that open and close blocks, and those that do not",
       "ruby",
       "def f(x)\n  return 1 if x\n  while x do\n  end\n  g(end: x.end, y: :end)\nend\n",
       {"[def f(x)] B6 (1 )1", "[return 1 if x]", "[while x do] B4", "[end] E3",
        "[g(end: x.end, y: :end)] (5 , )5", "[end] E1", "[]"}},
      {"python: a triple-quoted string and a comment",
       "python",
       "x = \"\"\"a\n# not a comment\n\"\"\"  # a comment\n",
       {"[x = \"\"\"a]", "\"[# not a comment]", "\"[\"\"\"]", "[]"}},
      {"shell: a heredoc's body starts in a string",
       "shell",
       "cat <<EOF\n{\nEOF\n",
       {"[cat <<EOF]", "\"[{]", "\"[EOF]", "[]"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_THAT(lexed(c.text, c.language), ElementsAreArray(c.rows));
  }
}

// A closer whose opener is more than a few deep pairs with none, so that
// one misread bracket does not reshape the file; a closer that finds its
// opener closes the unclosed ones inside it too.
TEST(SourceLexerTest, StrayClosersLeaveTheOuterBlocksPaired) {
  EXPECT_THAT(lexed("{\n  ( ( ( ( }\n  )\n}\n", "c"),
              ElementsAreArray({"[{] {4", "[( ( ( ( }] (4 (4 (4 (3 }", "[)] )2", "[}] }1", "[]"}));
}

}  // namespace
}  // namespace lomarind::repository_changes
