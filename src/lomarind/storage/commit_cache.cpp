#include "lomarind/storage/commit_cache.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include <string_view>
#include <system_error>
#include <utility>

#include "lomarind/storage/cache_tables.h"
#include "lomarind/storage/sqlite_schema.h"

namespace lomarind::commit_cache {

std::filesystem::path cache_file(const std::filesystem::path& common_dir) {
  return common_dir / "lomarind" / "commits.db";
}

namespace {

// "lmcc": tells our file from any other SQLite database.
constexpr int kApplicationId = 0x6c6d6363;
constexpr int kSchemaVersion = 3;

// Entries are numbered in the order they were stored, so that the oldest
// sit together and pruning them frees whole pages.
constexpr char kSchema[] = R"sql(
CREATE TABLE paths   (id INTEGER PRIMARY KEY, path BLOB NOT NULL, attribute BLOB NOT NULL,
                      UNIQUE (path, attribute));
CREATE TABLE commits (seq INTEGER PRIMARY KEY, id TEXT NOT NULL, fingerprint INTEGER NOT NULL,
                      git INTEGER NOT NULL, files BLOB NOT NULL, checksum INTEGER NOT NULL,
                      UNIQUE (id, fingerprint));
CREATE INDEX commits_by_git ON commits (git, fingerprint);
)sql";

// A writer holds its lock for one short transaction; a lock held longer
// than this is someone else's business, and we answer from git.
constexpr int kBusyTimeoutMs = 1000;

std::string reason_for(const SQLite::Exception& e) {
  switch (e.getExtendedErrorCode()) {
    case SQLITE_CANTOPEN_SYMLINK:
      return "it is a symbolic link, which is never followed";
  }
  switch (e.getErrorCode()) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT:
      return "it is damaged or no lomarind commit cache (" + std::string(e.what()) +
             "); delete it and it is made again";
    case SQLITE_BUSY:
      return "another process holds its lock";
    case SQLITE_READONLY:
      return "it is read-only";
  }
  return e.what();
}

// Turns the failure being handled into a CacheError that names the file.
[[noreturn]] void rethrow_as_cache_error(const std::filesystem::path& file,
                                         std::string_view doing) {
  const std::string what = "cannot " + std::string(doing) + " the commit cache " + file.string();
  try {
    throw;
  } catch (const SQLite::Exception& e) {
    throw CacheError(what + ": " + reason_for(e));
  } catch (const CacheError& e) {
    throw CacheError(what + ": " + e.what());
  }
}

constexpr int kIncrementalVacuum = 2;  // PRAGMA auto_vacuum's number for INCREMENTAL

bool is_ours(const SQLite::Database& db) {
  return pragma(db, "application_id") == kApplicationId &&
         pragma(db, "user_version") == kSchemaVersion && !storage::has_triggers_or_views(db);
}

// Drops an older layout of our own (what it holds is only ever a copy);
// refuses anything else but an empty file.
void clear_old_layout(SQLite::Database& db) {
  const std::int64_t application = pragma(db, "application_id");
  const std::int64_t version = pragma(db, "user_version");
  if (application == kApplicationId && version < kSchemaVersion) {
    db.exec("DROP TABLE IF EXISTS commits; DROP TABLE IF EXISTS paths;");
  } else if (application != 0 || version != 0 ||
             db.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() != 0) {
    throw CacheError(
        "it is no lomarind commit cache of this version; delete it and it is made again");
  }
}

// Creates the schema in a new, empty file, or over an older layout of our
// own; accepts nothing else. Two processes creating the file at once take
// turns here; a read-only cache is checked without taking a lock.
void prepare_schema(SQLite::Database& db) {
  if (is_ours(db)) return;
  {
    SQLite::Transaction transaction(db, SQLite::TransactionBehavior::IMMEDIATE);
    if (is_ours(db)) return;
    clear_old_layout(db);
    transaction.commit();
  }
  // Pruning gives pages back to the file system only in a file laid out
  // for it, which takes a rebuild once the file has pages.
  if (pragma(db, "auto_vacuum") != kIncrementalVacuum) {
    db.exec("PRAGMA auto_vacuum = INCREMENTAL");
    db.exec("VACUUM");
  }
  SQLite::Transaction transaction(db, SQLite::TransactionBehavior::IMMEDIATE);
  if (is_ours(db)) return;
  clear_old_layout(db);
  db.exec(kSchema);
  db.exec("PRAGMA application_id = " + std::to_string(kApplicationId));
  db.exec("PRAGMA user_version = " + std::to_string(kSchemaVersion));
  transaction.commit();
}

void refuse_symlink(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_symlink(std::filesystem::symlink_status(path, error))) {
    throw CacheError("cannot open the commit cache: " + path.string() +
                     " is a symbolic link, which is never followed; remove the link");
  }
}

}  // namespace

struct CommitCache::Impl {
  std::filesystem::path file;  // for messages
  SQLite::Database db;
  std::uint64_t max_bytes;
};

CommitCache::CommitCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CommitCache::~CommitCache() = default;
CommitCache::CommitCache(CommitCache&&) noexcept = default;
CommitCache& CommitCache::operator=(CommitCache&&) noexcept = default;

CommitCache CommitCache::open(const std::filesystem::path& file, std::uint64_t max_bytes) {
  refuse_symlink(file.parent_path());
  std::error_code error;
  std::filesystem::create_directory(file.parent_path(), error);
  if (error) {
    throw CacheError("cannot create the commit cache's folder " + file.parent_path().string() +
                     ": " + error.message());
  }
  try {
    auto impl = std::make_unique<Impl>(
        Impl{file,
             SQLite::Database(file.c_str(),
                              SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOFOLLOW,
                              kBusyTimeoutMs),
             max_bytes});
    // Never mapped, whatever SQLite was built with: a file another process
    // truncates would raise SIGBUS in the host on the next read of a page.
    impl->db.exec("PRAGMA mmap_size = 0");
    prepare_schema(impl->db);
    return CommitCache(std::move(impl));
  } catch (const std::exception&) {
    rethrow_as_cache_error(file, "open");
  }
}

FoundCommits CommitCache::find(std::uint64_t fingerprint,
                               const std::vector<std::string>& commits) const {
  FoundCommits found;
  found.commits.resize(commits.size());
  try {
    // One read transaction: every path a row names is read with it.
    SQLite::Transaction transaction(impl_->db, SQLite::TransactionBehavior::DEFERRED);
    std::vector<std::optional<StoredRow>> rows = read_rows(impl_->db, fingerprint, commits);
    read_paths(impl_->db, rows, found.paths);
    for (std::size_t i = 0; i < commits.size(); ++i) {
      // A row that names a path the table lacks, or no longer says what
      // was written, is left to git.
      if (rows[i] &&
          std::all_of(rows[i]->files.begin(), rows[i]->files.end(),
                      [&](const StoredChange& file) {
                        return found.paths.contains(file.path) &&
                               (file.old_path == 0 || found.paths.contains(file.old_path));
                      }) &&
          rows[i]->checksum == checksum(commits[i], fingerprint, rows[i]->files, found.paths)) {
        found.commits[i] = std::move(rows[i]->files);
      }
    }
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "read");
  }
  return found;
}

std::optional<std::vector<std::string>> CommitCache::known_paths(std::size_t at_most) const {
  std::vector<std::string> paths;
  try {
    paths = distinct_paths(impl_->db, at_most + 1);
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "read");
  }
  if (paths.size() > at_most) return std::nullopt;
  return paths;
}

void CommitCache::store(const CacheKey& key, const std::vector<CachedCommit>& commits) {
  if (commits.empty()) return;
  try {
    SQLite::Transaction transaction(impl_->db, SQLite::TransactionBehavior::IMMEDIATE);
    SQLite::Statement drop(impl_->db, "DELETE FROM commits WHERE git = ? AND fingerprint != ?");
    drop.bind(1, static_cast<std::int64_t>(key.git));
    drop.bind(2, static_cast<std::int64_t>(key.fingerprint));
    drop.exec();
    PathWriter paths(impl_->db);
    SQLite::Statement insert(
        impl_->db,
        "INSERT OR REPLACE INTO commits (id, fingerprint, git, files, checksum) "
        "VALUES (?, ?, ?, ?, ?)");
    for (const CachedCommit& commit : commits) {
      if (!storable(commit.files)) continue;
      const std::string blob =
          encode(commit.files, [&paths](const std::string& path, const std::string& attribute) {
            return paths.number(path, attribute);
          });
      insert.reset();
      insert.bind(1, commit.commit);
      insert.bind(2, static_cast<std::int64_t>(key.fingerprint));
      insert.bind(3, static_cast<std::int64_t>(key.git));
      bind_blob(insert, 4, blob);
      insert.bind(
          5, static_cast<std::int64_t>(checksum(commit.commit, key.fingerprint, commit.files)));
      insert.exec();
    }
    prune(impl_->db, impl_->max_bytes);
    transaction.commit();
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "write");
  }
}

}  // namespace lomarind::commit_cache
