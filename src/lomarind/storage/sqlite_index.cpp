#include "lomarind/storage/sqlite_index.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>

#include <algorithm>
#include <mutex>
#include <unordered_map>

#include "lomarind/storage/index_file.h"
#include "lomarind/utils/json_text.h"

namespace lomarind::repository_changes {
namespace {

// Inputs reach SQL as one JSON array parameter read by json_each(), so a
// query is one statement whatever the number of inputs. Bytes from 0x80 up
// are copied as they are: SQLite's JSON reader passes them through, which
// keeps paths that are not UTF-8 intact.
void append_json_string(std::string& out, std::string_view text) {
  json_text::append_string(out, text, json_text::NonUtf8::kKeep);
}

template <typename Range, typename Append>
std::string json_array(const Range& items, Append append) {
  std::string out = "[";
  for (const auto& item : items) {
    if (out.size() > 1) out += ',';
    append(out, item);
  }
  out += ']';
  return out;
}

constexpr char kIndexedPathsSql[] = R"sql(
SELECT f.path, f.language, f.component
FROM json_each(?1) AS j JOIN files AS f ON f.path = j.value
)sql";

// One scan of a path's symbols serves all of its ranges, so a symbol is met
// once per path. ?1 holds [path, first line, last line] of each path's
// ranges, paths in the order of their first range; ?2 [path number, start,
// end] of each range. Both are materialised so that their JSON is read once,
// not once per symbol looked at.
constexpr char kSymbolsOnLinesSql[] = R"sql(
WITH paths AS MATERIALIZED (
  SELECT j.key AS seq, j.value ->> 0 AS path, j.value ->> 1 AS first, j.value ->> 2 AS last
  FROM json_each(?1) AS j),
spans AS MATERIALIZED (
  SELECT j.value ->> 0 AS seq, j.value ->> 1 AS lo, j.value ->> 2 AS hi FROM json_each(?2) AS j),
hits AS (
  SELECT p.seq, s.path, s.name, s.kind, s.fqn, s.start_line, s.end_line
  FROM paths AS p JOIN symbols AS s ON s.path = p.path AND s.start_line <= p.last
  WHERE s.end_line >= p.first AND s.kind IN (SELECT value FROM json_each(?3))
    AND EXISTS (SELECT 1 FROM spans AS r
                WHERE r.seq = p.seq AND r.lo <= s.end_line AND r.hi >= s.start_line)),
ranked AS (
  SELECT *, ROW_NUMBER() OVER (
    PARTITION BY seq ORDER BY start_line, end_line DESC, name, kind, fqn) AS n
  FROM hits)
SELECT path, name, kind, fqn, start_line, end_line FROM ranked WHERE n <= ?4 ORDER BY seq, n
)sql";

struct RangeInput {
  std::string paths;  // ?1
  std::string spans;  // ?2
};

RangeInput range_input(const std::vector<LineRange>& ranges) {
  struct PathLines {
    std::string_view path;
    std::int64_t first = 0;
    std::int64_t last = 0;
  };
  std::unordered_map<std::string_view, std::size_t> seq_of;
  std::vector<PathLines> paths;
  RangeInput input{"[", "["};
  for (const LineRange& range : ranges) {
    const auto [it, added] = seq_of.try_emplace(range.path, paths.size());
    if (added) {
      paths.push_back({range.path, range.start_line, range.end_line});
    } else {
      PathLines& lines = paths[it->second];
      lines.first = std::min(lines.first, range.start_line);
      lines.last = std::max(lines.last, range.end_line);
    }
    if (input.spans.size() > 1) input.spans += ',';
    input.spans += '[' + std::to_string(it->second) + ',' + std::to_string(range.start_line) + ',' +
                   std::to_string(range.end_line) + ']';
  }
  for (const PathLines& lines : paths) {
    if (input.paths.size() > 1) input.paths += ',';
    input.paths += '[';
    append_json_string(input.paths, lines.path);
    input.paths += ',' + std::to_string(lines.first) + ',' + std::to_string(lines.last) + ']';
  }
  input.paths += ']';
  input.spans += ']';
  return input;
}

}  // namespace

IndexDb::IndexDb() = default;
IndexDb::~IndexDb() = default;
IndexDb::IndexDb(IndexDb&&) noexcept = default;
IndexDb& IndexDb::operator=(IndexDb&&) noexcept = default;

IndexDb IndexDb::open_for_queries(const std::filesystem::path& path) {
  IndexDb db;
  db.impl_ = open_index_for_queries(path);
  return db;
}

bool IndexDb::empty() const { return impl_ == nullptr; }

std::optional<std::string> IndexDb::indexed_commit() const {
  if (empty()) return std::nullopt;
  const std::lock_guard lock(impl_->mutex);
  try {
    return meta_value(impl_->db, kIndexedCommitKey);
  } catch (const SQLite::Exception&) {
    throw_index_error(impl_->path, "query");
  }
  return std::nullopt;
}

IndexedPaths SqliteIndex::indexed_paths(const IndexDb& db,
                                        const std::vector<std::string>& paths) const {
  IndexedPaths found;
  if (db.empty() || paths.empty()) return found;
  const IndexDb::Impl& impl = *db.impl();
  const std::string input = json_array(paths, append_json_string);
  const std::lock_guard lock(impl.mutex);
  try {
    SQLite::Statement query(impl.db, kIndexedPathsSql);
    query.bind(1, input);
    while (query.executeStep()) {
      found.insert_or_assign(query.getColumn(0).getString(),
                             IndexedPath{.language = optional_text(query.getColumn(1)),
                                         .component = optional_text(query.getColumn(2))});
    }
  } catch (const SQLite::Exception&) {
    throw_index_error(impl.path, "query");
  }
  return found;
}

std::vector<SymbolOnLines> SqliteIndex::symbols_on_lines(const IndexDb& db,
                                                         const std::vector<LineRange>& ranges,
                                                         std::span<const std::string_view> kinds,
                                                         int per_file) const {
  std::vector<SymbolOnLines> symbols;
  if (db.empty() || ranges.empty() || kinds.empty() || per_file <= 0) return symbols;
  const IndexDb::Impl& impl = *db.impl();
  const RangeInput input = range_input(ranges);
  const std::string kind_input = json_array(kinds, append_json_string);
  const std::lock_guard lock(impl.mutex);
  try {
    SQLite::Statement query(impl.db, kSymbolsOnLinesSql);
    query.bind(1, input.paths);
    query.bind(2, input.spans);
    query.bind(3, kind_input);
    query.bind(4, per_file);
    while (query.executeStep()) {
      symbols.push_back(SymbolOnLines{.path = query.getColumn(0).getString(),
                                      .name = query.getColumn(1).getString(),
                                      .kind = query.getColumn(2).getString(),
                                      .fqn = query.getColumn(3).getString(),
                                      .start_line = query.getColumn(4).getInt64(),
                                      .end_line = query.getColumn(5).getInt64()});
    }
  } catch (const SQLite::Exception&) {
    throw_index_error(impl.path, "query");
  }
  return symbols;
}

}  // namespace lomarind::repository_changes
