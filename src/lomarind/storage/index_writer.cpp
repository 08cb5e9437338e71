#include "lomarind/storage/index_writer.h"

#include <SQLiteCpp/Exception.h>

#include "lomarind/storage/index_file.h"

namespace lomarind::repository_changes {
namespace {

void bind_optional(SQLite::Statement& statement, int index,
                   const std::optional<std::string>& value) {
  if (value) {
    statement.bind(index, *value);
  } else {
    statement.bind(index);
  }
}

// Rows per INSERT: one statement step per row costs more than the row.
constexpr std::size_t kSymbolBatch = 16;

std::string symbol_insert(std::size_t rows) {
  std::string sql = "INSERT INTO symbols (path, name, kind, fqn, start_line, end_line) VALUES ";
  for (std::size_t row = 0; row < rows; ++row)
    sql += row == 0 ? "(?, ?, ?, ?, ?, ?)" : ", (?, ?, ?, ?, ?, ?)";
  return sql;
}

void bind_symbol(SQLite::Statement& statement, std::size_t row, const std::string& path,
                 const IndexedSymbol& symbol) {
  const int first = static_cast<int>(row) * 6;
  statement.bind(first + 1, path);
  statement.bind(first + 2, symbol.name);
  statement.bind(first + 3, symbol.kind);
  statement.bind(first + 4, symbol.fqn);
  statement.bind(first + 5, symbol.start_line);
  statement.bind(first + 6, symbol.end_line);
}

std::string prefix_end(std::string prefix) {
  prefix.back() = static_cast<char>(prefix.back() + 1);
  return prefix;
}

// A draft to build when there is no index at `path` yet.
std::unique_ptr<IndexDraft> draft_if_new(const std::filesystem::path& path) {
  const std::filesystem::path location = index_location(path);
  if (index_exists(location, path)) return nullptr;
  return std::make_unique<IndexDraft>(location, path);
}

}  // namespace

IndexWriter::IndexWriter(const std::filesystem::path& path, int busy_timeout_ms)
    : path_(path),
      draft_(draft_if_new(path)),
      db_(open_index_for_writing(draft_ ? draft_->file() : index_location(path), path,
                                 busy_timeout_ms)),
      delete_file_(db_, "DELETE FROM files WHERE path = ?"),
      delete_symbols_(db_, "DELETE FROM symbols WHERE path = ?"),
      insert_file_(db_, "INSERT INTO files (path, language, component) VALUES (?, ?, ?)"),
      insert_symbol_(db_, symbol_insert(1)),
      insert_symbol_batch_(db_, symbol_insert(kSymbolBatch)),
      update_facts_(db_, "UPDATE files SET language = ?, component = ? WHERE path = ?") {
  guarded([this] { db_.exec("BEGIN IMMEDIATE"); });
  open_ = true;
}

IndexWriter::~IndexWriter() {
  if (!open_) return;
  try {
    db_.exec("ROLLBACK");
  } catch (const SQLite::Exception&) {
    // Closing the connection rolls back what is left.
  }
}

template <typename Write>
void IndexWriter::guarded(Write write) const {
  try {
    write();
  } catch (const SQLite::Exception&) {
    throw_index_error(path_, "write");
  }
}

std::optional<std::string> IndexWriter::meta(const std::string& key) const {
  std::optional<std::string> value;
  guarded([&] { value = meta_value(db_, key); });
  return value;
}

void IndexWriter::set_meta(const std::string& key, const std::string& value) {
  guarded([&] {
    SQLite::Statement statement(db_, "INSERT OR REPLACE INTO meta (key, value) VALUES (?, ?)");
    statement.bind(1, key);
    statement.bind(2, value);
    statement.exec();
  });
}

void IndexWriter::erase_meta(const std::string& key) {
  guarded([&] {
    SQLite::Statement statement(db_, "DELETE FROM meta WHERE key = ?");
    statement.bind(1, key);
    statement.exec();
  });
}

// Keys `prefix` + path sort between the prefix and the prefix with its last
// byte raised by one, whatever bytes the paths hold.
std::vector<std::string> IndexWriter::meta_paths(const std::string& prefix) const {
  std::vector<std::string> paths;
  guarded([&] {
    SQLite::Statement query(db_, "SELECT key FROM meta WHERE key > ? AND key < ? ORDER BY key");
    query.bind(1, prefix);
    query.bind(2, prefix_end(prefix));
    while (query.executeStep())
      paths.push_back(query.getColumn(0).getString().substr(prefix.size()));
  });
  return paths;
}

void IndexWriter::set_meta_paths(const std::string& prefix, const std::vector<std::string>& paths) {
  guarded([&] {
    SQLite::Statement clear(db_, "DELETE FROM meta WHERE key > ? AND key < ?");
    clear.bind(1, prefix);
    clear.bind(2, prefix_end(prefix));
    clear.exec();
    SQLite::Statement insert(db_, "INSERT OR REPLACE INTO meta (key, value) VALUES (?, NULL)");
    for (const std::string& path : paths) {
      insert.reset();
      insert.bind(1, prefix + path);
      insert.exec();
    }
  });
}

IndexedPaths IndexWriter::stored_files() const {
  IndexedPaths files;
  guarded([&] {
    SQLite::Statement query(db_, "SELECT path, language, component FROM files");
    while (query.executeStep()) {
      files.emplace(query.getColumn(0).getString(), IndexedPath{optional_text(query.getColumn(1)),
                                                                optional_text(query.getColumn(2))});
    }
  });
  return files;
}

void IndexWriter::set_facts(const IndexedFile& file) {
  guarded([&] {
    update_facts_.reset();
    bind_optional(update_facts_, 1, file.language);
    bind_optional(update_facts_, 2, file.component);
    update_facts_.bind(3, file.path);
    update_facts_.exec();
  });
}

IndexWriter::Totals IndexWriter::totals() const {
  Totals totals;
  guarded([&] {
    SQLite::Statement query(db_,
                            "SELECT (SELECT COUNT(*) FROM files), (SELECT COUNT(*) FROM symbols), "
                            "(SELECT COUNT(DISTINCT language) FROM files)");
    query.executeStep();
    totals.files = static_cast<std::size_t>(query.getColumn(0).getInt64());
    totals.symbols = static_cast<std::size_t>(query.getColumn(1).getInt64());
    totals.languages = static_cast<std::size_t>(query.getColumn(2).getInt64());
  });
  return totals;
}

void IndexWriter::clear() {
  guarded([this] {
    db_.exec("DROP INDEX IF EXISTS symbols_by_path; DELETE FROM symbols; DELETE FROM files;");
  });
  cleared_ = true;
}

void IndexWriter::remove_file(const std::string& path) {
  guarded([&] {
    for (SQLite::Statement* statement : {&delete_symbols_, &delete_file_}) {
      statement->reset();
      statement->bind(1, path);
      statement->exec();
    }
  });
}

void IndexWriter::put_file(const IndexedFile& file) {
  if (!cleared_) remove_file(file.path);
  guarded([&] {
    insert_file_.reset();
    insert_file_.bind(1, file.path);
    bind_optional(insert_file_, 2, file.language);
    bind_optional(insert_file_, 3, file.component);
    insert_file_.exec();
    const std::vector<IndexedSymbol>& symbols = file.symbols;
    std::size_t next = 0;
    for (; symbols.size() - next >= kSymbolBatch; next += kSymbolBatch) {
      insert_symbol_batch_.reset();
      for (std::size_t row = 0; row < kSymbolBatch; ++row) {
        bind_symbol(insert_symbol_batch_, row, file.path, symbols[next + row]);
      }
      insert_symbol_batch_.exec();
    }
    for (; next < symbols.size(); ++next) {
      insert_symbol_.reset();
      bind_symbol(insert_symbol_, 0, file.path, symbols[next]);
      insert_symbol_.exec();
    }
  });
}

void IndexWriter::commit() {
  guarded([this] {
    if (cleared_) db_.exec(kCreateSymbolsIndex);
    db_.exec("COMMIT");
  });
  open_ = false;
  if (draft_) draft_->publish(db_);
}

}  // namespace lomarind::repository_changes
