// The two index queries against an index of 5,000 files with 100 symbols
// each: symbols on 1,000 changed ranges, and the facts of 10,000 paths.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/index_writer.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/workers/retrieval.h"

namespace {

using lomarind::repository_changes::IndexDb;
using lomarind::repository_changes::IndexedFile;
using lomarind::repository_changes::IndexedSymbol;
using lomarind::repository_changes::IndexWriter;
using lomarind::repository_changes::LineRange;
using lomarind::repository_changes::SqliteIndex;

constexpr int kFiles = 5000;
constexpr int kSymbolsPerFile = 100;
constexpr std::array<std::string_view, 4> kKinds = {"function", "method", "class", "variable"};

std::string file_path(int i) {
  return "src/pkg" + std::to_string(i / 100) + "/module_" + std::to_string(i) + ".py";
}

// Symbol k of a file spans lines 10k+1..10k+9; every tenth is a class
// that spans the next hundred lines as well.
IndexedFile make_file(int i) {
  IndexedFile file{file_path(i), "python", "src", {}};
  for (int k = 0; k < kSymbolsPerFile; ++k) {
    const std::string_view kind = kKinds[k % kKinds.size()];
    const std::int64_t start = 10 * k + 1;
    const std::int64_t end = k % 10 == 0 ? start + 100 : start + 8;
    const std::string name = "sym" + std::to_string(k);
    file.symbols.push_back(
        {name, std::string(kind), "Module" + std::to_string(i) + "." + name, start, end});
  }
  return file;
}

void build_index(const std::filesystem::path& path) {
  IndexWriter writer(path);
  for (int i = 0; i < kFiles; ++i) writer.put_file(make_file(i));
  writer.commit();
}

// 1,000 ranges of five lines, `per_file` in each file, files spread over
// the index.
std::vector<LineRange> changed_ranges(int per_file) {
  std::vector<LineRange> ranges;
  for (int n = 0; n < 1000 / per_file; ++n) {
    const std::string path = file_path(n * 7 % kFiles);
    for (int k = 0; k < per_file; ++k) {
      const std::int64_t line = 1 + (n * 37 + k * 50) % 990;
      ranges.push_back({path, line, line + 4});
    }
  }
  return ranges;
}

// Half of them known to the index.
std::vector<std::string> asked_paths() {
  std::vector<std::string> paths;
  for (int i = 0; i < 10000; ++i) {
    paths.push_back(i % 2 == 0 ? file_path(i / 2) : "deleted/file_" + std::to_string(i) + ".py");
  }
  return paths;
}

void symbols_on_lines(benchmark::State& state, const IndexDb& db, int per_file) {
  const SqliteIndex index;
  const std::vector<LineRange> ranges = changed_ranges(per_file);
  std::size_t found = 0;
  for (auto _ : state) {
    found = index.symbols_on_lines(db, ranges, lomarind::retrieval::RETRIEVABLE_KINDS, 10).size();
    benchmark::DoNotOptimize(found);
  }
  state.counters["symbols"] = static_cast<double>(found);
}

void indexed_paths(benchmark::State& state, const IndexDb& db) {
  const SqliteIndex index;
  const std::vector<std::string> paths = asked_paths();
  std::size_t found = 0;
  for (auto _ : state) {
    found = index.indexed_paths(db, paths).size();
    benchmark::DoNotOptimize(found);
  }
  state.counters["known"] = static_cast<double>(found);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::string dir = (std::filesystem::temp_directory_path() / "lomarind-bench-XXXXXX").string();
  if (::mkdtemp(dir.data()) == nullptr) return 1;
  const std::filesystem::path path = std::filesystem::path(dir) / "index.db";
  build_index(path);
  {
    const IndexDb db = IndexDb::open_for_queries(path);
    for (const int per_file : {1, 2, 10}) {
      benchmark::RegisterBenchmark(
          ("symbols_on_lines/1000_ranges/" + std::to_string(per_file) + "_per_file").c_str(),
          symbols_on_lines, std::cref(db), per_file)
          ->Unit(benchmark::kMillisecond);
    }
    benchmark::RegisterBenchmark("indexed_paths/10000_paths/5000_files", indexed_paths,
                                 std::cref(db))
        ->Unit(benchmark::kMillisecond);
    benchmark::RunSpecifiedBenchmarks();
  }
  benchmark::Shutdown();
  std::filesystem::remove_all(dir);
  return 0;
}
