// SQLite's own Env for tests: while a FaultySqlite lives, every database
// this process opens goes through a VFS that forwards to the real one but,
// once armed, fails writes, syncs and truncations of files whose name holds
// a given fragment (the database, its journal or its WAL) the way a full or
// failing disk does. Not thread-safe; one at a time.
#pragma once

#include <string>

namespace lomarind::testing {

class FaultySqlite {
 public:
  FaultySqlite();   // becomes SQLite's default VFS
  ~FaultySqlite();  // the real one is the default again
  FaultySqlite(const FaultySqlite&) = delete;
  FaultySqlite& operator=(const FaultySqlite&) = delete;

  // From now on, writes to files named with `fragment` fail with `code`
  // (SQLITE_FULL for ENOSPC, SQLITE_IOERR for EIO).
  void fail_writes(std::string fragment, int code);
  void heal();
  // Writes refused since the last fail_writes().
  int refused() const;
};

}  // namespace lomarind::testing
