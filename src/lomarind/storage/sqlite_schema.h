// A check of the database files we read from a repository, which anyone may
// have changed. Neither the index nor the commit cache holds a trigger or a
// view; a trigger added to one of their tables would run on our writes, and
// could run forever.
#pragma once

#include <SQLiteCpp/Database.h>

namespace lomarind::storage {

// Whether `db`'s schema holds a trigger or a view.
bool has_triggers_or_views(const SQLite::Database& db);

}  // namespace lomarind::storage
