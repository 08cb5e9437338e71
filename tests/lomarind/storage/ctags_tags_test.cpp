#include "lomarind/storage/ctags_tags.h"

#include <gtest/gtest.h>

namespace lomarind::repository_changes {
namespace {

TEST(CtagsTagsTest, ParsesATagLine) {
  const std::optional<CtagsTag> tag = parse_ctags_line(
      R"j({"_type": "tag", "name": "deep", "path": "./a b/x.py", "pattern": "/^  def deep(self):$/",)j"
      R"j( "line": 7, "kind": "member", "signature": "(self, s=\"}\")", "scope": "Foo.Inner",)j"
      R"j( "scopeKind": "class", "file": true, "end": 8})j");
  ASSERT_TRUE(tag);
  EXPECT_EQ(*tag, (CtagsTag{"./a b/x.py", "deep", "member", "Foo.Inner", "class", 7, 8}));
}

TEST(CtagsTagsTest, DecodesEscapes) {
  const std::optional<CtagsTag> tag = parse_ctags_line(
      R"j({"_type": "tag", "name": "q\"\\\/\t\u00e9\ud83d\ude00", "path": "./a.py", "line": 1,)j"
      R"j( "kind": "function"})j");
  ASSERT_TRUE(tag);
  EXPECT_EQ(tag->name, "q\"\\/\t\xc3\xa9\xf0\x9f\x98\x80");
  EXPECT_EQ(tag->end, std::nullopt);
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
    IndexedSymbol symbol;
  };
  const Case cases[] = {
      {{"./a.py", "bar", "member", "Foo", "class", 3, 4},
       "python",
       {"bar", "method", "Foo.bar", 3, 4}},
      {{"./a.py", "top", "function", "", "", 9, std::nullopt},
       "python",
       {"top", "function", "top", 9, 9}},
      {{"./a.py", "inner", "function", "top", "function", 9, 10},
       "python",
       {"inner", "function", "top.inner", 9, 10}},
      {{"./b.go", "M", "func", "main.T", "struct", 5, 5}, "go", {"M", "method", "main.T.M", 5, 5}},
      {{"./b.go", "F", "func", "main", "package", 6, 6}, "go", {"F", "function", "main.F", 6, 6}},
      {{"./c.cc", "g", "function", "ns::C", "class", 8, 8},
       "cpp",
       {"g", "method", "ns::C::g", 8, 8}},
      {{"./c.cc", "myint", "typedef", "ns", "namespace", 9, 9},
       "cpp",
       {"myint", "type", "ns::myint", 9, 9}},
      {{"./c.cc", "field", "member", "ns::C", "class", 6, 6},
       "cpp",
       {"field", "member", "ns::C::field", 6, 6}},
      {{"./d.rs", "Tr", "interface", "", "", 1, 3}, "rust", {"Tr", "trait", "Tr", 1, 3}},
      {{"./e.ts", "Alias", "alias", "", "", 2, 1}, "typescript", {"Alias", "type", "Alias", 2, 2}},
      {{"./f.rb", "make", "singletonMethod", "Foo", "class", 2, 4},
       "ruby",
       {"make", "method", "Foo.make", 2, 4}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.tag.path + " " + c.tag.name);
    EXPECT_EQ(to_symbol(c.tag, c.language), c.symbol);
  }
}

}  // namespace
}  // namespace lomarind::repository_changes
