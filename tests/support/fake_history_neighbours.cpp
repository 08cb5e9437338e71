#include "support/fake_history_neighbours.h"

#include <cstdlib>
#include <fstream>
#include <utility>

namespace lomarind::testing {
namespace {

// "a, b" of the items as `show` writes each.
template <typename Items, typename Show>
std::string listed(const Items& items, Show show) {
  std::string out;
  for (const auto& item : items) out += (out.empty() ? "" : ", ") + show(item);
  return out;
}

}  // namespace

repository_changes::IndexedPaths FakeChangeIndex::indexed_paths(
    const repository_changes::IndexDb&, const std::vector<std::string>& paths) const {
  calls.push_back("indexed_paths([" + listed(paths, [](const std::string& p) { return p; }) + "])");
  repository_changes::IndexedPaths known;
  for (const std::string& path : paths) {
    if (const auto found = facts.find(path); found != facts.end()) known.insert(*found);
  }
  return known;
}

std::vector<repository_changes::SymbolOnLines> FakeChangeIndex::symbols_on_lines(
    const repository_changes::IndexDb&, const std::vector<repository_changes::LineRange>& ranges,
    std::span<const std::string_view> asked_kinds, int per_file) const {
  calls.push_back("symbols_on_lines([" +
                  listed(ranges,
                         [](const repository_changes::LineRange& r) {
                           return r.path + ":" + std::to_string(r.start_line) + "-" +
                                  std::to_string(r.end_line);
                         }) +
                  "], per_file=" + std::to_string(per_file) + ")");
  kinds.assign(asked_kinds.begin(), asked_kinds.end());
  return symbols;
}

bool FakeSourceFilters::in_source_languages(std::string_view language) const {
  calls.push_back("in_source_languages(" + std::string(language) + ")");
  return source_languages.contains(language);
}

bool FakeSourceFilters::is_source_extension(std::string_view path) const {
  calls.push_back("is_source_extension(" + std::string(path) + ")");
  return path.ends_with(".py") || path.ends_with(".cpp");
}

bool FakeSourceFilters::is_test_path(std::string_view path) const {
  calls.push_back("is_test_path(" + std::string(path) + ")");
  return path.starts_with("tests/") || path.find("/tests/") != std::string_view::npos ||
         path.substr(path.rfind('/') + 1).starts_with("test_");  // npos + 1 is 0
}

bool FakeSourceFilters::should_skip_path(std::string_view directory) const {
  calls.push_back("should_skip_path(" + std::string(directory) + ")");
  return skipped_directories.contains(directory);
}

std::string joined(const std::vector<std::string>& calls) {
  std::string out;
  for (const std::string& call : calls) out += (out.empty() ? "" : " ") + call;
  return out;
}

void expect_golden(const std::string& name, const Json& answer) {
  const std::string path = std::string(LOMARIND_TEST_DATA) + "/git_history/" + name + ".json";
  const std::string actual = answer.dump(2) + "\n";
  const char* update = std::getenv("LOMARIND_UPDATE_GOLDEN");
  if (update != nullptr && std::string_view(update) == "1") {
    std::ofstream(path) << actual;
    return;
  }
  EXPECT_EQ(actual, read_file(path)) << "golden " << path;
}

}  // namespace lomarind::testing
