#include "lomarind/storage/sqlite_index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

  // "path:name" of each symbol found.
  std::vector<std::string> names(const std::vector<LineRange>& ranges, int per_file = 10) const {
    std::vector<std::string> out;
    for (const SymbolOnLines& s : symbols(ranges, per_file)) out.push_back(s.path + ":" + s.name);
    return out;
  }

  lomarind::testing::TempDir dir_;
  SqliteIndex index_;
};

IndexedFile file(std::string path, std::vector<IndexedSymbol> symbols = {}) {
  return {std::move(path), "python", std::nullopt, std::move(symbols)};
}

IndexedSymbol function(std::string name, std::int64_t start, std::int64_t end) {
  return {name, "function", "m." + name, start, end};
}

TEST_F(SqliteIndexTest, SymbolsOverlapRangesInclusively) {
  write({file("a.py", {function("f", 10, 20)})});
  for (const auto& [start, end, hit] : {std::tuple{20, 25, true},
                                        {5, 10, true},
                                        {1, 2000000000, true},
                                        {21, 30, false},
                                        {1, 9, false}}) {
    SCOPED_TRACE(std::to_string(start) + "-" + std::to_string(end));
    EXPECT_EQ(!symbols({{"a.py", start, end}}).empty(), hit);
  }
}

TEST_F(SqliteIndexTest, SymbolOverTwoRangesIsListedOnce) {
  write({file("a.py", {function("big", 1, 100), function("small", 50, 52)})});
  EXPECT_THAT(symbols({{"a.py", 10, 10}, {"a.py", 51, 60}}),
              ElementsAre(SymbolOnLines{"a.py", "big", "function", "m.big", 1, 100},
                          SymbolOnLines{"a.py", "small", "function", "m.small", 50, 52}));
}

TEST_F(SqliteIndexTest, OrdersWithinAPathAndCapsEachPath) {
  const std::vector<IndexedSymbol> all = {
      function("f", 2, 9),       {"inner", "method", "Z.inner", 1, 5}, {"A", "method", "A", 1, 9},
      {"Z", "class", "Z", 1, 9}, {"A", "class", "B.A", 1, 9},          {"A", "class", "A", 1, 9}};
  write({file("a.py", all), file("b.py", all)});
  std::vector<std::string> order;
  for (const SymbolOnLines& s : symbols({{"a.py", 1, 9}})) order.push_back(s.kind + " " + s.fqn);
  EXPECT_THAT(order, ElementsAre("class A", "class B.A", "method A", "class Z", "method Z.inner",
                                 "function m.f"));
  EXPECT_THAT(names({{"a.py", 1, 9}, {"b.py", 1, 9}}, 2),
              ElementsAre("a.py:A", "a.py:A", "b.py:A", "b.py:A"));
}

TEST_F(SqliteIndexTest, PathsComeInTheOrderOfTheirFirstRange) {
  write({file("a.py", {function("a", 1, 5)}),
         file("b.py", {function("b1", 1, 5), function("b2", 8, 9)}),
         file("c.py", {{"x", "variable", "x", 1, 9}})});
  EXPECT_THAT(
      names({{"b.py", 8, 8}, {"gone.py", 1, 9}, {"c.py", 1, 9}, {"a.py", 1, 1}, {"b.py", 1, 1}}),
      ElementsAre("b.py:b1", "b.py:b2", "a.py:a"));
}

TEST_F(SqliteIndexTest, IndexedPathsHoldsOnlyKnownPaths) {
  const std::string odd = "caf\xe9/\xff \"q\"\\\t.py";
  write({{"src/a.py", "python", "src", {}},
         {"README", std::nullopt, std::nullopt, {}},
         {odd, "python", "caf\xe9", {function("f", 1, 2)}}});
  const IndexedPaths found = index_.indexed_paths(IndexDb::open_for_queries(index_path()),
                                                  {"src/a.py", "gone.py", "README", odd, "src"});
  EXPECT_THAT(found,
              UnorderedElementsAre(std::pair{std::string("src/a.py"), IndexedPath{"python", "src"}},
                                   std::pair{std::string("README"), IndexedPath{}},
                                   std::pair{odd, IndexedPath{"python", "caf\xe9"}}));
  EXPECT_THAT(names({{odd, 1, 1}}), ElementsAre(odd + ":f"));
}

TEST_F(SqliteIndexTest, MissingFileIsAnEmptyIndexAndStaysMissing) {
  const IndexDb missing = IndexDb::open_for_queries(index_path());
  EXPECT_TRUE(missing.empty());
  EXPECT_THAT(index_.indexed_paths(missing, {"a.py"}), IsEmpty());
  EXPECT_THAT(index_.symbols_on_lines(missing, {{"a.py", 1, 2}}, kKinds, 10), IsEmpty());
  EXPECT_FALSE(std::filesystem::exists(index_path()));
}

}  // namespace
}  // namespace lomarind::repository_changes
