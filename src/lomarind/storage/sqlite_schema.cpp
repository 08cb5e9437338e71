#include "lomarind/storage/sqlite_schema.h"

#include <SQLiteCpp/Statement.h>

namespace lomarind::storage {

bool has_triggers_or_views(const SQLite::Database& db) {
  SQLite::Statement found(db, "SELECT 1 FROM sqlite_schema WHERE type IN ('trigger', 'view')");
  return found.executeStep();
}

}  // namespace lomarind::storage
