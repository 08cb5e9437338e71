#include "lomarind/storage/index_draft.h"

#include <SQLiteCpp/Exception.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

#include "lomarind/storage/index_file.h"

namespace lomarind::repository_changes {
namespace {

std::string failure(const std::filesystem::path& path, std::string_view reason) {
  return "cannot create index " + path.string() + ": " + std::string(reason);
}

// The mode a file created with 0666 gets under the process umask, which
// Linux shows in /proc/self/status; reading it there leaves the umask, which
// every thread shares, untouched.
mode_t new_file_mode() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("Umask:")) {
      return static_cast<mode_t>(0666 & ~std::stoul(line.substr(6), nullptr, 8));
    }
  }
  return 0644;
}

// The draft and the files SQLite keeps beside it.
void remove_with_logs(const std::filesystem::path& file) {
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    ::unlink((file.string() + suffix).c_str());
  }
}

}  // namespace

IndexDraft::IndexDraft(std::filesystem::path location, std::filesystem::path path)
    : location_(std::move(location)), path_(std::move(path)) {
  std::error_code error;
  std::filesystem::create_directories(location_.parent_path(), error);
  if (error) throw IndexError(failure(path_, error.message()));
  std::string temporary = location_.parent_path() / ".";
  temporary += location_.filename().string();
  temporary += ".new-XXXXXX";
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) throw IndexError(failure(path_, std::strerror(errno)));
  draft_ = temporary;
  ::fchmod(fd, new_file_mode());  // mkstemp made it 0600
  ::close(fd);
  try {
    SQLite::Database db(draft_.c_str(), SQLite::OPEN_READWRITE | SQLite::OPEN_NOFOLLOW);
    write_index_schema(db);
  } catch (const SQLite::Exception&) {
    remove_with_logs(draft_);
    throw_index_error(path_, "create");
  }
}

// Once published, the draft's name is free again; what may be left under
// it is its connection's emptied log.
IndexDraft::~IndexDraft() { remove_with_logs(draft_); }

void IndexDraft::publish(SQLite::Database& db) {
  try {
    db.exec("PRAGMA wal_checkpoint(TRUNCATE)");
  } catch (const SQLite::Exception&) {
    throw_index_error(path_, "write");
  }
  if (::rename(draft_.c_str(), location_.c_str()) != 0) {
    throw IndexError(failure(path_, std::strerror(errno)));
  }
}

}  // namespace lomarind::repository_changes
