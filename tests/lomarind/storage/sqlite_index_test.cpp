#include "lomarind/storage/sqlite_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/index_writer.h"
#include "lomarind/workers/retrieval.h"
#include "support/temp_git_repo.h"

namespace lomarind::repository_changes {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr std::span<const std::string_view> kKinds = retrieval::RETRIEVABLE_KINDS;

class SqliteIndexTest : public ::testing::Test {
 protected:
  std::filesystem::path index_path() const { return dir_.path() / "index.db"; }

  void write(const std::vector<IndexedFile>& files) const {
    IndexWriter writer(index_path());
    for (const IndexedFile& file : files) writer.put_file(file);
    writer.commit();
  }

  std::vector<SymbolOnLines> symbols(const std::vector<LineRange>& ranges,
                                     int per_file = 10) const {
    return index_.symbols_on_lines(IndexDb::open_for_queries(index_path()), ranges, kKinds,
                                   per_file);
  }

  static std::vector<std::string> names(const std::vector<SymbolOnLines>& found) {
    std::vector<std::string> out;
    for (const SymbolOnLines& s : found) out.push_back(s.path + ":" + s.name);
    return out;
  }

  lomarind::testing::TempDir dir_;
  SqliteIndex index_;
};

IndexedFile file(std::string path, std::vector<IndexedSymbol> symbols = {},
                 std::optional<std::string> language = "python",
                 std::optional<std::string> component = std::nullopt) {
  return {std::move(path), std::move(language), std::move(component), std::move(symbols)};
}

IndexedSymbol function(std::string name, std::int64_t start, std::int64_t end) {
  return {name, "function", "m." + name, start, end};
}

TEST_F(SqliteIndexTest, SymbolsOverlapRangesInclusively) {
  write({file("a.py", {function("f", 10, 20), {"v", "variable", "v", 12, 12}})});
  struct Case {
    std::int64_t start, end;
    bool hit;
  };
  for (const Case c : {Case{20, 25, true},
                       {5, 10, true},
                       {12, 12, true},
                       {21, 30, false},
                       {1, 9, false},
                       {1, 2000000000, true}}) {
    SCOPED_TRACE(std::to_string(c.start) + "-" + std::to_string(c.end));
    EXPECT_EQ(names(symbols({{"a.py", c.start, c.end}})),
              c.hit ? std::vector<std::string>{"a.py:f"} : std::vector<std::string>{});
  }
}

TEST_F(SqliteIndexTest, SymbolOverTwoRangesIsListedOnce) {
  write({file("a.py", {function("big", 1, 100), function("small", 50, 52)})});
  EXPECT_THAT(symbols({{"a.py", 10, 10}, {"a.py", 51, 60}}),
              ElementsAre(SymbolOnLines{"a.py", "big", "function", "m.big", 1, 100},
                          SymbolOnLines{"a.py", "small", "function", "m.small", 50, 52}));
}

TEST_F(SqliteIndexTest, OrdersWithinAPathAndCapsEachPath) {
  std::vector<IndexedSymbol> many;
  for (int i = 0; i < 12; ++i) many.push_back(function("f" + std::to_string(i), 100 - i, 200));
  many.push_back({"Z", "class", "Z", 1, 300});
  many.push_back({"A", "class", "A", 1, 300});
  many.push_back({"A", "method", "A", 1, 300});
  many.push_back({"A", "class", "B.A", 1, 300});
  many.push_back({"inner", "method", "Z.inner", 1, 5});
  write({file("a.py", many), file("b.py", many)});
  const std::vector<SymbolOnLines> found = symbols({{"a.py", 1, 1000}, {"b.py", 1, 1000}});
  ASSERT_EQ(found.size(), 20u);
  EXPECT_EQ(found[0].fqn, "A");
  EXPECT_EQ(found[1].fqn, "B.A");
  EXPECT_EQ(found[2].kind, "method");
  EXPECT_EQ(found[3].name, "Z");
  EXPECT_EQ(found[4].name, "inner");
  EXPECT_EQ(found[5].name, "f11");
  EXPECT_EQ(found[9].name, "f7");
  EXPECT_EQ(found[10].path, "b.py");
  EXPECT_EQ(found[10].fqn, "A");
  EXPECT_THAT(symbols({{"a.py", 1, 1000}}, 2), ElementsAre(found[0], found[1]));
}

TEST_F(SqliteIndexTest, PathsComeInTheOrderOfTheirFirstRange) {
  write({file("a.py", {function("a", 1, 5)}),
         file("b.py", {function("b1", 1, 5), function("b2", 8, 9)}),
         file("c.py", {{"x", "variable", "x", 1, 9}})});
  EXPECT_THAT(
      names(symbols(
          {{"b.py", 8, 8}, {"gone.py", 1, 9}, {"c.py", 1, 9}, {"a.py", 1, 1}, {"b.py", 1, 1}})),
      ElementsAre("b.py:b1", "b.py:b2", "a.py:a"));
}

TEST_F(SqliteIndexTest, IndexedPathsHoldsOnlyKnownPaths) {
  const std::string odd = "caf\xe9/\xff \"q\"\\\t.py";
  write({file("src/a.py", {}, "python", "src"), file("README", {}, std::nullopt),
         file(odd, {}, "python", "caf\xe9")});
  const IndexedPaths found = index_.indexed_paths(IndexDb::open_for_queries(index_path()),
                                                  {"src/a.py", "gone.py", "README", odd, "src"});
  EXPECT_THAT(found,
              UnorderedElementsAre(std::pair{std::string("src/a.py"), IndexedPath{"python", "src"}},
                                   std::pair{std::string("README"), IndexedPath{}},
                                   std::pair{odd, IndexedPath{"python", "caf\xe9"}}));
  EXPECT_THAT(names(symbols({{odd, 1, 1}})), IsEmpty());
}

TEST_F(SqliteIndexTest, EmptyInputsAndMissingFileAnswerNothing) {
  const IndexDb missing = IndexDb::open_for_queries(index_path());
  EXPECT_TRUE(missing.empty());
  EXPECT_THAT(index_.indexed_paths(missing, {"a.py"}), IsEmpty());
  EXPECT_THAT(index_.symbols_on_lines(missing, {{"a.py", 1, 2}}, kKinds, 10), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(index_path()));

  write({file("a.py", {function("f", 1, 5)})});
  const IndexDb db = IndexDb::open_for_queries(index_path());
  EXPECT_FALSE(db.empty());
  EXPECT_THAT(index_.indexed_paths(db, {}), IsEmpty());
  EXPECT_THAT(index_.symbols_on_lines(db, {}, kKinds, 10), IsEmpty());
  EXPECT_THAT(index_.symbols_on_lines(db, {{"a.py", 1, 2}}, {}, 10), IsEmpty());
  EXPECT_THAT(index_.symbols_on_lines(db, {{"a.py", 1, 2}}, kKinds, 0), IsEmpty());
}

TEST_F(SqliteIndexTest, QueriesSeeTheLastCommitWhileAWriterWorks) {
  write({file("a.py")});
  const IndexDb db = IndexDb::open_for_queries(index_path());
  IndexWriter writer(index_path());
  writer.put_file(file("a.py", {}, "text"));
  writer.put_file(file("b.py"));
  EXPECT_THAT(index_.indexed_paths(db, {"a.py", "b.py"}),
              ElementsAre(std::pair{std::string("a.py"), IndexedPath{"python", std::nullopt}}));
  try {
    IndexWriter second(index_path(), 50);
    ADD_FAILURE() << "two writers at once";
  } catch (const IndexError& e) {
    EXPECT_THAT(e.what(), ::testing::HasSubstr("the index is busy"));
  }
  writer.commit();
  EXPECT_EQ(index_.indexed_paths(db, {"a.py", "b.py"}).size(), 2u);
}

}  // namespace
}  // namespace lomarind::repository_changes
