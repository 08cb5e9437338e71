#include "lomarind/storage/ctags_tags.h"

#include <gtest/gtest.h>

namespace lomarind::repository_changes {
namespace {

TEST(CtagsTagsTest, ParsesTagLinesAndDecodesEscapes) {
  EXPECT_EQ(parse_ctags_line(
                R"j({"_type": "tag", "name": "deep", "path": "./a b/x.py", "pattern": "/^ }$/",)j"
                R"j( "line": 7, "kind": "member", "signature": "(s=\"}\")", "scope": "Foo.Inner",)j"
                R"j( "scopeKind": "class", "file": true, "end": 8})j"),
            (CtagsTag{"./a b/x.py", "deep", "member", "Foo.Inner", "class", 7, 8}));
  EXPECT_EQ(parse_ctags_line(R"j({"_type": "tag", "name": "q\"\\\/\t\u00e9\ud83d\ude00",)j"
                             R"j( "path": "./a.py", "line": 1, "kind": "function"})j"),
            (CtagsTag{"./a.py", "q\"\\/\t\xc3\xa9\xf0\x9f\x98\x80", "function", "", "", 1, {}}));
}

TEST(CtagsTagsTest, SkipsLinesWithoutATag) {
  for (
      const std::string_view line :
      {R"j({"_type": "ptag", "name": "JSON_OUTPUT_VERSION", "path": "0.0", "pattern": "in development"})j",
       R"j({"_type": "tag", "name": "f", "path": "./a.py", "line": 1, "kind": "function")j",
       R"j({"_type": "tag", "name": "f", "path": "./a.py", "kind": "function"})j",
       R"j({"_type": "tag", "name": "bad\u12", "path": "./a.py", "line": 1, "kind": "function"})j",
       "", "ctags: Warning: cannot open input file"}) {
    SCOPED_TRACE(line);
    EXPECT_EQ(parse_ctags_line(line), std::nullopt);
  }
}

TEST(CtagsTagsTest, MapsKindsAndQualifiesNames) {
  struct Case {
    CtagsTag tag;
    std::string_view language;
    std::string symbol;  // kind, fqn and lines
  };
  const Case cases[] = {
      {{"a.py", "top", "function", "", "", 9, {}}, "python", "function top 9-9"},
      {{"a.py", "in", "function", "top", "function", 9, 10}, "python", "function top.in 9-10"},
      {{"b.go", "F", "func", "main", "package", 6, 6}, "go", "function main.F 6-6"},
      {{"c.cc", "g", "function", "ns::C", "class", 8, 8}, "cpp", "method ns::C::g 8-8"},
      {{"c.cc", "myint", "typedef", "ns", "namespace", 9, 9}, "cpp", "type ns::myint 9-9"},
      {{"c.cc", "field", "member", "ns::C", "class", 6, 6}, "cpp", "member ns::C::field 6-6"},
      {{"d.rs", "Tr", "interface", "", "", 1, 3}, "rust", "trait Tr 1-3"},
      {{"e.ts", "Alias", "alias", "", "", 2, 1}, "typescript", "type Alias 2-2"},
      {{"f.rb", "make", "singletonMethod", "Foo", "class", 2, 4}, "ruby", "method Foo.make 2-4"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.symbol);
    const IndexedSymbol symbol = to_symbol(c.tag, c.language);
    EXPECT_EQ(symbol.name, c.tag.name);
    EXPECT_EQ(symbol.kind + " " + symbol.fqn + " " + std::to_string(symbol.start_line) + "-" +
                  std::to_string(symbol.end_line),
              c.symbol);
  }
}

TEST(CtagsTagsTest, AnonymousTypesKeepNoGeneratedName) {
  const IndexedSymbol member =
      to_symbol({"c.cc", "A", "enumerator", "n::__anon05d898540203", "enum", 2, {}}, "cpp");
  EXPECT_EQ(member.fqn, "n::(anonymous)::A");
  const IndexedSymbol type = to_symbol({"c.c", "__anon05d898540108", "struct", "", "", 1, 1}, "c");
  EXPECT_EQ(type.name, "(anonymous)");
  EXPECT_EQ(type.fqn, "(anonymous)");
}

}  // namespace
}  // namespace lomarind::repository_changes
