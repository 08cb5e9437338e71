#include "lomarind/extents/symbol_extents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::ElementsAreArray;

// A file and where each of its declarations ends: start line -> end line.
struct Case {
  std::string_view name;
  std::string_view language;
  std::string_view text;
  std::map<std::int64_t, std::int64_t> extents;
};

std::map<std::int64_t, std::int64_t> derived(const Case& c) {
  std::vector<std::int64_t> starts;
  for (const auto& [start, end] : c.extents) starts.push_back(start);
  const std::vector<std::int64_t> ends = derive_end_lines(c.text, c.language, starts);
  std::map<std::int64_t, std::int64_t> extents;
  for (std::size_t i = 0; i < starts.size(); ++i) extents[starts[i]] = ends[i];
  return extents;
}

void expect_extents(std::span<const Case> cases) {
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(derived(c), c.extents);
  }
}

// Braces and terminators, with what hides a brace: strings, characters,
// comments, raw strings, preprocessor branches.
const Case kBraceCases[] = {
    {"c: braces in strings, characters and comments; a prototype",
     "c",
     "int f(void)\n{\n  char *s = \"}\";\n  char c = '}';\n  /* } */ // }\n  return 0;\n}\n"
     "int g(int a,\n      int b);\n",
     {{1, 7}, {8, 9}}},
    {"c: members end at their ';', a typedef name after its '}'",
     "c",
     "typedef struct {\n  int a;\n  int (*fn)(int,\n            int);\n} T;\n"
     "enum e { X,\n  Y };\n",
     {{1, 5}, {2, 2}, {3, 4}, {5, 5}, {7, 7}}},
    {"c: a macro runs over its continued lines",
     "c",
     "#define M(x) \\\n  do { \\\n  } while (0)\nint v;\n",
     {{1, 3}, {4, 4}}},
    {"c: two heads of one body in #if branches; #if 0 is no code",
     "c",
     "#ifdef A\nint h(int a) {\n#else\nint h(int a, int b) {\n#endif\n  return 0;\n}\n"
     "#if 0\nint broken( {\n#endif\nint k(void) {\n}\n",
     {{2, 7}, {4, 7}, {11, 12}}},
    {"c++: initializer list, raw string, digit separator, template list",
     "cpp",
     "Foo::Foo(int a)\n    : a_(a),\n      b_(R\"(})\"),\n      c_(1'000) {\n}\n"
     "template <typename A,\n          typename B>\nstruct Pair {};\n",
     {{1, 5}, {6, 8}}},
    {"rust: the body of OwnedTasks::new (tokio), a where clause, raw strings, lifetimes",
     "rust",
     "impl<S: 'static> OwnedTasks<S> {\n"
     "    pub(crate) fn new(num_cores: usize) -> Self {\n"
     "        let sharded_size = Self::gen_sharded_list_size(num_cores);\n"
     "        Self {\n"
     "            list: ShardedList::new(sharded_size),\n"
     "            closed: AtomicBool::new(false),\n"
     "            id: get_next_id(),\n"
     "        }\n"
     "    }\n"
     "\n"
     "    pub(crate) fn bind<T>(\n"
     "        &self,\n"
     "        task: T,\n"
     "    ) -> (JoinHandle<T::Output>, Option<Notified<S>>)\n"
     "    where\n"
     "        S: Schedule,\n"
     "        T: Future + Send + 'static,\n"
     "    {\n"
     "        let s = r#\"}\"#;\n"
     "        let c = '}';\n"
     "        todo!()\n"
     "    }\n"
     "}\n",
     {{1, 23}, {2, 9}, {11, 22}}},
    {"rust: declarations without a body",
     "rust",
     "pub trait T {\n    fn f(&self);\n    fn g(\n        &self,\n    ) -> u32;\n}\n"
     "struct S {\n    a: u32,\n    b: Vec<u32>\n}\nstruct Unit;\n",
     {{1, 6}, {2, 2}, {3, 5}, {7, 10}, {8, 8}, {9, 9}, {11, 11}}},
    {"go: fields and interface methods end with their line; raw strings",
     "go",
     "type T struct {\n\tA int\n\tB string `json:\"}\"`\n}\ntype I interface {\n\tM() error\n}\n"
     "func (t *T) Run() {\n\ts := `\n}`\n\t_ = s\n}\n",
     {{1, 4}, {2, 2}, {3, 3}, {5, 7}, {6, 6}, {8, 12}}},
    {"php: the page outside <?php (also after ?> in a comment), # comments, a heredoc, "
     "an abstract method",
     "php",
     "<p>{ don't</p>\n<?php // ?>\n<p>don't</p>\n<?php\nabstract class A {\n"
     "    abstract function f();\n    function g() {\n        # }\n        $s = <<<EOT\n"
     "        }\n        EOT;\n        return $s;\n    }\n}\n",
     {{5, 14}, {6, 6}, {7, 13}}},
};

TEST(SymbolExtentsTest, BracedBodiesAndStatements) { expect_extents(kBraceCases); }

// Languages where a line break ends a statement unless the text shows it
// goes on.
const Case kLineBreakCases[] = {
    {"javascript: templates, regular expressions, arrows, classes, objects",
     "javascript",
     "const a = 1\nfunction f(x) {\n  const t = `}${x + \"}\"}`;\n  const r = /['}]/g;\n"
     "  return t.replace(r, '')\n}\nconst g = (y) =>\n  y + 1\nclass C {\n  m() {\n"
     "    return { a: 1 }\n  }\n  n = 2\n}\nconst o = {\n  p: function () {\n    return 1\n"
     "  },\n  q: 2,\n}\n",
     {{1, 1}, {2, 6}, {7, 8}, {9, 14}, {10, 12}, {13, 13}, {15, 20}, {16, 18}, {19, 19}}},
    {"typescript: braces in generics, signatures without a body, chained calls, a union",
     "typescript",
     "interface I<T = {}> {\n  m(): void;\n  n(a: string): Promise<void>\n  o: number\n}\n"
     "export const x = foo()\n  .then(() => {\n    done()\n  })\ntype U =\n  | 'a'\n  | 'b'\n",
     {{1, 5}, {2, 2}, {3, 3}, {4, 4}, {6, 9}, {10, 12}}},
    {"kotlin: supertypes on the next line, expression bodies, no body",
     "kotlin",
     "class A(val x: Int)\n    : B(x), C {\n    fun f() = x + 1\n    fun g(): Int {\n"
     "        return x\n    }\n}\ndata class D(val a: Int)\nfun h() {\n}\n",
     {{1, 7}, {3, 3}, {4, 6}, {8, 8}, {9, 10}}},
    {"shell: a function, a heredoc holding a brace",
     "shell",
     "f() {\n  cat <<EOF\n}\nEOF\n  echo ${#x} # }\n}\ng() { :; }\n",
     {{1, 6}, {7, 7}}},
};

TEST(SymbolExtentsTest, StatementsEndWithTheirLine) { expect_extents(kLineBreakCases); }

// `end` keywords, indentation and the other block styles.
const Case kOtherBlockCases[] = {
    {"lua: keywords in strings and long brackets, tables, one-line bodies",
     "lua",
     "local M = {}\nfunction M.f(a)\n  if a then\n    return \"end\"\n  end\n  --[[ end ]]\n"
     "  local s = [==[ end ]==]\n  for i = 1, 3 do print(i) end\n  return s\nend\n"
     "local function g() return 1 end\nlocal t = {\n  h = function() end,\n}\n",
     {{1, 1}, {2, 10}, {11, 11}, {12, 14}, {13, 13}}},
    {"ruby: modifier if, while .. do, a hash key, a heredoc, blocks, =begin",
     "ruby",
     "class A\n  def f(x)\n    return 1 if x\n    while x do\n      x = g(end: 1)\n    end\n"
     "    s = <<~EOS\n      def not_code\n    EOS\n    [1].each do |y|\n      puts y\n"
     "    end\n  end\n=begin\nend\n=end\nend\n",
     {{1, 17}, {2, 13}}},
    {"elixir: do: one-liners, a guard on the next line, fn .. end",
     "elixir",
     "defmodule A do\n  def f(x), do: x\n  def g(x)\n      when x > 0 do\n"
     "    Enum.map(x, fn y -> y end)\n  end\nend\n",
     {{1, 7}, {2, 2}, {3, 6}}},
    {"julia: end inside brackets indexes",
     "julia",
     "function f(a)\n    return a[end]\nend\nf2(x) = x\n",
     {{1, 3}, {4, 4}}},
    {"erlang: a form runs to its full stop",
     "erlang",
     "f(X) ->\n    case X of\n        1 -> a;\n        _ -> b\n    end.\ng() -> 1.5.\n",
     {{1, 5}, {6, 6}}},
    {"clojure: a form, with a character literal paren",
     "clojure",
     "(defn f [x]\n  (str x \\())\n(def y 1)\n",
     {{1, 2}, {3, 3}}},
    {"python: decorators, triple quotes, brackets, comments, one-line bodies",
     "python",
     "class C:\n    def m(self):\n        s = \"\"\"\nnot indented\n\"\"\"\n        return {\n"
     "    'a': 1,\n}\n    # trailing comment\n\n    def n(self): pass\nX = [\n  1,\n]\n"
     "def f(a, \\\n      b):\n    return a\n",
     {{1, 11}, {2, 8}, {11, 11}, {12, 14}, {15, 17}}},
};

TEST(SymbolExtentsTest, KeywordIndentationAndFormBlocks) { expect_extents(kOtherBlockCases); }

// One declaration or two in each of the remaining languages' syntax.
const Case kMoreLanguageCases[] = {
    {"objective-c: @interface and @implementation up to @end",
     "objective-c",
     "@interface Foo : NSObject\n- (void)bar;\n@end\n@implementation Foo\n- (void)bar {\n"
     "  NSLog(@\"}\");\n}\n@end\n",
     {{1, 3}, {2, 2}, {4, 8}, {5, 7}}},
    {"c#: a verbatim string, a property, a where clause",
     "csharp",
     "class A<T> where T : class\n{\n    string P { get; set; }\n    string S = @\"}\"\"{\";\n"
     "    void M()\n    {\n    }\n}\n",
     {{1, 8}, {3, 3}, {4, 4}, {5, 7}}},
    {"java: enum constants and a text block",
     "java",
     "enum E {\n    A(1),\n    B(2);\n    String s = \"\"\"\n        }\n        \"\"\";\n}\n",
     {{1, 7}, {2, 2}, {3, 3}, {4, 6}}},
    {"swift: a requirement without a body",
     "swift",
     "protocol P {\n    func f() -> Int\n}\nstruct S: P {\n    func f() -> Int {\n"
     "        return 1\n    }\n}\n",
     {{1, 3}, {2, 2}, {4, 8}, {5, 7}}},
    {"scala: a head over two lines, an expression body",
     "scala",
     "object A extends B\n    with C {\n  def f(x: Int): Int =\n    x + 1\n  val y = 2\n}\n",
     {{1, 6}, {3, 4}, {5, 5}}},
    {"dart: a getter, a string with a brace",
     "dart",
     "class A {\n  int get x => 1;\n  void f() {\n    print('}');\n  }\n}\n",
     {{1, 6}, {2, 2}, {3, 5}}},
    {"zig: a multiline string line",
     "zig",
     "const S = struct {\n    const text =\n        \\\\ }\n    ;\n    fn f() void {}\n};\n",
     {{1, 6}, {2, 4}, {5, 5}}},
    {"r: a function and a value",
     "r",
     "f <- function(x) {\n  x + 1\n}\ng <- 2\n",
     {{1, 3}, {4, 4}}},
    {"haskell: a where clause, nested comments, a character",
     "haskell",
     "f :: Int -> Int\nf x =\n  x + 1 -- }\n  where {- nested {- -} -}\ng = 'a'\n",
     {{1, 1}, {2, 4}, {5, 5}}},
    {"ocaml: nested comments",
     "ocaml",
     "let f x =\n  (* (* nested *) *)\n  x + 1\ntype t = A | B\n",
     {{1, 3}, {4, 4}}},
};

TEST(SymbolExtentsTest, EveryOtherLanguagesBlocks) { expect_extents(kMoreLanguageCases); }

TEST(SymbolExtentsTest, UnterminatedBlocksRunToTheLastLine) {
  const Case cases[] = {
      {"c", "c", "int f(void) {\n  x();\n\n", {{1, 2}}},
      {"rust raw string", "rust", "fn f() {\n  let s = r#\"}\n  x\n", {{1, 3}}},
      {"python string", "python", "def f():\n    s = '''\n)\n", {{1, 3}}},
      {"lua", "lua", "function f()\n  x()\n", {{1, 2}}},
  };
  expect_extents(cases);
}

TEST(SymbolExtentsTest, CarriageReturnsAreBlanks) {
  const Case cases[] = {
      {"c", "c", "int f(void)\r\n{\r\n  return 0;\r\n}\r\nint x;\r\n", {{1, 4}, {5, 5}}},
      {"javascript", "javascript", "const a = 1\r\nfunction f() {\r\n}\r\n", {{1, 1}, {2, 3}}},
      {"python", "python", "def f():\r\n    pass\r\nx = 1\r\n", {{1, 2}, {3, 3}}},
  };
  expect_extents(cases);
}

TEST(SymbolExtentsTest, WhatCannotBeDerivedKeepsItsStartLine) {
  const std::vector<std::int64_t> starts = {0, 1, 2, 99};
  EXPECT_THAT(derive_end_lines("f() {\n}\n", "fortran", starts), ElementsAreArray(starts));
  EXPECT_THAT(derive_end_lines("int f() {\n}\n", "c", starts),
              ElementsAreArray<std::int64_t>({0, 2, 2, 99}));
  const std::string huge = "int f() {\n" + std::string(kMaxSourceBytes, ' ') + "\n}\n";
  EXPECT_THAT(derive_end_lines(huge, "c", std::vector<std::int64_t>{1}),
              ElementsAreArray<std::int64_t>({1}));
}

// Every end lies between its start and the file's last line.
void expect_ends_within(std::string_view text, std::string_view language) {
  const auto lines = static_cast<std::int64_t>(std::count(text.begin(), text.end(), '\n') + 1);
  std::vector<std::int64_t> starts(static_cast<std::size_t>(lines + 1));
  std::iota(starts.begin(), starts.end(), 1);
  const std::vector<std::int64_t> ends = derive_end_lines(text, language, starts);
  for (std::size_t i = 0; i < starts.size(); ++i) {
    ASSERT_GE(ends[i], starts[i]);
    ASSERT_LE(ends[i], std::max(starts[i], lines));
  }
}

// Whatever the bytes: each case cut at every byte, and garbage made of
// what opens and closes blocks, strings and comments.
TEST(SymbolExtentsTest, AnyTextGivesEndsWithinTheFile) {
  constexpr std::string_view kPieces = "{}()[]\"'`/*#-;,\n\\<$%=:|endo r";
  std::mt19937 random(7);
  std::string garbage(1 << 14, '\0');
  for (char& c : garbage) c = kPieces[random() % kPieces.size()];
  std::vector<Case> inputs(std::begin(kBraceCases), std::end(kBraceCases));
  inputs.insert(inputs.end(), std::begin(kLineBreakCases), std::end(kLineBreakCases));
  inputs.insert(inputs.end(), std::begin(kOtherBlockCases), std::end(kOtherBlockCases));
  inputs.insert(inputs.end(), std::begin(kMoreLanguageCases), std::end(kMoreLanguageCases));
  for (const Case& input : inputs) {
    SCOPED_TRACE(input.name);
    for (std::size_t cut = 0; cut <= input.text.size(); ++cut) {
      expect_ends_within(input.text.substr(0, cut), input.language);
    }
    expect_ends_within(garbage, input.language);
  }
}

// A megabyte on one line of what could each start a literal: the work
// stays linear (each try used to search the rest of the line).
TEST(SymbolExtentsTest, OneLongLineStaysLinear) {
  std::string line;
  for (int i = 0; i < (1 << 18); ++i) line += "(/R\"";
  const std::vector<std::int64_t> starts(10000, 1);
  for (const std::string_view language : {"javascript", "perl", "ruby", "cpp"}) {
    SCOPED_TRACE(language);
    EXPECT_THAT(derive_end_lines(line, language, starts), ::testing::Each(1));
  }
}

TEST(SymbolExtentsTest, ReadsOnlyRegularFilesWithoutFollowingLinks) {
  const lomarind::testing::TempDir dir;
  std::ofstream(dir.path() / "a.rs") << "fn f() {}\n";
  std::filesystem::create_symlink(dir.path() / "a.rs", dir.path() / "link.rs");
  ASSERT_EQ(::mkfifo((dir.path() / "fifo.rs").c_str(), 0600), 0);
  std::filesystem::create_directory(dir.path() / "dir.rs");
  EXPECT_EQ(read_source_file(dir.path(), "a.rs"), "fn f() {}\n");
  for (const char* refused : {"link.rs", "fifo.rs", "dir.rs", "missing.rs"}) {
    SCOPED_TRACE(refused);
    EXPECT_EQ(read_source_file(dir.path(), refused), std::nullopt);
  }
}

}  // namespace
}  // namespace lomarind::repository_changes
