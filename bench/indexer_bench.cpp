// `lomarind index` on a generated repository of 5,000 Python files with
// 100 symbols each: a full build, and an incremental run after a commit
// that changed 10 files.
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "lomarind/process/subprocess.h"
#include "lomarind/storage/indexer.h"

namespace {

using lomarind::indexer::build_index;
using lomarind::indexer::IndexSummary;

constexpr int kFiles = 5000;

std::filesystem::path source_path(const std::filesystem::path& root, int i) {
  return root / ("pkg" + std::to_string(i / 100)) / ("module_" + std::to_string(i) + ".py");
}

// 20 classes of 3 methods each, plus 20 functions: 100 symbols.
void write_source(const std::filesystem::path& root, int i, int revision) {
  std::filesystem::create_directories(source_path(root, i).parent_path());
  std::ofstream out(source_path(root, i));
  for (int c = 0; c < 20; ++c) {
    out << "class Widget" << c << "Rev" << revision << ":\n";
    for (int m = 0; m < 3; ++m) out << "    def method" << m << "(self, x):\n        return x\n";
    out << "\ndef helper" << c << "(value):\n    return value\n\n";
  }
}

void git(const std::filesystem::path& root, const std::vector<std::string>& args) {
  std::vector<std::string> argv = {"git",
                                   "-c",
                                   "user.name=bench",
                                   "-c",
                                   "user.email=bench@example.com",
                                   "-c",
                                   "commit.gpgsign=false"};
  argv.insert(argv.end(), args.begin(), args.end());
  const lomarind::subprocess::Result result =
      lomarind::subprocess::run({.argv = argv,
                                 .environment = lomarind::subprocess::inherited_environment(),
                                 .input = {},
                                 .working_directory = root});
  if (result.exit_status != 0) throw std::runtime_error("git failed: " + result.err);
}

void make_repository(const std::filesystem::path& root) {
  std::filesystem::create_directories(root);
  git(root, {"init", "-q", "-b", "main"});
  for (int i = 0; i < kFiles; ++i) write_source(root, i, 0);
  git(root, {"add", "-A"});
  git(root, {"commit", "-q", "-m", "generated"});
}

IndexSummary index(const std::filesystem::path& root, const std::filesystem::path& index_path,
                   bool full) {
  return build_index({.repo_root = root, .index_path = index_path, .full = full});
}

// CPU seconds used by finished child processes (ctags, git) so far.
double children_cpu() {
  rusage usage{};
  ::getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& t) {
    return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void full_build(benchmark::State& state, const std::filesystem::path& root) {
  const std::filesystem::path index_path = root.parent_path() / "full.db";
  std::size_t symbols = 0;
  const double children_before = children_cpu();
  for (auto _ : state) {
    state.PauseTiming();
    std::filesystem::remove(index_path);
    state.ResumeTiming();
    symbols = index(root, index_path, true).symbols;
  }
  state.counters["files/s"] =
      benchmark::Counter(static_cast<double>(kFiles) * static_cast<double>(state.iterations()),
                         benchmark::Counter::kIsRate);
  state.counters["symbols"] = static_cast<double>(symbols);
  // Wall time depends on what else the machine runs; CPU time does not.
  state.counters["ctags_cpu_s"] =
      (children_cpu() - children_before) / static_cast<double>(state.iterations());
}

void incremental_run(benchmark::State& state, const std::filesystem::path& root) {
  const std::filesystem::path index_path = root.parent_path() / "incremental.db";
  index(root, index_path, true);
  int revision = 0;
  std::size_t read = 0;
  for (auto _ : state) {
    state.PauseTiming();
    ++revision;
    for (int i = 0; i < 10; ++i) write_source(root, i * 397 % kFiles, revision);
    git(root, {"commit", "-q", "-a", "-m", "change ten files"});
    state.ResumeTiming();
    read = index(root, index_path, false).files_read;
  }
  state.counters["files_read"] = static_cast<double>(read);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::string dir = (std::filesystem::temp_directory_path() / "lomarind-bench-XXXXXX").string();
  if (::mkdtemp(dir.data()) == nullptr) return 1;
  const std::filesystem::path root = std::filesystem::path(dir) / "repo";
  make_repository(root);
  benchmark::RegisterBenchmark("index_full/5000_files", full_build, root)
      ->Unit(benchmark::kMillisecond)
      ->MeasureProcessCPUTime()
      ->UseRealTime()
      ->Iterations(3);
  benchmark::RegisterBenchmark("index_incremental/10_changed_files", incremental_run, root)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime()
      ->Iterations(5);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(dir);
  return 0;
}
