#include "lomarind/storage/sqlite_index.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>

#include <cstdio>
#include <mutex>

#include "lomarind/storage/index_file.h"

namespace lomarind::repository_changes {
namespace {

// Inputs reach SQL as one JSON array parameter read by json_each(), so a
// query is one statement whatever the number of inputs. Bytes from 0x80 up
// are copied as they are: SQLite's JSON reader passes them through, which
// keeps paths that are not UTF-8 intact.
void append_json_string(std::string& out, std::string_view text) {
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20) {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
      out += escaped;
    } else {
      out += c;
    }
  }
  out += '"';
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

// `first` orders paths by their first range; DISTINCT lists a symbol once
// however many ranges of its path it overlaps.
constexpr char kSymbolsOnLinesSql[] = R"sql(
WITH ranges AS (
  SELECT j.key AS seq, j.value ->> 0 AS path, j.value ->> 1 AS lo, j.value ->> 2 AS hi
  FROM json_each(?1) AS j),
first AS (SELECT path, MIN(seq) AS seq FROM ranges GROUP BY path),
hits AS (
  SELECT DISTINCT s.path, s.name, s.kind, s.fqn, s.start_line, s.end_line
  FROM ranges AS r JOIN symbols AS s
    ON s.path = r.path AND s.start_line <= r.hi AND s.end_line >= r.lo
  WHERE s.kind IN (SELECT value FROM json_each(?2))),
ranked AS (
  SELECT h.*, f.seq, ROW_NUMBER() OVER (
    PARTITION BY h.path ORDER BY h.start_line, h.end_line DESC, h.name, h.kind, h.fqn) AS n
  FROM hits AS h JOIN first AS f ON f.path = h.path)
SELECT path, name, kind, fqn, start_line, end_line FROM ranked WHERE n <= ?3
ORDER BY seq, start_line, end_line DESC, name, kind, fqn
)sql";

std::optional<std::string> optional_text(const SQLite::Column& column) {
  if (column.isNull()) return std::nullopt;
  return column.getString();
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
  const std::string range_input = json_array(ranges, [](std::string& out, const LineRange& r) {
    out += '[';
    append_json_string(out, r.path);
    out += ',' + std::to_string(r.start_line) + ',' + std::to_string(r.end_line) + ']';
  });
  const std::string kind_input = json_array(kinds, append_json_string);
  const std::lock_guard lock(impl.mutex);
  try {
    SQLite::Statement query(impl.db, kSymbolsOnLinesSql);
    query.bind(1, range_input);
    query.bind(2, kind_input);
    query.bind(3, per_file);
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
