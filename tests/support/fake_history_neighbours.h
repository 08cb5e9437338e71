// Recording stand-ins for the history module's index and source filters
// (the git reader has its own file), and a test fixture that wires them,
// with the real pagination hint, into a GitHistory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "lomarind/production/production_history.h"
#include "lomarind/storage/sqlite_index.h"
#include "lomarind/utils/json.h"
#include "lomarind/utils/logging.h"
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
      const repository_changes::IndexDb&, const std::vector<std::string>& paths) const override {
    calls.push_back("indexed_paths([" + joined(paths, ", ") + "])");
    repository_changes::IndexedPaths known;
    for (const std::string& path : paths) {
      if (const auto found = facts.find(path); found != facts.end()) known.insert(*found);
    }
    return known;
  }
  std::vector<repository_changes::SymbolOnLines> symbols_on_lines(
      const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
      std::span<const std::string_view> asked_kinds, int per_file) const override {
    std::vector<std::string> listed;
    for (const repository_changes::LineRange& r : ranges) {
      listed.push_back(r.path + ":" + std::to_string(r.start_line) + "-" +
                       std::to_string(r.end_line));
    }
    calls.push_back("symbols_on_lines([" + joined(listed, ", ") +
                    "], per_file=" + std::to_string(per_file) + ")");
    kinds.assign(asked_kinds.begin(), asked_kinds.end());
    return symbols;
  }
};

// Small fixed rules: a test lives under tests/ or is named test_*; source
// extensions are .py and .cpp; only the listed directories are skipped.
struct FakeSourceFilters : git_history::SourceFilters {
  std::set<std::string, std::less<>> source_languages = {"python", "cpp"};
  std::set<std::string, std::less<>> skipped_directories = {"build", "vendor/lib"};

  // "is_test_path(a.py)", "should_skip_path(.)", ...
  std::vector<std::string> calls;

  FakeSourceFilters() {
    in_source_languages = recorded("in_source_languages", [this](std::string_view language) {
      return source_languages.contains(language);
    });
    is_source_extension = recorded("is_source_extension", [](std::string_view path) {
      return path.ends_with(".py") || path.ends_with(".cpp");
    });
    is_test_path = recorded("is_test_path", [](std::string_view path) {
      return path.starts_with("tests/") || path.find("/tests/") != std::string_view::npos ||
             path.substr(path.rfind('/') + 1).starts_with("test_");  // npos + 1 is 0
    });
    should_skip_path = recorded("should_skip_path", [this](std::string_view directory) {
      return skipped_directories.contains(directory);
    });
  }
  FakeSourceFilters(const FakeSourceFilters&) = delete;  // the tests refer to this one
  FakeSourceFilters& operator=(const FakeSourceFilters&) = delete;

 private:
  template <typename Rule>
  Test recorded(const char* name, Rule rule) {
    return [this, name, rule](std::string_view text) {
      calls.push_back(std::string(name) + "(" + std::string(text) + ")");
      return rule(text);
    };
  }
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

// Compares `answer`, as dump(2), with tests/data/git_history/<name>.json.
// With LOMARIND_UPDATE_GOLDEN=1 in the environment it rewrites the file.
inline void expect_golden(const std::string& name, const Json& answer) {
  const std::string path = std::string(LOMARIND_TEST_DATA) + "/git_history/" + name + ".json";
  const std::string actual = answer.dump(2) + "\n";
  const char* update = std::getenv("LOMARIND_UPDATE_GOLDEN");
  if (update != nullptr && std::string_view(update) == "1") {
    std::ofstream(path) << actual;
    return;
  }
  EXPECT_EQ(actual, read_file(path)) << "golden " << path;
}

class GitHistoryTest : public ::testing::Test {
 protected:
  const std::filesystem::path root_ = "/repo";
  FakeGitReader git_;
  FakeChangeIndex index_;
  FakeSourceFilters filters_;
  RecordingLogSink sink_;
  Logger logger_{std::string(git_history::kLoggerName), sink_};
  git_history::TimeSpecParser parse_time_spec_ = [this](const std::string& since) {
    return git_.parse_time_spec(since);
  };
  git_history::GitHistory history_{
      git_history::Neighbours{git_, index_, filters_, logger_, parse_time_spec_}};
  repository_changes::IndexDb db_;
  repository_changes::Repository repository_{db_};
};

}  // namespace lomarind::testing
