// Recording stand-ins for the history module's index and source filters
// (the git reader has its own file), and a test fixture that wires them,
// with the real pagination hint, into a GitHistory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/logging.h"
#include "lomarind/workers/git_history/default_neighbours.h"
#include "lomarind/workers/git_history/git_history.h"
#include "support/fake_git_reader.h"
#include "support/recording_log_sink.h"
#include "support/temp_git_repo.h"

namespace lomarind::testing {

// Canned facts and symbols; records every query.
class FakeChangeIndex final : public repository_changes::ChangeIndex {
 public:
  repository_changes::IndexedPaths facts;                  // indexed_paths returns those asked
  std::vector<repository_changes::SymbolOnLines> symbols;  // returned whatever is asked

  // "indexed_paths([a, b])", "symbols_on_lines([a:1-5], per_file=10)".
  mutable std::vector<std::string> calls;
  mutable std::vector<std::string> kinds;  // of the last symbols_on_lines

  repository_changes::IndexedPaths indexed_paths(
      const repository_changes::IndexDb& db, const std::vector<std::string>& paths) const override;
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb& db,
      const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view> kinds, int per_file) const override;
};

// Small fixed rules: a test lives under tests/ or is named test_*; source
// extensions are .py and .cpp; only the listed directories are skipped.
class FakeSourceFilters final : public git_history::SourceFilters {
 public:
  std::set<std::string, std::less<>> source_languages = {"python", "cpp"};
  std::set<std::string, std::less<>> skipped_directories = {"build", "vendor/lib"};

  // "is_test_path(a.py)", "should_skip_path(.)", ...
  mutable std::vector<std::string> calls;

  bool in_source_languages(std::string_view language) const override;
  bool is_source_extension(std::string_view path) const override;
  bool is_test_path(std::string_view path) const override;
  bool should_skip_path(std::string_view directory) const override;
};

// The GitHistoryError that `block` throws; a test failure if it throws none.
template <typename Block>
git_history::GitHistoryError history_error_of(Block&& block) {
  try {
    block();
  } catch (const git_history::GitHistoryError& error) {
    return error;
  }
  ADD_FAILURE() << "no GitHistoryError was thrown";
  return git_history::GitHistoryError("");
}

// The recorded calls as one string, "a(x) b(y)", for compact expectations.
std::string joined(const std::vector<std::string>& calls);

// Compares `answer`, as dump(2), with tests/data/git_history/<name>.json.
// With LOMARIND_UPDATE_GOLDEN=1 in the environment it rewrites the file.
void expect_golden(const std::string& name, const Json& answer);

class GitHistoryTest : public ::testing::Test {
 protected:
  const std::filesystem::path root_ = "/repo";
  FakeGitReader git_;
  FakeChangeIndex index_;
  FakeSourceFilters filters_;
  git_history::DefaultPaginationHint pagination_;
  RecordingLogSink sink_;
  Logger logger_{std::string(git_history::kLoggerName), sink_};
  git_history::GitHistory history_{
      git_history::Neighbours{git_, index_, filters_, pagination_, logger_}};
  repository_changes::IndexDb db_;
  repository_changes::Repository repository_{db_};
};

}  // namespace lomarind::testing
