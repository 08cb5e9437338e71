#include "lomarind/storage/index_file.h"

#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <fmt/format.h>
#include <sqlite3.h>

#include <exception>
#include <string>
#include <system_error>

#include "lomarind/storage/sqlite_schema.h"

namespace lomarind::repository_changes {
namespace {

constexpr char kSchemaTables[] = R"sql(
CREATE TABLE files   (path TEXT PRIMARY KEY, language TEXT, component TEXT);
CREATE TABLE symbols (path TEXT NOT NULL, name TEXT NOT NULL, kind TEXT NOT NULL,
                      fqn TEXT NOT NULL, start_line INTEGER NOT NULL, end_line INTEGER NOT NULL);
CREATE TABLE meta    (key TEXT PRIMARY KEY, value TEXT);
)sql";

// Every table with its columns in order, as verify_schema() lists them.
constexpr std::string_view kSchemaColumns =
    "files(path,language,component) meta(key,value) "
    "symbols(path,name,kind,fqn,start_line,end_line) ";

constexpr std::string_view kForeignAdvice = "; pass --index FILE or remove it";

std::string failure(const std::filesystem::path& path, std::string_view doing,
                    std::string_view reason) {
  return "cannot " + std::string(doing) + " index " + path.string() + ": " + std::string(reason);
}

std::string reason_for(const SQLite::Exception& e) {
  switch (e.getExtendedErrorCode()) {
    case SQLITE_READONLY_ROLLBACK:
      return "an interrupted lomarind index left an unfinished update; run lomarind index to "
             "recover it";
    case SQLITE_CANTOPEN_SYMLINK:
      return "it is a symbolic link, which is never followed; pass --index with the file itself";
  }
  switch (e.getErrorCode()) {
    case SQLITE_NOTADB:
      return "not a lomarind index (not an SQLite database)" + std::string(kForeignAdvice);
    case SQLITE_CORRUPT:
      return "the file is damaged (" + std::string(e.what()) +
             "); remove it and run lomarind index";
    case SQLITE_BUSY:
      return "the index is busy: another lomarind index is writing it; try again when it has "
             "finished";
    case SQLITE_READONLY:
      return "the file is read-only; make it writable or pass --index FILE";
  }
  return e.what();
}

void verify_schema(const SQLite::Database& db, const std::filesystem::path& path) {
  SQLite::Statement version(db, "PRAGMA user_version");
  version.executeStep();
  const int user_version = version.getColumn(0).getInt();
  if (user_version != kIndexSchemaVersion) {
    throw IndexError(failure(path, "open",
                             "not a lomarind index (user_version " + std::to_string(user_version) +
                                 ")" + std::string(kForeignAdvice)));
  }
  SQLite::Statement tables(db,
                           "SELECT m.name, p.name FROM sqlite_schema AS m "
                           "JOIN pragma_table_info(m.name) AS p "
                           "WHERE m.type = 'table' ORDER BY m.name, p.cid");
  std::string found;
  std::string table;
  while (tables.executeStep()) {
    const std::string name = tables.getColumn(0).getString();
    if (name != table) {
      if (!table.empty()) found += ") ";
      found += name + "(";
      table = name;
    } else {
      found += ",";
    }
    found += tables.getColumn(1).getString();
  }
  if (!table.empty()) found += ") ";
  if (found != kSchemaColumns || storage::has_triggers_or_views(db)) {
    throw IndexError(failure(
        path, "open", "not a lomarind index (unexpected schema)" + std::string(kForeignAdvice)));
  }
}

// In write-ahead-log mode a writer never blocks a reader, whatever the
// size of its transaction, and a writer killed at any instant, in its
// commit too, leaves only log frames that no reader uses: no hot journal
// that a read-only reader would have to roll back. The mode is kept in the
// file. Where the log cannot be shared (a file system without shared
// memory) SQLite keeps its rollback journal, and the index still works.
void use_write_ahead_log(SQLite::Database& db) { db.exec("PRAGMA journal_mode = WAL"); }

// The file as an SQLite URI, which may say that it never changes.
std::string file_uri(const std::filesystem::path& location, bool immutable) {
  std::string uri = "file:";
  for (const char c : location.string()) {
    if (c == '%' || c == '?' || c == '#') {
      uri += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    } else {
      uri += c;
    }
  }
  return immutable ? uri + "?immutable=1" : uri;
}

// Whether opening `location` failed for want of the write-ahead log's
// shared memory (a folder we cannot write), with no log in use beside it.
bool needs_shared_memory(const SQLite::Exception& e, const std::filesystem::path& location) {
  std::error_code error;
  return (e.getErrorCode() == SQLITE_READONLY || e.getErrorCode() == SQLITE_CANTOPEN) &&
         !std::filesystem::exists(location.string() + "-wal", error) && !error;
}

// Every use of the connection holds the handle's own mutex, so SQLite's
// lock around each call (thousands per query) would only repeat it.
std::unique_ptr<IndexDb::Impl> open_read_only(const std::filesystem::path& location,
                                              const std::filesystem::path& path, bool immutable) {
  auto impl = std::unique_ptr<IndexDb::Impl>(new IndexDb::Impl{
      path,
      SQLite::Database(
          file_uri(location, immutable),
          SQLite::OPEN_READONLY | SQLite::OPEN_NOFOLLOW | SQLite::OPEN_NOMUTEX | SQLite::OPEN_URI,
          kBusyTimeoutMs),
      {}});
  verify_schema(impl->db, path);
  return impl;
}

}  // namespace

std::optional<std::string> meta_value(const SQLite::Database& db, const std::string& key) {
  SQLite::Statement query(db, "SELECT value FROM meta WHERE key = ?");
  query.bind(1, key);
  if (!query.executeStep()) return std::nullopt;
  return optional_text(query.getColumn(0));
}

std::optional<std::string> optional_text(const SQLite::Column& column) {
  if (column.isNull()) return std::nullopt;
  return column.getString();
}

void throw_index_error(const std::filesystem::path& path, std::string_view doing) {
  try {
    throw;
  } catch (const SQLite::Exception& e) {
    std::throw_with_nested(IndexError(failure(path, doing, reason_for(e))));
  }
}

std::unique_ptr<IndexDb::Impl> open_index_for_queries(const std::filesystem::path& path) {
  const std::filesystem::path location = index_location(path);
  if (!index_exists(location, path)) return nullptr;
  try {
    try {
      return open_read_only(location, path, false);
    } catch (const SQLite::Exception& e) {
      if (!needs_shared_memory(e, location)) throw;
    }
    // Nobody writes the index (a writer leaves its log beside it), and a
    // folder we cannot write gives no room for the log's shared memory:
    // the file is read as one that cannot change.
    return open_read_only(location, path, true);
  } catch (const SQLite::Exception&) {
    throw_index_error(path, "open");
  }
}

std::filesystem::path index_location(const std::filesystem::path& path) {
  const std::filesystem::path absolute = std::filesystem::absolute(path);
  if (absolute.filename().empty()) {
    throw IndexError(failure(path, "open", "not a file name; pass --index FILE"));
  }
  std::error_code error;
  const std::filesystem::path parent =
      std::filesystem::weakly_canonical(absolute.parent_path(), error);
  return error ? absolute : parent / absolute.filename();
}

bool index_exists(const std::filesystem::path& location, const std::filesystem::path& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::symlink_status(location, error);
  if (status.type() == std::filesystem::file_type::not_found) return false;
  if (error) throw IndexError(failure(path, "open", error.message()));
  if (status.type() == std::filesystem::file_type::symlink) {
    throw IndexError(failure(path, "open",
                             "it is a symbolic link, which is never followed; pass --index with "
                             "the file itself"));
  }
  if (status.type() != std::filesystem::file_type::regular) {
    throw IndexError(failure(path, "open", "not a regular file; pass --index FILE"));
  }
  return true;
}

void write_index_schema(SQLite::Database& db) {
  use_write_ahead_log(db);
  SQLite::Transaction transaction(db);
  db.exec(kSchemaTables);
  db.exec(kCreateSymbolsIndex);
  db.exec("PRAGMA user_version = " + std::to_string(kIndexSchemaVersion));
  transaction.commit();
}

SQLite::Database open_index_for_writing(const std::filesystem::path& location,
                                        const std::filesystem::path& path, int busy_timeout_ms) {
  try {
    SQLite::Database db(location.c_str(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW,
                        busy_timeout_ms);
    verify_schema(db, path);
    if (sqlite3_db_readonly(db.getHandle(), "main") == 1) {
      throw IndexError(failure(path, "write",
                               "the file is read-only; make it writable or pass "
                               "--index FILE"));
    }
    use_write_ahead_log(db);  // an index made before the log was used
    return db;
  } catch (const SQLite::Exception&) {
    throw_index_error(path, "open");
  }
}

}  // namespace lomarind::repository_changes
