// What the history workers ask the index about changed files: the records
// of its answers and the two-query ChangeIndex interface. SqliteIndex
// (sqlite_index.h) is the implementation over the index file.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace lomarind::repository_changes {

// What the index holds about one path.
struct IndexedPath {
  std::optional<std::string> language;
  std::optional<std::string> component;

  bool operator==(const IndexedPath&) const = default;
};

// Lines `start_line`..`end_line` (inclusive) of one file.
struct LineRange {
  std::string path;
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;

  bool operator==(const LineRange&) const = default;
};

// One indexed symbol that lies on a looked-up range.
struct SymbolOnLines {
  std::string path;
  std::string name;
  std::string kind;
  std::string fqn;
  std::int64_t start_line = 0;
  std::int64_t end_line = 0;

  bool operator==(const SymbolOnLines&) const = default;
};

using IndexedPaths = std::unordered_map<std::string, IndexedPath>;

// An open index (defined in sqlite_index.h); possibly empty.
class IndexDb;

// The index handle the answers receive; they only pass `db` on.
struct Repository {
  const IndexDb& db;
};

class ChangeIndex {
 public:
  virtual ~ChangeIndex() = default;

  // The known paths among `paths`, with their facts. One query for all.
  virtual IndexedPaths indexed_paths(const IndexDb& db,
                                     const std::vector<std::string>& paths) const = 0;
  // Symbols of `kinds` that overlap `ranges` (inclusive ends), each listed
  // once per path; paths in the order of their first range; within a path
  // by start_line, then end_line descending, then name, kind, fqn; at most
  // `per_file` per path. One query for all ranges.
  virtual std::vector<SymbolOnLines> symbols_on_lines(const IndexDb& db,
                                                      const std::vector<LineRange>& ranges,
                                                      std::span<const std::string_view> kinds,
                                                      int per_file) const = 0;
};

}  // namespace lomarind::repository_changes
