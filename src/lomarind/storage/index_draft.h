// A first run's index: a new file beside the index location, built whole
// and moved into place only once its run committed, so that a first run
// that fails or is stopped leaves no index rather than an empty one, which
// answers would take for an index of nothing. Internal to storage/.
#pragma once

#include <SQLiteCpp/Database.h>

#include <filesystem>

namespace lomarind::repository_changes {

class IndexDraft {
 public:
  // Creates the draft, with the schema, beside `location` (making its
  // folders), with the mode a new file gets under the user's umask. `path`
  // names the index in messages. Throws IndexError.
  IndexDraft(std::filesystem::path location, std::filesystem::path path);
  // Removes the draft, unless it was published, and SQLite's files beside
  // it. REQUIRES: every connection to it is closed.
  ~IndexDraft();
  IndexDraft(const IndexDraft&) = delete;
  IndexDraft& operator=(const IndexDraft&) = delete;

  const std::filesystem::path& file() const { return draft_; }

  // Moves the draft into place, replacing whatever another first run put
  // there meanwhile. `db`, a connection to the draft with nothing left to
  // commit, has its log written into the file first, so that the file
  // holds everything. Throws IndexError.
  void publish(SQLite::Database& db);

 private:
  const std::filesystem::path location_;
  const std::filesystem::path path_;
  std::filesystem::path draft_;
};

}  // namespace lomarind::repository_changes
