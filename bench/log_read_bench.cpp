// Reading one period's log: parsing the text of `git log -z --raw --numstat`
// into commits and folding them into per-file histories, measured in bytes
// of log per second on one core. The log must cost far less to read than
// git takes to write it (at least 200 MB/s).
//
// Usage: log_read_bench [benchmark flags] [LOG_FILE]
// Without LOG_FILE a synthetic 5,000-commit log is read; with it, also the
// saved output of a real `git log` in the reader's format.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lomarind/git/git_parse.h"
#include "lomarind/git/log_parser.h"
#include "lomarind/workers/git_history/period.h"

namespace {

using lomarind::git_utils::CommitChanges;
using lomarind::git_utils::LogParser;
using lomarind::git_utils::parse_log;

constexpr int kCommits = 5000;
constexpr int kDistinctFiles = 5000;

std::string hex_id(unsigned long long seed, int digits) {
  std::string id;
  for (int i = 0; i < digits; ++i) {
    seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
    id += "0123456789abcdef"[(seed >> 60) & 0xf];
  }
  return id;
}

std::string file_path(int n) {
  return "src/components/module_" + std::to_string(n % 61) + "/source_file_" + std::to_string(n) +
         ".cpp";
}

void append_record(std::string& log, const std::string& text) {
  log += text;
  log += '\0';
}

// One commit as git prints it: header, raw entries, then numstat entries
// in the same order. Commit c touches 1 + c % 9 files; every 40th change is
// a rename to a fresh path, every 97th an addition.
void append_commit(std::string& log, int c, int& renamed) {
  log += '\0';
  append_record(log, hex_id(c, 40) + " " + std::to_string(1700000000 - c * 600));
  log += '\n';
  struct Entry {
    std::string path, old_path;
  };
  std::vector<Entry> entries;
  const int files = 1 + c % 9;
  for (int f = 0; f < files; ++f) {
    const int k = c * 9 + f;
    const std::string path = file_path((c * 7919 + f * 104729) % kDistinctFiles);
    const std::string ids = hex_id(k, 9) + " " + hex_id(k + 1, 9);
    if (k % 40 == 0) {
      std::string to = "src/moved/renamed_" + std::to_string(renamed++) + ".cpp";
      append_record(log, ":100644 100644 " + ids + " R087");
      append_record(log, path);
      append_record(log, to);
      entries.push_back({to, path});
    } else {
      append_record(log, std::string(k % 97 == 0 ? ":000000 100644 " : ":100644 100644 ") + ids +
                             (k % 97 == 0 ? " A" : " M"));
      append_record(log, path);
      entries.push_back({path, ""});
    }
  }
  for (std::size_t f = 0; f < entries.size(); ++f) {
    const std::string counts = std::to_string(f * 3 % 40) + "\t" + std::to_string(f % 7) + "\t";
    if (entries[f].old_path.empty()) {
      append_record(log, counts + entries[f].path);
    } else {
      append_record(log, counts);
      append_record(log, entries[f].old_path);
      append_record(log, entries[f].path);
    }
  }
}

std::string synthetic_log() {
  std::string log;
  int renamed = 0;
  for (int c = 0; c < kCommits; ++c) append_commit(log, c, renamed);
  return log;
}

void BM_ParseLog(benchmark::State& state, const std::string& log) {
  for (auto _ : state) benchmark::DoNotOptimize(parse_log(log));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * log.size()));
}

// As the reader does it: the log arrives in pieces of a page, as git writes
// them to a pipe, and each commit is parsed once complete.
void BM_ParseAndFoldLog(benchmark::State& state, const std::string& log) {
  constexpr std::size_t kPiece = 4096;
  for (auto _ : state) {
    LogParser parser;
    for (std::size_t at = 0; at < log.size(); at += kPiece) {
      parser.feed(std::string_view(log).substr(at, kPiece));
    }
    const std::vector<CommitChanges> commits = std::move(parser).finish();
    benchmark::DoNotOptimize(lomarind::git_history::detail::histories(commits));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * log.size()));
}

void register_log(const std::string& name, const std::string& log) {
  benchmark::RegisterBenchmark(("BM_ParseLog/" + name).c_str(), BM_ParseLog, log)
      ->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark(("BM_ParseAndFoldLog/" + name).c_str(), BM_ParseAndFoldLog, log)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  register_log("synthetic", synthetic_log());
  if (argc > 1) {
    std::ifstream file(argv[1], std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "log_read_bench: cannot read %s; pass a saved git log\n", argv[1]);
      return 2;
    }
    register_log("file", std::string(std::istreambuf_iterator<char>(file), {}));
  }
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
