#include "lomarind/storage/commit_cache.h"

#include <SQLiteCpp/Database.h>
#include <SQLiteCpp/Exception.h>
#include <SQLiteCpp/Statement.h>
#include <SQLiteCpp/Transaction.h>
#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <utility>

#include "lomarind/storage/sqlite_schema.h"

namespace lomarind::commit_cache {
namespace {

// "lmcc": tells our file from any other SQLite database.
constexpr int kApplicationId = 0x6c6d6363;
constexpr int kSchemaVersion = 2;

constexpr char kSchema[] = R"sql(
CREATE TABLE paths   (id INTEGER PRIMARY KEY, path BLOB NOT NULL, attribute BLOB NOT NULL,
                      UNIQUE (path, attribute));
CREATE TABLE commits (id TEXT NOT NULL, fingerprint INTEGER NOT NULL, files BLOB NOT NULL,
                      checksum INTEGER NOT NULL, PRIMARY KEY (id, fingerprint)) WITHOUT ROWID;
)sql";

// A writer holds its lock for one short transaction; a lock held longer
// than this is someone else's business, and we answer from git.
constexpr int kBusyTimeoutMs = 1000;

// Path numbers start at 1 and stay dense: a number far beyond the count
// is damage, not a reason to allocate.
// Adds to `table` (index 0 unused) the paths numbered from its size on.
void append_paths(SQLite::Database& db, std::vector<StoredPath>& table) {
  if (table.empty()) table.emplace_back();
  const auto first = static_cast<std::int64_t>(table.size());
  const std::int64_t count = db.execAndGet("SELECT count(*) FROM paths").getInt64();
  if (count < first) return;
  table.resize(static_cast<std::size_t>(count) + 1);
  SQLite::Statement added(db, "SELECT id, path, attribute FROM paths WHERE id >= ?");
  added.bind(1, first);
  while (added.executeStep()) {
    const std::int64_t id = added.getColumn(0).getInt64();
    if (id > count) throw CacheError("the cache file is damaged (path numbers are not dense)");
    table[static_cast<std::size_t>(id)] = {added.getColumn(1).getString(),
                                           added.getColumn(2).getString()};
  }
}

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

int pragma(const SQLite::Database& db, const char* name) {
  SQLite::Statement statement(db, std::string("PRAGMA ") + name);
  statement.executeStep();
  return statement.getColumn(0).getInt();
}

bool is_ours(const SQLite::Database& db) {
  return pragma(db, "application_id") == kApplicationId &&
         pragma(db, "user_version") == kSchemaVersion && !storage::has_triggers_or_views(db);
}

// Creates the schema in a new, empty file, or over an older layout of our
// own; accepts nothing else. Two processes creating the file at once take
// turns here; a read-only cache is checked without taking a lock.
void prepare_schema(SQLite::Database& db) {
  if (is_ours(db)) return;
  SQLite::Transaction transaction(db, SQLite::TransactionBehavior::IMMEDIATE);
  if (is_ours(db)) return;
  const int application = pragma(db, "application_id");
  const int version = pragma(db, "user_version");
  if (application == kApplicationId && version < kSchemaVersion) {
    // Our own cache in an older layout: what it holds is only ever a copy.
    db.exec("DROP TABLE IF EXISTS commits; DROP TABLE IF EXISTS paths;");
  } else if (application != 0 || version != 0 ||
             db.execAndGet("SELECT count(*) FROM sqlite_schema").getInt() != 0) {
    throw CacheError(
        "it is no lomarind commit cache of this version; delete it and it is made again");
  }
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
};

CommitCache::CommitCache(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
CommitCache::~CommitCache() = default;
CommitCache::CommitCache(CommitCache&&) noexcept = default;
CommitCache& CommitCache::operator=(CommitCache&&) noexcept = default;

CommitCache CommitCache::open(const std::filesystem::path& file) {
  refuse_symlink(file.parent_path());
  std::error_code error;
  std::filesystem::create_directory(file.parent_path(), error);
  if (error) {
    throw CacheError("cannot create the commit cache's folder " + file.parent_path().string() +
                     ": " + error.message());
  }
  try {
    auto impl = std::make_unique<Impl>(Impl{
        file, SQLite::Database(file.c_str(),
                               SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE | SQLite::OPEN_NOFOLLOW,
                               kBusyTimeoutMs)});
    // Reads map the file rather than copy each page through a system call.
    impl->db.exec("PRAGMA mmap_size = 268435456");
    prepare_schema(impl->db);
    return CommitCache(std::move(impl));
  } catch (const std::exception&) {
    rethrow_as_cache_error(file, "open");
  }
}

std::vector<StoredPath> CommitCache::paths() const {
  std::vector<StoredPath> table;
  try {
    append_paths(impl_->db, table);
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "read");
  }
  return table;
}

FoundCommits CommitCache::find(std::uint64_t fingerprint, const std::vector<std::string>& commits,
                               std::vector<StoredPath> paths) const {
  FoundCommits found;
  found.commits.resize(commits.size());
  found.paths = std::move(paths);
  try {
    // One read transaction: every path a commit names is in the table.
    SQLite::Transaction transaction(impl_->db, SQLite::TransactionBehavior::DEFERRED);
    append_paths(impl_->db, found.paths);
    SQLite::Statement lookup(
        impl_->db, "SELECT files, checksum FROM commits WHERE id = ? AND fingerprint = ?");
    for (std::size_t i = 0; i < commits.size(); ++i) {
      lookup.bind(1, commits[i]);
      lookup.bind(2, static_cast<std::int64_t>(fingerprint));
      if (lookup.executeStep()) {
        const SQLite::Column files = lookup.getColumn(0);
        std::vector<StoredChange> row =
            decode(std::string_view(static_cast<const char*>(files.getBlob()),
                                    static_cast<std::size_t>(files.getBytes())),
                   found.paths.size());
        // A row that no longer says what was written is left to git.
        if (static_cast<std::uint64_t>(lookup.getColumn(1).getInt64()) ==
            checksum(commits[i], fingerprint, row, found.paths)) {
          found.commits[i] = std::move(row);
        }
      }
      lookup.reset();
    }
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "read");
  }
  return found;
}

namespace {

// The id of (path, attribute), added when new. Used inside the write
// transaction, so the table cannot change under it.
class PathIds {
 public:
  explicit PathIds(SQLite::Database& db)
      : db_(db), insert_(db, "INSERT INTO paths (path, attribute) VALUES (?, ?)") {
    SQLite::Statement all(db, "SELECT id, path, attribute FROM paths");
    while (all.executeStep()) {
      ids_.emplace(key(all.getColumn(1).getString(), all.getColumn(2).getString()),
                   all.getColumn(0).getInt64());
    }
  }

  std::int64_t id(const std::string& path, const std::string& attribute) {
    auto [known, added] = ids_.try_emplace(key(path, attribute), 0);
    if (!added) return known->second;
    insert_.bind(1, path.data(), static_cast<int>(path.size()));
    insert_.bind(2, attribute.data(), static_cast<int>(attribute.size()));
    insert_.exec();
    insert_.reset();
    known->second = db_.getLastInsertRowid();
    return known->second;
  }

 private:
  // Neither a path nor an attribute value holds a NUL.
  static std::string key(const std::string& path, const std::string& attribute) {
    std::string joined = path;
    joined += '\0';
    joined += attribute;
    return joined;
  }

  SQLite::Database& db_;
  SQLite::Statement insert_;
  std::unordered_map<std::string, std::int64_t> ids_;
};

}  // namespace

void CommitCache::store(std::uint64_t fingerprint, const std::vector<CachedCommit>& commits) {
  if (commits.empty()) return;
  try {
    SQLite::Transaction transaction(impl_->db, SQLite::TransactionBehavior::IMMEDIATE);
    SQLite::Statement drop(impl_->db, "DELETE FROM commits WHERE fingerprint != ?");
    drop.bind(1, static_cast<std::int64_t>(fingerprint));
    drop.exec();
    PathIds ids(impl_->db);
    SQLite::Statement insert(
        impl_->db,
        "INSERT OR REPLACE INTO commits (id, fingerprint, files, checksum) VALUES (?, ?, ?, ?)");
    for (const CachedCommit& commit : commits) {
      if (!storable(commit.files)) continue;
      const std::string blob =
          encode(commit.files, [&ids](const std::string& path, const std::string& attribute) {
            return static_cast<std::uint32_t>(ids.id(path, attribute));
          });
      insert.bind(1, commit.commit);
      insert.bind(2, static_cast<std::int64_t>(fingerprint));
      insert.bind(3, blob.data(), static_cast<int>(blob.size()));
      insert.bind(4, static_cast<std::int64_t>(checksum(commit.commit, fingerprint, commit.files)));
      insert.exec();
      insert.reset();
    }
    transaction.commit();
  } catch (const std::exception&) {
    rethrow_as_cache_error(impl_->file, "write");
  }
}

}  // namespace lomarind::commit_cache
