#include "support/fake_change_index.h"

#include <stdexcept>

namespace lomarind::testing {

const repository_changes::IndexDb& FakeChangeIndex::handle() const {
  // Only the address is used: it identifies the handle, nothing reads it.
  return *reinterpret_cast<const repository_changes::IndexDb*>(handle_);
}

repository_changes::Repository FakeChangeIndex::repository() const { return {handle()}; }

void FakeChangeIndex::check(const repository_changes::IndexDb& db) const {
  if (&db != &handle()) throw std::logic_error("the index was given another handle");
  if (fail) throw std::runtime_error("index is locked");
}

repository_changes::IndexedPaths FakeChangeIndex::indexed_paths(
    const repository_changes::IndexDb& db, const std::vector<std::string>& paths) const {
  std::string listed;
  for (const std::string& path : paths) listed += (listed.empty() ? "" : ", ") + path;
  calls.push_back("indexed_paths([" + listed + "])");
  check(db);
  repository_changes::IndexedPaths known;
  for (const std::string& path : paths) {
    const auto found = facts.find(path);
    if (found != facts.end()) known.insert(*found);
  }
  return known;
}

std::vector<repository_changes::SymbolOnLines> FakeChangeIndex::symbols_on_lines(
    const repository_changes::IndexDb& db, const std::vector<repository_changes::LineRange>& ranges,
    std::span<const std::string_view> asked_kinds, int per_file) const {
  std::string listed;
  for (const repository_changes::LineRange& range : ranges) {
    listed += (listed.empty() ? "" : ", ") + range.path + ":" + std::to_string(range.start_line) +
              "-" + std::to_string(range.end_line);
  }
  calls.push_back("symbols_on_lines([" + listed + "], per_file=" + std::to_string(per_file) + ")");
  kinds.assign(asked_kinds.begin(), asked_kinds.end());
  check(db);
  return symbols;
}

}  // namespace lomarind::testing
