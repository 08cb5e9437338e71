#include "lomarind/git/config_walk.h"

#include <pwd.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

#include "lomarind/git/git_config_text.h"
#include "lomarind/utils/git_utils.h"

namespace lomarind::git_utils {
namespace {

namespace fs = std::filesystem;

// git's own limit on nested includes.
constexpr int kMaxIncludeDepth = 10;

bool is_dev_null(const fs::path& path) {
  struct stat file, null;
  return ::stat(path.c_str(), &file) == 0 && ::stat("/dev/null", &null) == 0 &&
         S_ISCHR(file.st_mode) && file.st_rdev == null.st_rdev;
}

// The whole of a regular file; empty when it cannot be read.
std::string file_text(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

bool is(const ConfigEntry& entry, std::string_view section, std::string_view key) {
  return entry.section == section && entry.subsection.empty() && entry.key == key;
}

bool is_include_if(const ConfigEntry& entry) {
  return entry.section == "includeif" && !entry.subsection.empty() && entry.key == "path";
}

// The home folder of `user`; a name without one expands to nothing git
// could open, so a missing file stands in for it.
fs::path home_of(const std::string& user) {
  struct passwd entry, *found = nullptr;
  std::string buffer(16384, '\0');
  if (::getpwnam_r(user.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return "/nonexistent";
  }
  return entry.pw_dir;
}

}  // namespace

void refuse_unless_regular(const fs::path& path, const std::string& role) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (error || status.type() == fs::file_type::not_found ||
      status.type() == fs::file_type::regular || status.type() == fs::file_type::directory ||
      is_dev_null(path)) {
    return;
  }
  throw GitError("refusing to run git: " + role + " " + path.string() +
                 " is not a regular file (a named pipe or device would make git wait forever); "
                 "remove it or replace it with a regular file");
}

ConfigWalk::ConfigWalk(Scope scope, std::string home, fs::path work_tree)
    : scope_(scope), home_(std::move(home)), work_tree_(std::move(work_tree)) {}

void ConfigWalk::visit(const fs::path& file, const std::string& role, int depth) {
  refuse_unless_regular(file, role);
  std::error_code error;
  if (depth > kMaxIncludeDepth || !fs::is_regular_file(file, error)) return;
  const bool protected_scope = scope_ == Scope::kProtected;
  for (const ConfigEntry& entry : parse_git_config(file_text(file))) {
    if (protected_scope && is(entry, "safe", "directory")) {
      // An empty entry, or one without a value, empties the list.
      if (entry.value && !entry.value->empty()) {
        safe_directories_.push_back(*entry.value);
      } else {
        safe_directories_.clear();
      }
    } else if (!entry.value) {
      continue;
    } else if (is(entry, "include", "path") || (!protected_scope && is_include_if(entry))) {
      // A relative include is relative to the file that names it.
      visit(file.parent_path() / expand(*entry.value),
            "the config file included by " + file.string(), depth + 1);
    } else if (!protected_scope && is(entry, "core", "attributesfile")) {
      // git reads it from the top of the work tree, where it runs.
      attributes_file_ = work_tree_ / expand(*entry.value);
    }
  }
}

// "~/..." is in our home folder and "~name/..." in that user's, as git
// reads them (an absolute result replaces what it is appended to).
fs::path ConfigWalk::expand(std::string_view value) const {
  if (!value.starts_with('~')) return fs::path(value);
  const std::size_t slash = value.find('/');
  const std::string_view user = value.substr(1, slash - 1);
  const std::string_view rest = slash == std::string_view::npos ? "" : value.substr(slash + 1);
  return (user.empty() ? fs::path(home_) : home_of(std::string(user))) / rest;
}

}  // namespace lomarind::git_utils
